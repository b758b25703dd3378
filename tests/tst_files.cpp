// SPDX-License-Identifier: MIT
#include "Log.h"
#include "ReportFiles.h"
#include "TestData.h"
#include "TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The byte of a file at which the disk is full, or -1.
qint64 s_diskEnd = -1;

using Write = ssize_t(int, const void *, size_t, off_t);

ssize_t writeOnFullDisk(const char *name, int file, const void *bytes, size_t size, off_t offset)
{
    static const auto real = reinterpret_cast<Write *>(dlsym(RTLD_NEXT, name));
    if (s_diskEnd < 0 || offset + qint64(size) <= s_diskEnd)
        return real(file, bytes, size, offset);
    if (offset < s_diskEnd)
        return real(file, bytes, size_t(s_diskEnd - offset), offset);
    errno = ENOSPC;
    return -1;
}

} // namespace

// Replace functions of the C library: the shell is tested elsewhere, and the disk is filled up.
extern "C" int system(const char *)
{
    return 0;
}

extern "C" ssize_t pwrite(int file, const void *bytes, size_t size, off_t offset)
{
    return writeOnFullDisk("pwrite", file, bytes, size, offset);
}

extern "C" ssize_t pwrite64(int file, const void *bytes, size_t size, off_t offset)
{
    return writeOnFullDisk("pwrite64", file, bytes, size, offset);
}

