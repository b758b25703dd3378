// SPDX-License-Identifier: MIT
#include "HostProcess.h"
#include "TestData.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

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
    HostProcess host(arguments);
    host.waitForFinished();
    return {host.exitCode(), host.readAllStandardOutput(), host.readAllStandardError()};
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
    // Replaces the words that stand for a file.
    QString word(const QString &text) const
    {
        const QHash<QString, QString> words{{"PLUGIN", PLUGIN_FILE}, {"WRONG", WRONG_PLUGIN},
                                            {"SDK", SDK_FILE},       {"MAKER", MAKERS_SDK},
                                            {"HOST", HOST},          {"ROOT", root()},
                                            {"''", QString()}};
        return words.value(text, text);
    }

private Q_SLOTS:
    void exitsWithStatusAndMessage_data() { addRows("host-commands.txt"); }

    void exitsWithStatusAndMessage()
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

    void printsReportAsTableXmlAndJson()
    {
        const Run table = report({"--log"});
        QCOMPARE(table.status, 0);
        QVERIFY(
            table.output.contains("\nClient/IMEI                            490154203237518\n"));
        QVERIFY(table.output.contains(dataDirectory().toUtf8() + "/UpdateRule.dat"));
        QVERIFY(!table.output.contains("hhhh"));
        QVERIFY(table.error.contains("hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh\n"));
        QVERIFY(table.error.contains("=========strIMEI===========490154203237518\n"));

        const QByteArray file = readFile(dataDirectory() + "/UpdateRule.dat");
        QVERIFY(!file.isEmpty());
        QCOMPARE(report({"--xml"}).output, file);
        QCOMPARE(QJsonDocument::fromJson(report({"--json"}).output).object().size(), 24);
    }

    void saysWhetherConfigChanged()
    {
        if (geteuid() != 0)
            QSKIP("only root can open Config.xml again");
        const QTemporaryDir fresh;
        const QStringList arguments{"report", "--root", fresh.path()};
        const Run run = kestrun(arguments);
        QVERIFY2(run.output.contains("LatestSimLockState 1 \u2192 0"), run.output.constData());
        QVERIFY(kestrun(arguments).output.contains("LatestSimLockState 0, as before"));
    }

    void watchesCardUntilSignal_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("Ctrl-C") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
    }

    void watchesCardUntilSignal()
    {
        QFETCH(int, signal);
        HostProcess host({"watch", "--json", "--card", "none", "--root", root()});
        // The effects are part of the output, not of the messages about errors.
        host.closeReadChannel(QProcess::StandardError);
        QVERIFY(host.says({"\"new\":\"DataCard\""}));
        for (const TableRow &step : readTable("host-watch.txt")) {
            host.write(step["command"].toUtf8() + '\n');
            QVERIFY2(host.says({step["effect"].toUtf8()}), qPrintable(step["command"]));
        }

        // A closed input neither ends the command nor keeps it busy.
        host.closeWriteChannel();
        QVERIFY(!host.waitForFinished(300));
        const QByteArray stat = readFile(QString("/proc/%1/stat").arg(host.processId()));
        constexpr int kUserTicks = 13;
        QVERIFY2(stat.split(' ').at(kUserTicks).toInt() < 20, "hundredths of a second of work");

        QVERIFY(host.stop(signal));
    }

    void refusesPluginWithoutDeviceService()
    {
        const QString copy = m_directory.filePath(
            QFileInfo(QStringLiteral(PLUGIN_FILE)).fileName());
        QVERIFY(QFile::copy(QStringLiteral(PLUGIN_FILE), copy));
        const Run run = kestrun({"report", "--plugin", copy});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.error.contains("put libsdk.so.1 beside the plug-in"), run.error.constData());
    }

    void saysWhyNoReportWasWritten()
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

QTEST_GUILESS_MAIN(tst_Host)
#include "tst_host.moc"
