// SPDX-License-Identifier: MIT
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

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

    QString root() const { return m_directory.filePath(QStringLiteral("root")); }
    QString dataDirectory() const
    {
        return root()
            + QStringLiteral("/usr/local/vl_bk_userdata/Brisk_Lane/OnlineUpdate/"
                             "OnlineUpdate Data");
    }
    Run report(const QStringList &arguments = {}) const
    {
        return kestrun(QStringList{QStringLiteral("report"), QStringLiteral("--root"), root()}
                       + arguments);
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
        const Run run = report({QStringLiteral("--card"), card, QStringLiteral("--json")});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.error, QByteArray());
        const QJsonObject values = QJsonDocument::fromJson(run.output).object();
        QCOMPARE(values.size(), 24);
        QTEST(values.value(path).toString(), "value");
        QCOMPARE(values.value(QStringLiteral("Client/Command/Device/DverCD")).toString(),
                 QStringLiteral("11.302.09.01.000"));
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
        const Run run = report({QStringLiteral("--xml")});
        QFile file(dataDirectory() + QStringLiteral("/UpdateRule.dat"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(run.output, file.readAll());
    }

    void logOnRequest()
    {
        const Run run = report({QStringLiteral("--log")});
        QVERIFY(run.error.contains("hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh\n"));
        QVERIFY(run.error.contains("=========strIMEI===========490154203237518\n"));
    }

    void whatChangedInConfig()
    {
        const QTemporaryDir fresh;
        const QStringList first{QStringLiteral("report"), QStringLiteral("--root"), fresh.path()};
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
                << QString::fromLatin1(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts)
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
        const Run run = report({QStringLiteral("--sdk"), QStringLiteral(MAKERS_SDK),
                                QStringLiteral("--json")});
        QCOMPARE(run.status, 0);
        const QJsonObject values = QJsonDocument::fromJson(run.output).object();
        QCOMPARE(values.value(QStringLiteral("Client/IMEI")).toString(),
                 QStringLiteral("350000000000006"));
        QCOMPARE(values.value(QStringLiteral("Client/SN")).toString(), QString());
    }

    void missingDeviceService()
    {
        const QString copy = m_directory.filePath(
            QFileInfo(QStringLiteral(PLUGIN_FILE)).fileName());
        QVERIFY(QFile::copy(QStringLiteral(PLUGIN_FILE), copy));
        const Run run = kestrun({QStringLiteral("report"), QStringLiteral("--plugin"), copy});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.error.contains("put libsdk.so.1 beside the plug-in"), run.error.constData());
    }

    void unwrittenReports()
    {
        QCOMPARE(report().status, 0);
        const QString file = dataDirectory() + QStringLiteral("/UpdateRule.dat");
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
