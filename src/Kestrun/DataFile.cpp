// SPDX-License-Identifier: MIT
#include "DataFile.h"

#include <QFile>
#include <QHash>
#include <QMutex>
#include <QtDebug>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrun {

namespace {

constexpr char kNotAFile[] = "it is not a regular file; it is neither read nor changed";
constexpr char
    kForeignLink[] = "it is a link that leads in a circle or belongs neither to this user "
                     "nor to the owner of its directory; it is not followed";

// The latest warnings by path, so that no warning is repeated in each report.
QBasicMutex s_warningsMutex;

QHash<QByteArray, const char *> &warnings()
{
    static QHash<QByteArray, const char *> latest;
    return latest;
}

void forgetWarning(const QByteArray &path)
{
    const QMutexLocker lock(&s_warningsMutex);
    warnings().remove(path);
}

QByteArray directoryOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArrayLiteral(".") : path.first(slash + 1);
}

bool isSameFile(const struct stat &one, const struct stat &other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// Returns the path to which the link at `path` leads, or nothing if its owner is not trusted.
std::optional<QByteArray> trustedTarget(const QByteArray &path, const struct stat &link)
{
    const QByteArray directory = directoryOf(path);
    struct stat above, again;
    if (stat(directory.constData(), &above) != 0)
        return std::nullopt;
    if (link.st_uid != geteuid() && link.st_uid != above.st_uid)
        return std::nullopt;
    QByteArray target(PATH_MAX, '\0');
    const ssize_t size = readlink(path.constData(), target.data(), PATH_MAX);
    // Another link may have come to its place before it was read.
    if (size < 0 || lstat(path.constData(), &again) != 0 || !isSameFile(link, again))
        return std::nullopt;
    target.truncate(size);
    return target.startsWith('/') ? target : directory + target;
}

// Returns the path after following the links in its last component, or nothing if one of them is
// not trusted. What is there need not exist.
std::optional<QByteArray> withoutLinks(QByteArray path)
{
    constexpr int kMostLinks = 16;
    for (int links = 0; links < kMostLinks; ++links) {
        struct stat status;
        if (lstat(path.constData(), &status) != 0 || !S_ISLNK(status.st_mode))
            return path;
        const auto target = trustedTarget(path, status);
        if (!target)
            return std::nullopt;
        path = *target;
    }
    return std::nullopt;
}

// Returns where a file that is changed really is, or nothing, with a warning, if that is not to be
// changed. Empty paths and those with a NUL, which end early in some calls, name no file.
std::optional<QByteArray> changeable(const QByteArray &path)
{
    if (path.contains('\0'))
        return std::nullopt;
    auto real = withoutLinks(path);
    if (!real)
        warnAbout(path, kForeignLink);
    return real;
}

// Returns the user who decided what a path leads to: the owner of a foreign link, or else of the
// file.
uid_t chooserOf(const QByteArray &path, uid_t fileOwner)
{
    struct stat link;
    const bool isLink = lstat(path.constData(), &link) == 0 && S_ISLNK(link.st_mode);
    return isLink && link.st_uid != geteuid() ? link.st_uid : fileOwner;
}

int openDescriptor(const QByteArray &path, int flags)
{
    constexpr mode_t kModeOfNewFile = 0666;
    // Without waiting, as a FIFO would do. Regular files ignore the flag.
    return ::open(path.constData(), flags | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, kModeOfNewFile);
}

int flagsOf(DataFile::Access access)
{
    switch (access) {
    case DataFile::Access::Read:
        return O_RDONLY;
    case DataFile::Access::Change:
        return O_RDWR | O_NOFOLLOW;
    case DataFile::Access::Write:
        return O_RDWR | O_CREAT | O_NOFOLLOW;
    }
    return O_RDONLY;
}

// A failure is ignored, since the file may belong to another user. Never follows a link that has
// come to the file's place meanwhile.
void changeMode(const QByteArray &path, mode_t mode)
{
    fchmodat(AT_FDCWD, path.constData(), mode, AT_SYMLINK_NOFOLLOW);
}

// Returns false if the system refuses the space. The size stays as it is, so that a program that
// ends here leaves the old content.
bool reserve([[maybe_unused]] int descriptor, [[maybe_unused]] qsizetype from,
             [[maybe_unused]] qsizetype to)
{
#ifdef FALLOC_FL_KEEP_SIZE
    if (to <= from)
        return true;
    int result = 0;
    do
        result = fallocate(descriptor, FALLOC_FL_KEEP_SIZE, from, to - from);
    while (result != 0 && errno == EINTR);
    return result == 0 || errno == EOPNOTSUPP || errno == ENOSYS;
#else
    return true;
#endif
}

// Returns false for a size that the process may not write: trying would end it by a signal.
bool isPermittedSize(qsizetype size)
{
    rlimit limit;
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY
        || static_cast<rlim_t>(size) <= limit.rlim_cur)
        return true;
    errno = EFBIG;
    return false;
}

