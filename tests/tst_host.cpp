// SPDX-License-Identifier: MIT
#include "TestData.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <unistd.h>

namespace {

struct Run
{
    int status = -1;
    QByteArray output;
    QByteArray error;
};

Run kestrun(const QStringList &arguments)
{
    QProcess process;
    process.start(HOST, arguments);
    process.waitForFinished();
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace

class tst_Host : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_directory;

    QString root() const { return m_directory.filePath("root"); }
    QString dataDirectory() const
    {
        return root() + "/usr/local/vl_bk_userdata/Brisk_Lane/OnlineUpdate/OnlineUpdate Data";
    }
    Run report(const QStringList &arguments = {}) const
    {
        return kestrun(QStringList{"report", "--root", root()} + arguments);
    }
    // A word of a table; some stand for a file.
    QString word(const QString &text) const
    {
        const QHash<QString, QString> words{{"PLUGIN", PLUGIN_FILE}, {"WRONG", WRONG_PLUGIN},
                                            {"SDK", SDK_FILE},       {"MAKER", MAKERS_SDK},
                                            {"HOST", HOST},          {"ROOT", root()},
                                            {"OLD", OLD_PLUGIN},     {"''", QString()}};
        return words.value(text, text);
    }

private Q_SLOTS:
    void commands_data() { addRows("host-commands.txt"); }

    void commands()
    {
        QStringList arguments;
        for (const QString &argument : cell("arguments").split(' ', Qt::SkipEmptyParts))
            arguments << word(argument);
        const Run run = kestrun(arguments);
        QTEST(QString::number(run.status), "status");
        for (const auto &[seen, column] :
             {std::pair(run.output, "output"), std::pair(run.error, "error")}) {
            QVERIFY2(seen.contains(cell(column).toUtf8()), seen.constData());
            QCOMPARE(seen.isEmpty(), cell(column).isEmpty());
        }
        QVERIFY(run.error.isEmpty() || run.error.startsWith("kestrun: "));
    }

    void outputs()
    {
        const Run table = report({"--log"});
        QCOMPARE(table.status, 0);
        QVERIFY(
            table.output.contains("\nClient/IMEI                            490154203237518\n"));
        QVERIFY(table.output.contains(dataDirectory().toUtf8() + "/UpdateRule.dat"));
        QVERIFY(!table.output.contains("hhhh"));
        QVERIFY(table.error.contains("hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh\n"));
        QVERIFY(table.error.contains("=========strIMEI===========490154203237518\n"));

        QFile file(dataDirectory() + "/UpdateRule.dat");
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(report({"--xml"}).output, file.readAll());
        const auto values = QJsonDocument::fromJson(report({"--json"}).output).object();
        QCOMPARE(values.size(), 24);
    }

    void whatChangedInConfig()
    {
        const QTemporaryDir fresh;
        const QStringList first{"report", "--root", fresh.path()};
        if (geteuid() != 0)
            QSKIP("only root can open Config.xml again");
        const Run run = kestrun(first);
        QVERIFY2(run.output.contains("LatestSimLockState 1 \u2192 0"), run.output.constData());
        QVERIFY(kestrun(first).output.contains("LatestSimLockState 0, as before"));
    }

    void watch_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("Ctrl-C") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
    }

    // The whole life of a card. Each step is a command and the line that shows its effect.
    void watch()
    {
        QFETCH(int, signal);
        QProcess process;
        process.start(QStringLiteral(HOST),
                      {"watch", "--json", "--card", "none", "--root", root()});
        QByteArray seen;
        const auto shows = [&](const QByteArray &text) {
            while (!seen.contains(text) && process.waitForReadyRead(5000))
                seen += process.readAllStandardOutput();
            const qsizetype found = seen.indexOf(text);
            seen = seen.mid(found < 0 ? 0 : found + text.size());
            return found >= 0;
        };
        QVERIFY(shows("\"new\":\"DataCard\""));
        for (const QStringList &step : readTable("host-watch.txt").mid(1)) {
            process.write(step.at(0).toUtf8() + '\n');
            QVERIFY2(shows(step.at(1).toUtf8()), qPrintable(step.at(0)));
        }

        // A closed input neither ends it nor keeps it busy.
        process.closeWriteChannel();
        QVERIFY(!process.waitForFinished(300));
        QFile stat(QString("/proc/%1/stat").arg(process.processId()));
        QVERIFY(stat.open(QIODevice::ReadOnly));
        constexpr int kUserTicks = 13;
        const int ticks = stat.readAll().split(' ').at(kUserTicks).toInt();
        QVERIFY2(ticks < 20, "hundredths of a second of work");

        ::kill(pid_t(process.processId()), signal);
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        seen += process.readAllStandardOutput();
        QVERIFY2(seen.contains("{\"callbacks\":0,"), seen.constData());
    }

    void missingDeviceService()
    {
        const QString copy = m_directory.filePath(
            QFileInfo(QStringLiteral(PLUGIN_FILE)).fileName());
        QVERIFY(QFile::copy(QStringLiteral(PLUGIN_FILE), copy));
        const Run run = kestrun({"report", "--plugin", copy});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.error.contains("put libsdk.so.1 beside the plug-in"), run.error.constData());
    }

    void unwrittenReports()
    {
        QCOMPARE(report().status, 0);
        const QString file = dataDirectory() + "/UpdateRule.dat";
        QVERIFY(QFile::remove(file));
        QVERIFY(QDir().mkdir(file));
        const Run directory = report();
        QCOMPARE(directory.status, 1);
        QVERIFY2(directory.error.contains("is a directory; move it away"),
                 directory.error.constData());
        QVERIFY(QDir(dataDirectory()).removeRecursively());
        const Run missing = report();
        QCOMPARE(missing.status, 1);
        QCOMPARE(missing.error,
                 "kestrun: no report was written: the directory " + dataDirectory().toUtf8()
                     + " is missing; the dashboard's installation makes it, and --root DIR does "
                       "without\n");
    }
};

QTEST_APPLESS_MAIN(tst_Host)
#include "tst_host.moc"
