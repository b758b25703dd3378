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

namespace {

struct Run
{
    int status = -1;
    QByteArray output;
    QByteArray error;
};

Run kestrun(const QStringList &arguments, const QString &host = QStringLiteral(HOST))
{
    QProcess process;
    process.start(host, arguments);
    process.waitForFinished();
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

// Puts the built files in the place of their names in a table.
QString withFiles(QString text)
{
    return text.replace("PLUGIN", PLUGIN_FILE)
        .replace("WRONG", WRONG_PLUGIN)
        .replace("SDK", SDK_FILE)
        .replace("MAKER", MAKERS_SDK)
        .replace("HOST", HOST);
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
        return root()
            + "/usr/local/vl_bk_userdata/Brisk_Lane/OnlineUpdate/"
              "OnlineUpdate Data";
    }
    Run report(const QStringList &arguments = {}) const
    {
        return kestrun(QStringList{"report", "--root", root()} + arguments);
    }

private Q_SLOTS:
    void reportOfEveryCard_data() { addRows("host-reports.txt"); }

    void reportOfEveryCard()
    {
        const Run run = report({"--card", cell("card"), "--json"});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.error, QByteArray());
        const QJsonObject values = QJsonDocument::fromJson(run.output).object();
        QCOMPARE(values.size(), 24);
        QTEST(values.value(cell("path")).toString(), "value");
        QCOMPARE(values.value("Client/Command/Device/DverCD").toString(), "11.302.09.01.000");
    }

    void table()
    {
        const Run run = report();
        QCOMPARE(run.status, 0);
        QVERIFY(run.output.contains("\nClient/IMEI                            490154203237518\n"));
        QVERIFY(run.output.contains(dataDirectory().toUtf8() + "/UpdateRule.dat"));
        QVERIFY(!run.output.contains("hhhh"));
    }

    void xmlIsTheFile()
    {
        const Run run = report({"--xml"});
        QFile file(dataDirectory() + "/UpdateRule.dat");
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(run.output, file.readAll());
    }

    void logOnRequest()
    {
        const Run run = report({"--log"});
        QVERIFY(run.error.contains("hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh\n"));
        QVERIFY(run.error.contains("=========strIMEI===========490154203237518\n"));
    }

    void whatChangedInConfig()
    {
        const QTemporaryDir fresh;
        const QStringList first{"report", "--root", fresh.path()};
        if (!kestrun(first).output.contains("LatestSimLockState 1 \u2192 0"))
            QSKIP("only root can open Config.xml again");
        QVERIFY(kestrun(first).output.contains("LatestSimLockState 0, as before"));
    }

    void failures_data() { addRows("host-failures.txt"); }

    void failures()
    {
        const Run run = kestrun(withFiles(cell("arguments")).split(' ', Qt::SkipEmptyParts));
        QTEST(QString::number(run.status), "status");
        QCOMPARE(run.output, QByteArray());
        QVERIFY2(run.error.startsWith("kestrun: ")
                     && run.error.contains(cell("complaint").toUtf8()),
                 run.error.constData());
    }

    void anotherDeviceServiceTakesThePlace()
    {
        const Run run = report({"--sdk", QStringLiteral(MAKERS_SDK), "--json"});
        QCOMPARE(run.status, 0);
        const QJsonObject values = QJsonDocument::fromJson(run.output).object();
        QCOMPARE(values.value("Client/IMEI").toString(), "350000000000006");
        QCOMPARE(values.value("Client/SN").toString(), QString());
    }

    void sms()
    {
        const auto send = [this](const QStringList &arguments) {
            return kestrun(QStringList{"sms", "--root", root()} + arguments);
        };
        const QString number = "+15550199";
        Run run = send({"send", number, "caf\u00e9"});
        QCOMPARE(run.status, 0);
        QVERIFY(run.output.endsWith("SMS \"+15550199\" \"caf\\xe9\" receipt=0\n"));
        run = send({"send", "--receipt", QString(), QString()});
        QVERIFY(run.output.endsWith("SMS \"\" \"\" receipt=1\n"));
        run = send({"receipts", "off"});
        QCOMPARE(run.output,
                 QByteArray("The device service took the setting: delivery receipts "
                            "off.\n"));
        run = send({"send", "--card", "none", number, "x"});
        QCOMPARE(run.status, 1);
        QVERIFY(run.error.contains("refused the message"));
    }

    void notify_data() { addRows("host-messages.txt"); }

    void notify()
    {
        const Run run = kestrun({"notify", "--root", root(), cell("message"), "1", "0xFF"});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.output, "Result 0; the report was " + cell("report").toUtf8() + ".\n");
    }

    void inspect_data() { addRows("host-inspections.txt"); }

    void inspect()
    {
        const Run run = kestrun({"inspect", withFiles(cell("file"))});
        QTEST(QString::number(run.status), "status");
        QVERIFY2(run.output.contains(cell("finding").toUtf8()), run.output.constData());
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