// The bytes of a new content, from `begin` up to but excluding `end`, that are to be written.
struct Change
{
    qsizetype begin;
    qsizetype end;
};

// Compares a content with the old one of a file of `size` bytes. Nothing is known of the old
// content if its size differs, since another program has written meanwhile.
Change differenceOf(const QByteArray &content, const QByteArray &old, qsizetype size)
{
    const qsizetype common = old.size() == size ? std::min(size, content.size()) : 0;
    const auto oldEnd = old.begin() + common;
    const auto [oldDiffers, differs] = std::mismatch(old.begin(), oldEnd, content.begin());
    Change change{differs - content.begin(), content.size()};
    if (common == content.size() && common == size) {
        while (change.end > change.begin && old[change.end - 1] == content[change.end - 1])
            --change.end;
    }
    return change;
}

// Returns a content that is shorter than the file with blanks up to the file's size, which mean
// nothing at the end of an XML document: a program that is ended before it has cut them off leaves
// a whole document. In UTF-16 and UTF-32 a blank is more than a byte; there the content stays. It
// also stays for a file that is so large that the blanks would take all memory.
QByteArray filledUp(const QByteArray &content, qsizetype size)
{
    const bool fills = size <= DataFile::kMaximumSize && isPermittedSize(size)
        && !content.contains('\0');
    return fills ? content.leftJustified(size, ' ') : content;
}

ssize_t writeAt(int descriptor, const QByteArray &content, const Change &change)
{
    return pwrite(descriptor, content.constData() + change.begin,
                  static_cast<std::size_t>(change.end - change.begin), change.begin);
}

// Puts back the old content of a file of which `written` was overwritten, perhaps beyond its end.
// Returns false if that content is not known, or cannot be written.
bool writeBack(int descriptor, const QByteArray &old, qsizetype size, const Change &written)
{
    if (old.size() != size)
        return false;
    const Change lost{written.begin, std::min(written.end, size)};
    return (lost.end <= lost.begin || writeAt(descriptor, old, lost) == lost.end - lost.begin)
        && ftruncate(descriptor, size) == 0;
}

} // namespace

DataFile::DataFile(const QString &path)
    : m_path(path.contains(QChar(u'\0')) ? QByteArray() : QFile::encodeName(path))
{
}

DataFile::~DataFile()
{
    if (m_descriptor < 0)
        return;
    // A process that another thread has forked meanwhile would keep the lock.
    flock(m_descriptor, LOCK_UN);
    ::close(m_descriptor);
}

bool DataFile::open(Access access)
{
    const auto path = access == Access::Read ? m_path : changeable(m_path);
    if (!path)
        return false;
    const int flags = flagsOf(access);
    m_descriptor = openDescriptor(*path, flags);
    if (m_descriptor < 0 && errno == EACCES && access == Access::Write)
        m_descriptor = openDescriptor(*path, (flags & ~O_ACCMODE) | O_WRONLY);
    struct stat status;
    if (m_descriptor < 0) {
        // A directory and a socket do not even open.
        if (errno == EISDIR || errno == ENXIO)
            warnAbout(m_path, kNotAFile);
        else if (errno == ENOENT)
            forgetWarning(m_path);
        return false;
    }
    if (fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        warnAbout(m_path, kNotAFile);
        ::close(std::exchange(m_descriptor, -1));
        return false;
    }
    if (status.st_size > kMaximumSize)
        warnAbout(m_path, "it is larger than 64 MiB; it is not read");
    else
        forgetWarning(m_path);
    m_owner = chooserOf(m_path, status.st_uid);
    m_device = status.st_dev;
    m_number = status.st_ino;
    return true;
}

