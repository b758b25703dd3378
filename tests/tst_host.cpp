// SPDX-License-Identifier: MIT
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
    void reportOfEveryCard_data()
    {
        QTest::addColumn<QString>("card");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("value");
        const auto row = [](const char *card, const char *path, const char *value) {
            QTest::newRow(card) << QString::fromLatin1(card) << QString::fromLatin1(path)
                                << QString::fromLatin1(value);
        };
        row("lte", "Client/Command/Network/AcT", "LTE");
        row("hspa", "Client/Command/Network/AcT", "HSPA-PLU");
        row("cdma", "Client/MEID", "A1000012345678");
        row("td-scdma", "Client/Command/Network/AcT", "TD-SCDMA");
        row("locked", "Client/IMSI", "");
        row("none", "Client/Command/Device/Classify", "DataCard");
    }

    void reportOfEveryCard()
    {
        QFETCH(QString, card);
        QFETCH(QString, path);
        const Run run = report({"--card", card, "--json"});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.error, QByteArray());
        const QJsonObject values = QJsonDocument::fromJson(run.output).object();
        QCOMPARE(values.size(), 24);
        QTEST(values.value(path).toString(), "value");
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

    void failures_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("complaint");
        const auto row = [](const char *arguments, int status, const char *complaint) {
            QTest::newRow(arguments)
                << QString::fromUtf8(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts)
                << status << QByteArray(complaint);
        };
        row("", 2, "no command");
        row("repot", 2, "no command \"repot\"");
        row("report --oops", 2, "oops");
        row("report extra", 2, "extra");
        row("report --card", 2, "--card");
        row("report --card no-such-card", 1, "lte, hspa, cdma, td-scdma, locked, none");
        row("report --plugin /no/such/file", 1, "no plug-in file /no/such/file");
        row("report --plugin " SDK_FILE, 1, "not a Qt plug-in");
        row("report --plugin " WRONG_PLUGIN " --sdk " SDK_FILE, 1, "version=4.8.0");
        row("report --sdk /no/such/libsdk.so.1", 1, "put libsdk.so.1 beside");
        row("report --sdk " MAKERS_SDK " --card lte", 1, "not this project's device service");
        row("report --root /proc/no", 1, "cannot be made");
        row("sms", 2, "argument is missing");
        row("sms send 1", 2, "sms send NUMBER TEXT");
        row("sms receipts maybe", 2, "neither on nor off");
        row("sms send 1 a\u20acb", 2, "position 2; nothing was sent");
        row("sms send \u0661 a", 2, "the number has a character outside Latin-1");
        row("notify", 2, "argument is missing");
        row("notify 1 2", 2, "two parameters or none");
        row("notify 1e3", 2, "\"1e3\" is no number");
        row("notify 0x", 2, "is no number");
        row("notify 4294967296", 2, "is no number");
        row("notify -- -1", 2, "is no number");
        row("inspect /no/such/file", 1, "no file that can be read");
    }

    void failures()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, complaint);
        const Run run = kestrun(arguments);
        QTEST(run.status, "status");
        QCOMPARE(run.output, QByteArray());
        QVERIFY2(run.error.startsWith("kestrun: ") && run.error.contains(complaint),
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

    void notify_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QByteArray>("answer");
        const QByteArray yes = "Result 0; the report was rewritten.\n";
        const QByteArray no = "Result 0; the report was not rewritten.\n";
        QTest::newRow("decimal") << "4096" << yes;
        QTest::newRow("hexadecimal") << "0x802" << yes;
        QTest::newRow("no octal") << "010000" << no;
        QTest::newRow("another") << "4097" << no;
    }

    void notify()
    {
        QFETCH(QString, message);
        const Run run = kestrun({"notify", "--root", root(), message, "1", "0xFF"});
        QCOMPARE(run.status, 0);
        QTEST(run.output, "answer");
    }

    void inspect_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("finding");
        QTest::newRow("ours") << QStringLiteral(PLUGIN_FILE) << 0
                              << QByteArray("ok   identifier         com.velmora");
        QTest::newRow("another dashboard's") << QStringLiteral(WRONG_PLUGIN) << 1
                                             << QByteArray("BAD  verification text  pattern="
                                                           "QT_PLUGIN_VERIFICATION_DATA, "
                                                           "version=4.8.0");
        QTest::newRow("no plug-in")
            << QStringLiteral(SDK_FILE) << 1 << QByteArray("BAD  metadata           none");
        QTest::newRow("no library")
            << QStringLiteral(HOST) << 1 << QByteArray("libsdk.so.1 is not asked for");
    }

    void inspect()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, finding);
        const Run run = kestrun({"inspect", file});
        QTEST(run.status, "status");
        QVERIFY2(run.output.contains(finding), run.output.constData());
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
        const std::pair<const char *, const char *> steps[] = {
            {"insert lte", "\"field\":\"Client/IMEI\",\"new\":\"490154203237518\""},
            {"event 6014", "DeviceAvailable"},
            {"set PLMN 26201", "\"new\":\"26201\",\"old\":\"00101\""},
            {"event 6614", "\"type\":\"report\""},
            {"event 6601", "DeviceUnavailable"},
            {"set PLMN 12345678", "at most 7 fit"},
            {"dance", "insert [CARD] | remove | event NUMBER | set FIELD VALUE"},
            {"remove", "\"new\":\"\",\"old\":\"490154203237518\""}};
        for (const auto &[command, effect] : steps) {
            process.write(QByteArray(command) + '\n');
            QVERIFY2(shows(effect), command);
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
