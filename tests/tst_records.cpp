// SPDX-License-Identifier: MIT

// What the command keeps about the events: metrics, recordings and the signs of life.

#include "HostProcess.h"
#include "TestData.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// Receives what a service manager is told.
class NotifySocket
{
public:
    // A name that begins with "@" is abstract.
    explicit NotifySocket(const QByteArray &name)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        memcpy(address.sun_path, name.constData(), std::size_t(name.size()));
        if (name.startsWith('@'))
            address.sun_path[0] = '\0';
        const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(name.size()));
        ::bind(m_socket, reinterpret_cast<const sockaddr *>(&address), size);
    }
    ~NotifySocket() { ::close(m_socket); }

    // Waits for a message; those before it are dropped.
    bool receives(const QByteArray &message)
    {
        return QTest::qWaitFor(
            [&] {
                char bytes[100];
                const auto size = ::recv(m_socket, bytes, sizeof bytes, MSG_DONTWAIT);
                return size > 0 && QByteArray(bytes, size) == message;
            },
            15'000);
    }

private:
    const int m_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

// The samples, one on each line, or nothing if the text is not OpenMetrics.
QString samplesOf(const QByteArray &metrics, const QStringList &files = {})
{
    Child reader;
    // The system's interpreter, which finds the system's packages.
    reader.start("/usr/bin/python3", QStringList{SOURCE "tests/read_metrics.py"} + files);
    reader.write(metrics);
    reader.closeWriteChannel();
    reader.waitForFinished();
    if (reader.exitCode() == 0)
        return reader.readAllStandardOutput();
    qWarning().noquote() << reader.readAllStandardError();
    return {};
}

void limitFileSize(const HostProcess &host, rlim_t bytes)
{
    const rlimit limit{bytes, RLIM_INFINITY};
    QCOMPARE(::prlimit(pid_t(host.processId()), RLIMIT_FSIZE, &limit, nullptr), 0);
}

} // namespace