namespace {

// A document of the given length that shows whether it is whole.
QByteArray document(char letter, qsizetype length)
{
    return QByteArray("<a>").append(length - 8, letter).append("</a>\n");
}

// Returns true for a document, perhaps with blanks at its end.
bool isWhole(const QByteArray &content)
{
    const QByteArray xml = content.trimmed() + '\n';
    return xml.size() > 8 && xml == document(xml[3], xml.size());
}

QByteArray configWith(int state, qsizetype histories = 1)
{
    return "<C>\n"
        + QByteArray("    <HistoryData>\n        <LatestSimLockState>")
              .append(QByteArray::number(state) + "</LatestSimLockState>\n    </HistoryData>\n")
              .repeated(histories)
        + "</C>\n";
}

// Runs the action in another process, which ends without any clean-up.
template <typename Action>
pid_t inChild(Action action)
{
    const pid_t child = fork();
    if (child == 0) {
        action();
        _exit(0);
    }
    return child;
}

// Runs the action and kills it when it enters its nth system call or leaves it. Returns false if
// there are fewer.
template <typename Action>
bool killedAtCall(int number, Action action)
{
    const pid_t child = inChild([&] {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        action();
    });
    int status = 0;
    waitpid(child, &status, 0);
    for (int call = 0; call < number && !WIFEXITED(status); ++call) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    if (WIFEXITED(status))
        return false;
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return true;
}

// Kills actions after random times; returns how often the file was neither old nor new.
template <typename Prepare, typename Action, typename IsWhole>
int lostByKills(int kills, Prepare prepare, Action action, IsWhole whole)
{
    QRandomGenerator random(1);
    int lost = 0;
    for (int number = 0; number < kills; ++number) {
        prepare();
        const pid_t child = inChild([&] {
            for (int turn = 0;; ++turn)
                action(turn);
        });
        usleep(useconds_t(random.bounded(2'000)));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        lost += whole() ? 0 : 1;
    }
    return lost;
}

// Makes a file with the content, whatever the mode of the old one permits.
void renew(const QString &file, const QByteArray &content)
{
    QFile::remove(file);
    writeFile(file, content);
}

// Config.xml gets a mode in which only root reads it.
QByteArray contentOfConfig(const TestRoot &root)
{
    chmod(root.config().toLocal8Bit(), 0600);
    return readFile(root.config());
}

// Puts something in place of a file.
void makeKind(const QString &kind, const QString &file, const QString &target)
{
    const QByteArray path = file.toLocal8Bit();
    QFile::remove(file);
    if (kind == "fifo") {
        QCOMPARE(mkfifo(path, 0600), 0);
    } else if (kind == "socket") {
        // The name of a socket may not be longer than the working directory's is.
        QVERIFY(QDir::setCurrent(QFileInfo(file).path()));
        sockaddr_un address{AF_UNIX, {}};
        qstrncpy(address.sun_path, QFileInfo(file).fileName().toLocal8Bit(), 100);
        const int end = socket(AF_UNIX, SOCK_STREAM, 0);
        QCOMPARE(bind(end, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        close(end);
    } else if (kind == "directory") {
        QVERIFY(QDir().mkdir(file));
    } else if (kind == "sparse") {
        writeFile(file, "<C/>");
        QCOMPARE(truncate(path, 64 * 1024 * 1024 + 1), 0);
    } else {
        const QString to = kind == "zero link" ? "/dev/zero"
            : kind == "link to itself"         ? file
                                               : target;
        QVERIFY(QFile::link(to, file));
        if (kind == "foreign link")
            QCOMPARE(lchown(path, 1234, 1234), 0);
        if (kind == "dangling link")
            QFile::remove(target);
    }
}

struct stat statusOf(const QString &file)
{
    struct stat status;
    lstat(file.toLocal8Bit(), &status);
    return status;
}

} // namespace

class tst_Files : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Killed at each system call in turn: a file of the same length is always old or new.
    void survivesKillAtEachCall()
    {
        const TestRoot root;
        const QByteArray old = configWith(1);
        const QByteArray changed = configWith(2);
        int call = 1;
        for (;; ++call) {
            renew(root.config(), old);
            renew(root.report(), document('a', 2'000));
            const bool killed = killedAtCall(call, [] {
                kestrun::writeReportFile(document('b', 2'000));
                kestrun::updateConfigFile("2", "module");
            });
            const QByteArray config = contentOfConfig(root);
            QVERIFY2(config == old || config == changed, config);
            QVERIFY2(isWhole(readFile(root.report())), QByteArray::number(call));
            if (!killed)
                break;
        }
        QCOMPARE_GE(call, 30);
    }

    void survivesRandomKills()
    {
        const TestRoot root;
        QCOMPARE(lostByKills(
                     repeats(1'000),
                     [&] {
                         renew(root.config(), configWith(1, 100));
                         renew(root.report(), document('a', 2'000));
                     },
                     [](int turn) {
                         kestrun::writeReportFile(document(turn % 2 ? 'a' : 'b', 2'000));
                         kestrun::updateConfigFile(QString::number(1 + turn % 2), "module");
                     },
                     [&] {
                         const QByteArray config = contentOfConfig(root);
                         return config.size() == configWith(1, 100).size()
                             && config.endsWith("</C>\n") && isWhole(readFile(root.report()));
                     }),
                 0);
    }

    // Of each length within a page of memory, the file is old or new, with blanks at its end.
    void survivesRandomKillsWhereLengthChanges()
    {
        const TestRoot root;
        const QByteArray longer = document('a', 2'000);
        const QByteArray shorter = document('b', 1'500);
        QCOMPARE(lostByKills(
                     repeats(1'000), [&] { renew(root.report(), longer); },
                     [&](int turn) { kestrun::writeReportFile(turn % 2 ? longer : shorter); },
                     [&] { return isWhole(readFile(root.report())); }),
                 0);
    }

    void keepsOldContentOnFullDisk_data() { addRows("full-disk.txt"); }

    void keepsOldContentOnFullDisk()
    {
        const int end = cell("end").toInt();
        const QByteArray old = document('a', cell("old").toInt());
        const QByteArray next = document('b', cell("new").toInt());
        for (const bool byLimit : {false, true}) {
            const TestRoot root;
            root.write(root.report(), old);
            const LogCapture log;
            const rlimit limited{rlim_t(end), RLIM_INFINITY};
            const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
            // A write beyond the limit would end this program by a signal.
            byLimit ? void(setrlimit(RLIMIT_FSIZE, &limited)) : void(s_diskEnd = end);
            kestrun::writeReportFile(next);
            setrlimit(RLIMIT_FSIZE, &unlimited);
            s_diskEnd = -1;
            // The bytes that were overwritten cannot be put back where nothing can be written.
            QCOMPARE(readFile(root.report()), old);
            QCOMPARE(log.lines().filter("could not be written").size(), 1);
            kestrun::writeReportFile(next);
            QCOMPARE(readFile(root.report()), next);
        }
    }

    void keepsInodeAndTimes()
    {
        const TestRoot root;
        root.write(root.report(), document('a', 100));
        const QByteArray path = root.report().toLocal8Bit();
        const timespec past[2]{{1, 0}, {1, 0}};
        const ino_t before = statusOf(root.report()).st_ino;
        for (const QByteArray &next :
             {document('b', 100), document('b', 100), document('b', 50), QByteArray()}) {
            utimensat(AT_FDCWD, path, past, 0);
            kestrun::writeReportFile(next);
            const struct stat after = statusOf(root.report());
            QCOMPARE(readFile(root.report()), next);
            QCOMPARE(after.st_ino, before);
            QCOMPARE_GT(after.st_mtim.tv_sec, 1);
        }
    }

    // Four programs write at once, and one reads under the same lock.
    void writesWholeFileBesideOtherPrograms()
    {
        const TestRoot root;
        kestrun::writeReportFile(document('a', 100));
        QList<pid_t> children;
        for (int writer = 0; writer < 4; ++writer) {
            children << inChild([=] {
                for (int turn = 0; turn < 500; ++turn)
                    kestrun::writeReportFile(
                        document(char('a' + writer), 100 + 997 * ((turn + writer) % 7)));
            });
        }
        const QByteArray path = root.report().toLocal8Bit();
        int reads = 0;
        for (int running = 4; running > 0; ++reads) {
            const int file = open(path, O_RDONLY | O_CLOEXEC);
            QCOMPARE(flock(file, LOCK_SH), 0);
            const QByteArray content = readFile(root.report());
            close(file);
            QVERIFY2(isWhole(content), content.left(10) + content.right(10));
            while (waitpid(-1, nullptr, WNOHANG) > 0)
                --running;
        }
        QCOMPARE_GE(reads, 10);
    }

    void waitsForLockForOneSecond()
    {
        const TestRoot root;
        root.write(root.report(), document('a', 100));
        const int file = open(root.report().toLocal8Bit(), O_RDONLY | O_CLOEXEC);
        QCOMPARE(flock(file, LOCK_EX), 0);
        const LogCapture log;
        QElapsedTimer timer;
        timer.start();
        kestrun::writeReportFile(document('b', 100));
        QCOMPARE_GE(timer.elapsed(), 1'000);
        close(file);
        QCOMPARE(log.lines().filter("locked for 1 s").size(), 1);
        QCOMPARE(readFile(root.report()), document('b', 100));
    }

    void followsTimeZone()
    {
        const QByteArray before = qgetenv("TZ");
        const auto hourIn = [](const char *zone) {
            qputenv("TZ", zone);
            kestrun::followTimeZone();
            return QByteArray(kestrun::timeStamp().data(), 2).toInt();
        };
        const int difference = hourIn("<+09>-9") - hourIn("UTC0");
        before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
        kestrun::followTimeZone();
        QVERIFY(difference == 9 || difference == 9 - 24);
    }

    void leavesWhatIsNotAFile_data() { addRows("file-kinds.txt"); }

    // Each kind in place of each file: a report ends soon and warns once, in three reports.
    void leavesWhatIsNotAFile()
    {
        const QString kind = cell("kind");
        if (kind == "foreign link" && geteuid() != 0)
            QSKIP("Only root can make a link that belongs to another user.");
        for (const char *name : {"UpdateRule.dat", "Config.xml", "SysConfig.dat"}) {
            const TestRoot root;
            const QString target = root.path("target");
            root.write(target, "<C>target</C>");
            QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner);
            const bool settings = qstrcmp(name, "SysConfig.dat") == 0;
            const QString file = settings ? root.path(name) : root.dataFile(name);
            kestrun::writeReportFile("<report/>");
            makeKind(kind, file, target);
            QVERIFY(QDir::setCurrent(root.path()));
            const struct stat before = statusOf(file);
            const LogCapture log;
            for (int report = 0; report < 3; ++report) {
                kestrun::writeReportFile("<report/>");
                kestrun::updateConfigFile("7", "module");
            }
            const struct stat after = statusOf(file);
            const bool report = qstrcmp(name, "UpdateRule.dat") == 0;
            const bool written = !settings && cell(report ? "report" : "config") == "written";
            // A link to settings may be anybody's, since they are only read.
            const bool warned = !cell("warning").isEmpty()
                && !(settings && cell("warning") == "it is not followed");
            QCOMPARE(log.lines().filter(QRegularExpression("^W .*" + cell("warning"))).size(),
                     warned ? 1 : 0);
            QCOMPARE(after.st_ino, before.st_ino);
            QCOMPARE(after.st_mode & S_IFMT, before.st_mode & S_IFMT);
            if (kind != "sparse")
                QCOMPARE(after.st_mode, before.st_mode);
            if (!written && kind != "dangling link" && kind != "link to itself")
                QCOMPARE(statusOf(target).st_mode & 07777, mode_t(0600));
            if (kind.endsWith("link") && kind != "zero link" && report)
                QCOMPARE(readFile(target), written ? "<report/>" : "<C>target</C>");
        }
    }

    void leavesDocumentsBeyondLimits_data() { addRows("config-limits.txt"); }

    // On a small stack, in less than a second.
    void leavesDocumentsBeyondLimits()
    {
        if (geteuid() != 0)
            QSKIP("Only root can write a file of mode 0002 again.");
        const TestRoot root;
        const int count = cell("count").toInt();
        const auto expanded = [](const char *column) {
            return cell(column)
                .replace("ENDS", QString("</").repeated(1'000))
                .replace("FILL", QString("x").repeated(4'000))
                .toUtf8();
        };
        QByteArray xml = expanded("begin");
        for (int number = 0; number < count; ++number)
            xml += expanded("open").replace('N', QByteArray::number(number));
        xml += expanded("middle") + expanded("close").repeated(count) + expanded("end");
        root.write(root.config(), xml);
        const LogCapture log;
        double seconds = 0;
        const std::unique_ptr<QThread> thread(QThread::create([&] {
            kestrun::updateConfigFile("7", "module");
            timespec used;
            clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
            seconds = double(used.tv_sec) + double(used.tv_nsec) / 1e9;
        }));
        thread->setStackSize(256 * 1024);
        thread->start();
        thread->wait();
        const QString warnings = log.lines().filter("W ").join('\n');
        QCOMPARE_LT(seconds, 1.0);
        if (cell("limit").isEmpty()) {
            QCOMPARE(warnings, QString());
            QVERIFY(readFile(root.config()) != xml);
        } else {
            QVERIFY2(warnings.contains("has more than " + cell("limit"))
                         && warnings.count("\n") == 0,
                     qPrintable(warnings));
            QCOMPARE(readFile(root.config()), xml);
        }
    }
};

QTEST_APPLESS_MAIN(tst_Files)
#include "tst_files.moc"
