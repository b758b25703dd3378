// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/// Opens a regular file for reading. Returns false for anything else: a FIFO would wait for a
/// writer, and a device may have no end.
inline bool openRegularFile(QFile &file)
{
    const QByteArray name = QFile::encodeName(file.fileName());
    const int descriptor = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    struct stat status;
    if (descriptor < 0)
        return false;
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)
        && file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return true;
    ::close(descriptor);
    return false;
}

/// Writes all bytes to an open file, past its buffer. Returns false and leaves the reason in
/// `errno` if that is not possible; QFile does not tell it if a part could be written.
inline bool writeAll(const QFileDevice &file, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(file.handle(), bytes.data(),
                                        static_cast<std::size_t>(bytes.size()));
        if (written < 0 && errno != EINTR)
            return false;
        bytes = bytes.sliced(written < 0 ? 0 : written);
    }
    return true;
}

/// Gives a file a new content, or leaves it whole. Returns the reason if that is not possible, else
/// an empty text. A new file gets the rights `rights`; an existing one keeps its own.
inline QString replaceFile(const QString &name, const QByteArray &content,
                           QFileDevice::Permissions rights)
{
    const QFileInfo info(name);
    if (info.exists() && !info.isFile())
        return QStringLiteral("it is not a regular file");
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    if (!info.exists())
        file.setPermissions(rights);
    // Past the buffer: commit() does not see that flushing fails.
    if (!writeAll(file, content))
        return qt_error_string();
    return file.commit() ? QString() : file.errorString();
}
