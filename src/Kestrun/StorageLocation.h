// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <string>

namespace kestrun {

/// The directory that report and "Config.xml" live in, for the install path that "SysConfig.dat"
/// names: blanks become "_", an empty one becomes "Brisk_Lane", nothing else is checked. Ends in
/// "/".
QString dataDirectory(const QString &installPath);

} // namespace kestrun

/// Adds read, write and execute for owner, others and group to the file at `path`, by three
/// commands of the shell. A path that the shell would not take as one plain word gets the same
/// bits directly, with a warning. Always returns true; a file that is missing or that may not be
/// changed is left as it is.
bool setFilePermissions(QString path);

/// Puts a backslash before each of !@~`#$%^&()+=,'[]; in `text`.
void ParseEscapeChar(QString &text);

/// Text in the locale's 8-bit encoding, up to its first NUL, as UTF-8.
std::string AnsiToUtf8(const std::string &text);

/// Wide text in the locale's 8-bit encoding, up to the first NUL of the result.
std::string UnicodeToAnsi(const std::wstring &text);
