// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <string>

namespace kestrun {

/// Returns the directory of the report and of "Config.xml", given the install path from
/// "SysConfig.dat". Blanks in the path become "_", and an empty path or one with a NUL becomes
/// "Brisk_Lane"; the path is not checked in any other way. The result ends in "/".
QString dataDirectory(const QString &installPath);

/// The directory of the report and of "Config.xml" at present.
struct DataDirectory
{
    QString path;
    /// False if this process is root's and another user's settings name a directory outside that
    /// of all products, or one with a control character: that user could have any file changed.
    bool writable = true;
};

/// Reads the directory from "SysConfig.dat" in the working directory.
DataDirectory currentDataDirectory();

} // namespace kestrun

/// Adds the rights to read, write and execute for owner, others and group to the file at `path`,
/// with three shell commands. If the shell would not read the path as one plain word, the rights
/// are added directly, and a warning is logged. Always returns true, even if the file is missing or
/// may not be changed.
bool setFilePermissions(QString path);

/// Puts a backslash before each of !@~`#$%^&()+=,'[]; in `text`.
void ParseEscapeChar(QString &text);

/// Converts a text from the locale's 8-bit encoding to UTF-8, up to its first NUL.
std::string AnsiToUtf8(const std::string &text);

/// Converts a wide text to the locale's 8-bit encoding, up to the first NUL of the result.
std::string UnicodeToAnsi(const std::wstring &text);