std::optional<QByteArray> DataFile::read() const
{
    struct stat status;
    if (fstat(m_descriptor, &status) != 0 || status.st_size > kMaximumSize)
        return std::nullopt;
    QByteArray content(status.st_size, Qt::Uninitialized);
    const ssize_t size = pread(m_descriptor, content.data(),
                               static_cast<std::size_t>(content.size()), 0);
    if (size < 0)
        return std::nullopt;
    content.truncate(size);
    return content;
}

void DataFile::lock() const
{
    using namespace std::chrono_literals;
    const auto end = std::chrono::steady_clock::now() + 1s;
    while (flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
        // A file system without locks is no reason to wait.
        if (errno != EWOULDBLOCK && errno != EINTR)
            return;
        if (std::chrono::steady_clock::now() >= end) {
            qWarning("\"%s\": another program has had it locked for 1 s; it is changed without a "
                     "lock",
                     m_path.constData());
            return;
        }
        std::this_thread::sleep_for(5ms);
    }
}

void DataFile::setMode(mode_t mode) const
{
    if (m_descriptor >= 0) {
        // A failure is ignored, since the file may belong to another user.
        [[maybe_unused]] const int result = fchmod(m_descriptor, mode);
        return;
    }
    const auto path = changeable(m_path);
    struct stat status;
    if (path && lstat(path->constData(), &status) == 0 && S_ISREG(status.st_mode))
        changeMode(*path, mode);
}

bool DataFile::replace(const QByteArray &content, const QByteArray &old) const
{
    struct stat status;
    if (fstat(m_descriptor, &status) != 0)
        return false;
    const qsizetype size = status.st_size;
    const QByteArray filled = filledUp(content, size);
    const Change change = differenceOf(filled, old, size);
    if (change.begin == change.end && size == content.size()) {
        // Programs that watch the file notice each report, even one with the same content.
        futimens(m_descriptor, nullptr);
        return true;
    }
    const bool possible = isPermittedSize(change.end)
        && reserve(m_descriptor, size, content.size());
    const ssize_t written = possible ? writeAt(m_descriptor, filled, change) : -1;
    if (written == change.end - change.begin
        && (size <= content.size() || ftruncate(m_descriptor, content.size()) == 0))
        return true;
    // Fewer bytes without an error mean that the disk is full.
    const int reason = written < 0 ? errno : ENOSPC;
    const bool kept = written < 0
        || writeBack(m_descriptor, old, size, {change.begin, change.begin + written});
    qWarning("\"%s\": the new content could not be written (%s); the file %s", m_path.constData(),
             std::strerror(reason), kept ? "keeps the old one" : "is incomplete");
    return false;
}

bool DataFile::isSameAs(const DataFile &other) const
{
    return m_device == other.m_device && m_number == other.m_number;
}

bool mayChangeMode(const QByteArray &path)
{
    const auto real = changeable(path);
    if (!real)
        return false;
    struct stat status;
    if (lstat(real->constData(), &status) != 0 || S_ISREG(status.st_mode))
        return true;
    warnAbout(path, kNotAFile);
    return false;
}

void addMode(const QByteArray &path, mode_t rights)
{
    const auto real = mayChangeMode(path) ? changeable(path) : std::nullopt;
    struct stat status;
    if (real && lstat(real->constData(), &status) == 0)
        changeMode(*real, (status.st_mode & 07777) | rights);
}

void warnAbout(const QByteArray &path, const char *warning)
{
    QMutexLocker lock(&s_warningsMutex);
    const bool isNew = std::exchange(warnings()[path], warning) != warning;
    // The host's message handler may open files here itself.
    lock.unlock();
    if (isNew)
        qWarning("\"%s\": %s", path.constData(), warning);
}

} // namespace kestrun