class tst_Records : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_directory;
    QByteArray m_recording;

    QString path(const QString &name) const { return m_directory.filePath(name); }

    bool hasSamples(const QString &file, const QStringList &parts) const
    {
        QString samples;
        const bool found = QTest::qWaitFor(
            [&] {
                const QByteArray text = readFile(path(file));
                samples = text.isEmpty() ? QString() : samplesOf(text);
                return std::all_of(parts.begin(), parts.end(),
                                   [&](const QString &part) { return samples.contains(part); });
            },
            15'000);
        if (!found)
            qWarning().noquote() << "the samples are" << samples;
        return found;
    }

private Q_SLOTS:
    // Records a card's life.
    void initTestCase()
    {
        const QString
            report = "/usr/local/vl_bk_userdata/Brisk_Lane/OnlineUpdate/OnlineUpdate Data";
        for (const QString root : {"ROOT", "BARE", "FULL"})
            QCOMPARE(runHost({"report", "--root", path(root)}).status, 0);
        QVERIFY(QDir(path("BARE" + report)).removeRecursively());
        QVERIFY(QFile::remove(path("FULL" + report + "/UpdateRule.dat")));
        QVERIFY(QDir().mkpath(path("FULL" + report + "/UpdateRule.dat")));
        writeFile(path("ODD"), "[Network]\nPLMN=\"a\\\"\\\\b\"\n[PS]\nState=-7\n");

        HostProcess host({"watch", "--json", "--card", "none", "--root", path("ROOT"), "--record",
                          path("life.jsonl")});
        QVERIFY(host.says({"DataCard"}));
        // Each command waits until the plug-in has handled the events of the one before.
        int lines = 2;
        for (const auto &[command, events] :
             {std::pair("insert lte\n", 2), std::pair("set PLMN 26201\n", 1),
              std::pair("set Lock/State 2\n", 1), std::pair("remove\n", 2)}) {
            host.write(command);
            lines += events;
            QVERIFY(QTest::qWaitFor(
                [&] { return readFile(path("life.jsonl")).count('\n') == lines; }, 15'000));
        }
        QVERIFY(host.stop());
        m_recording = readFile(path("life.jsonl"));
        QCOMPARE(validJsonTexts(m_recording, SOURCE), 9);
        QCOMPARE(QFile::permissions(path("life.jsonl")) & (QFile::ReadGroup | QFile::ReadOther), 0);
    }

    void countsCardAndReport_data() { addRows("metrics.txt"); }

    void countsCardAndReport()
    {
        const QString card = cell("card") == "ODD" ? path("ODD") : cell("card");
        const Run run = runHost(
            QStringList{"report", "--metrics", "--root", path(cell("root")), "--card", card}
            + cell("options").split(' ', Qt::SkipEmptyParts));
        QCOMPARE(QString::number(run.status), cell("status"));
        const QString samples = samplesOf(run.output);
        for (const QString &part : cell("samples").split(", "))
            QVERIFY2(samples.contains(part), qPrintable(part + " in " + samples));
        for (const QString &part : cell("absent").split(", ", Qt::SkipEmptyParts))
            QVERIFY2(!run.output.contains(part.toUtf8()), qPrintable(part));
    }

    // The alert rules and the board use no metric that the program does not have.
    void hasMetricsOfRulesAndBoard()
    {
        const Run run = runHost({"report", "--metrics", "--root", path("ROOT"), "--card", "lte"});
        QVERIFY(!samplesOf(run.output,
                           {SOURCE "share/kestrun/alerts.yml", SOURCE "share/kestrun/board.json"})
                     .isEmpty());
    }

    // A name that begins with "@" is abstract.
    void tellsServiceManager()
    {
        for (const char *kind : {"", "@"}) {
            const QByteArray name = kind + path("notify").toLocal8Bit();
            NotifySocket manager(name);
            HostProcess host;
            auto environment = QProcessEnvironment::systemEnvironment();
            environment.insert("NOTIFY_SOCKET", name);
            environment.insert("WATCHDOG_USEC", "200000");
            host.setProcessEnvironment(environment);
            host.setStandardInputFile(QProcess::nullDevice());
            host.start(HOST, {"watch", "--json", "--card", "lte", "--root", path("ROOT")});
            for (const char *message : {"READY=1", "WATCHDOG=1", "WATCHDOG=1"})
                QVERIFY2(manager.receives(message), message);
            QVERIFY(host.stop(SIGTERM));
            QVERIFY(manager.receives("STOPPING=1"));
        }
    }

    // A file that may not grow fails as a full disk does.
    void outlivesFailingFiles()
    {
        const QStringList arguments{"watch", "--json", "--card", "none", "--root", path("ROOT")};
        HostProcess host(arguments
                         + QStringList{"--metrics", path("m.prom"), "--record", path("f.jsonl")});
        QVERIFY(host.says({"DataCard"}));
        QVERIFY(hasSamples("m.prom", {"card_present {} 0", "reports_total {} 1"}));

        // Makes the recording the longest file.
        host.write("insert lte\n");
        QVERIFY(hasSamples("m.prom", {"card_present {} 1", "reports_total {} 2"}));
        host.write("remove\n");
        QVERIFY(hasSamples("m.prom", {"card_present {} 0", "reports_total {} 3"}));
        limitFileSize(host, rlim_t(QFileInfo(path("f.jsonl")).size() + 100));
        host.write("insert lte\n");
        QVERIFY(host.says({"DeviceAvailable",
                           "kestrun: the recording " + path("f.jsonl").toUtf8()
                               + " ends here: File too large; make room"}));
        QVERIFY(hasSamples("m.prom",
                           {"card_present {} 1", "events_total {event=6002} 3",
                            "events_total {event=6014} 2", "reports_total {} 4"}));

        limitFileSize(host, 1'000);
        const QByteArray before = readFile(path("m.prom"));
        host.write("event 6614\n");
        QVERIFY(host.says({"kestrun: the metrics cannot be written to " + path("m.prom").toUtf8()
                           + ": File too large; make room"}));
        QCOMPARE(readFile(path("m.prom")), before);

        limitFileSize(host, RLIM_INFINITY);
        host.write("remove\n");
        QVERIFY(host.says({"DeviceUnavailable"}));
        QVERIFY(hasSamples("m.prom", {"card_present {} 0", "failures_total {reason=unknown} 1"}));
        QVERIFY(!host.said.contains("kestrun: "));

        // What was recorded before is whole, and the exit status tells that it is not all.
        ::kill(pid_t(host.processId()), SIGTERM);
        QVERIFY(host.ends());
        QVERIFY2(host.exitCode() == 1, host.readAllStandardError().constData());
        const QByteArray recorded = readFile(path("f.jsonl"));
        QVERIFY(recorded.endsWith("}\n"));
        writeFile(path("f.jsonl"), recorded + "{\"type\":\"end\"}\n");
        const Run replay = runHost({"replay", path("f.jsonl"), "--speed", "max", "--check"});
        QVERIFY2(replay.output.contains("; no difference"), replay.error.constData());
    }

    // A library without events and control table.
    void replaysMakersLibrary()
    {
        HostProcess host({"watch", "--json", "--root", path("ROOT"), "--sdk", MAKERS_SDK,
                          "--record", path("maker.jsonl"), "--metrics", path("maker.prom")});
        QVERIFY(host.says({"350000000000006"}));
        QVERIFY(hasSamples("maker.prom", {"card_present {} 1", "card_ready {} 0"}));
        QVERIFY(host.stop());
        QVERIFY(
            runHost({"replay", path("maker.jsonl"), "--check"})
                .output.contains("Events replayed: 1; no difference; reports not compared: 0\n"));
    }

    void comparesReplayWithRecording_data() { addRows("recordings.txt"); }

    void comparesReplayWithRecording()
    {
        const QByteArray text = cell("text").toUtf8();
        const qsizetype at = m_recording.indexOf(text);
        QVERIFY(at >= 0);
        const auto line = QByteArray::number(m_recording.first(at).count('\n') + 1);
        QByteArray changed = m_recording;
        changed.replace(at, text.size(), cell("replacement").toUtf8());
        writeFile(path("changed.jsonl"), changed);
        const Run run = runHost({"replay", path("changed.jsonl"), "--speed", "100", "--check"});
        const QByteArray said = run.output + run.error;
        QVERIFY2(said.contains(cell("message").toUtf8().replace("LINE", line)), said.constData());
        QCOMPARE(QString::number(run.status), cell("status"));
    }
};

QTEST_GUILESS_MAIN(tst_Records)
#include "tst_records.moc"
