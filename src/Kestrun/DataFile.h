// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

#include <sys/types.h>

namespace kestrun {

/// A regular file of this computer, which other programs may replace, read or write at any time.
///
/// Opening a FIFO, a socket, a device or a directory fails at once. That, and a size of more than
/// kMaximumSize, logs one warning until the state of the file changes. A link in place of a file
/// that is changed is followed only if it belongs to the process's user or to the owner of its
/// directory, who could put any file there anyway. Owns its descriptor; for one thread.
class DataFile
{
public:
    /// The greatest size that is read, in bytes.
    static constexpr qsizetype kMaximumSize = 64 * 1024 * 1024;

    enum class Access {
        Read,   ///< an existing file
        Change, ///< an existing file, for reading and writing
        Write,  ///< creates the file; writing may be the only right. Nothing is truncated.
    };

    explicit DataFile(const QString &path);
    ~DataFile();
    DataFile(const DataFile &) = delete;
    DataFile &operator=(const DataFile &) = delete;

    /// Returns false if there is no such file, or if it may not be opened.
    bool open(Access access);

    /// Returns the whole content, or nothing after an error or if the file is larger than
    /// kMaximumSize.
    std::optional<QByteArray> read() const;

    /// Locks the file against other programs that do the same, until the object is destroyed.
    /// Waits 1 s at most; then continues without the lock, with a warning.
    void lock() const;

    /// Sets the mode, of the open file or else of the file at the path.
    void setMode(mode_t mode) const;

    /// Gives the file a new content, an XML document, in place. `old` is its present content; a
    /// text of another size than the file's means that it is not known. Only the bytes that differ
    /// are written, by one call. A rest is filled with blanks by the same call and then cut off. A
    /// program that is ended meanwhile leaves the old or the new document. Only if the length
    /// changes and more than one page of memory is written, it may leave a mix of both. Returns
    /// false after an error; the old content is back then, if it is known, and a warning is logged.
    bool replace(const QByteArray &content, const QByteArray &old) const;

    /// Returns true if both objects have the same file open.
    bool isSameAs(const DataFile &other) const;

    /// Returns the owner of the open file, or of the link that another user has put in its place.
    uid_t owner() const { return m_owner; }

private:
    QByteArray m_path;
    int m_descriptor = -1;
    uid_t m_owner = 0;
    dev_t m_device = 0;
    ino_t m_number = 0;
};

/// Returns true if the modes of what is at `path` may be changed by name: a regular file, or
/// nothing yet. Links are judged as DataFile does; a warning is logged if the result is false.
bool mayChangeMode(const QByteArray &path);

/// Adds rights to the mode of the regular file at `path`, if mayChangeMode() permits it.
void addMode(const QByteArray &path, mode_t rights);

/// Logs a warning about a file, once until another one about the same file follows, or none.
void warnAbout(const QByteArray &path, const char *warning);

} // namespace kestrun
