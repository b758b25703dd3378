// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

namespace kestrun {

/// Reads single texts from an INI file as QSettings does, but without evaluating any other value:
/// QSettings would decode serialized objects anywhere in a section, which can take its whole stack.
/// It would also keep a content that has changed within one tick of the file's time.
class IniFile
{
public:
    /// Reads the file. One that is missing, cannot be read or is larger than DataFile::kMaximumSize
    /// is as good as empty.
    explicit IniFile(const QString &path);

    /// Returns the text of a key in a section, or an empty text if there is none, or if the value
    /// is a list or an object. `key` is a section, a slash and a name.
    QString value(const QString &key) const;

    /// Returns the user that the file, or a foreign link in its place, belongs to; this process's
    /// user if there is no file.
    uid_t owner() const { return m_owner; }

private:
    QByteArray m_content;
    uid_t m_owner;
};

/// Returns the text of a key in the INI file with this content, see IniFile::value().
QString iniValue(const QByteArray &content, const QString &key);

} // namespace kestrun
