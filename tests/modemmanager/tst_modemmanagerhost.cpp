// SPDX-License-Identifier: MIT

// The whole way: host, plug-in, device service, the real daemon, a scripted modem.

#include "TestBed.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtTest/QTest>

#include <algorithm>
#include <csignal>

class ModemManagerHostTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void report();
    void watch();
    void noDaemon();

private:
    QStringList arguments(const char *command) const;
    QJsonObject writeReport();
    bool waitForTexts(const QByteArrayList &texts);

    TestBed m_bed;
    QTemporaryDir m_root;
    QProcess m_watch;
};

void ModemManagerHostTest::initTestCase()
{
    QVERIFY(m_bed.startBus());
}

void ModemManagerHostTest::init()
{
    QVERIFY(m_bed.startDaemon(true));
}

void ModemManagerHostTest::cleanup()
{
    m_watch.kill();
    m_watch.waitForFinished();
    m_bed.killDaemon();
}

QStringList ModemManagerHostTest::arguments(const char *command) const
{
    return {QLatin1String(command),         QStringLiteral("--json"), QStringLiteral("--card"),
            QStringLiteral("modemmanager"), QStringLiteral("--root"), m_root.path()};
}

QJsonObject ModemManagerHostTest::writeReport()
{
    QProcess host;
    host.start(QStringLiteral(KESTRUN), arguments("report"));
    host.waitForFinished();
    return QJsonDocument::fromJson(host.readAllStandardOutput()).object();
}

// Waits until the host has told each of these, in any order, since it was waited for the last time.
bool ModemManagerHostTest::waitForTexts(const QByteArrayList &texts)
{
    QByteArray told;
    const auto isTold = [&](const QByteArray &text) { return told.contains(text); };
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < 10'000; m_watch.waitForReadyRead(100)) {
        told += m_watch.readAllStandardOutput();
        if (std::all_of(texts.begin(), texts.end(), isTold))
            return true;
    }
    qWarning() << "not all of" << texts << "in" << told;
    return false;
}

void ModemManagerHostTest::report()
{
    QVERIFY(m_bed.plug(ScriptedModem::lte()));
    QVERIFY(m_bed.waitForModems(1));
    writeReport(); // switches the modem on
    const auto values = writeReport();
    const auto value = [&](const char *key) { return values.value(QLatin1String(key)).toString(); };
    const auto seen = m_bed.witness();
    const auto witness = [&](const char *key) { return seen.value(QLatin1String(key)); };
    QCOMPARE(value("Client/IMEI"), witness("modem.3gpp.imei"));
    QCOMPARE(value("Client/IMEI"), QStringLiteral("490154203237518"));
    QCOMPARE(value("Client/IMSI"), QStringLiteral("214070123456789"));
    QCOMPARE(value("Client/SN"), QString());
    QCOMPARE(value("Client/Command/Device/Model"), witness("modem.generic.model"));
    QCOMPARE(value("Client/Command/Device/Fver"), witness("modem.generic.revision"));
    QCOMPARE(value("Client/Command/Device/Hver"), QString());
    QCOMPARE(value("Client/Command/Device/ProductFamily"), QStringLiteral("WCDMA"));
    QCOMPARE(value("Client/Command/Device/SmsTriggerState"), QStringLiteral("1"));
    QCOMPARE(value("Client/Command/Network/AcT"), QStringLiteral("LTE"));
    QCOMPARE(value("Client/Command/Network/PLMN"), witness("modem.3gpp.operator-code"));
    QCOMPARE(value("Client/Command/Network/Lac"), QStringLiteral("1A2B"));
    QCOMPARE(value("Client/Command/Network/CellID"), QStringLiteral("102F304"));

    QElapsedTimer timer;
    timer.start();
    writeReport();
    const auto reportMs = timer.restart();
    m_bed.witness();
    const auto witnessMs = timer.elapsed();
    qInfo() << "one report" << reportMs << "ms, one mmcli" << witnessMs << "ms, ratio"
            << double(reportMs) / double(witnessMs);
}

void ModemManagerHostTest::watch()
{
    m_watch.start(QStringLiteral(KESTRUN), arguments("watch"));
    QVERIFY(waitForTexts({"\"report\""}));
    ScriptedModem *modem = m_bed.plug(ScriptedModem::umts());
    QVERIFY(modem);
    QVERIFY(waitForTexts({"490154203237518", "DeviceAvailable", "\"new\":\"83F7CD\""}));
    modem->say("+CREG: 1,\"31C5\",\"83F7CE\",2");
    QVERIFY(waitForTexts({"\"new\":\"83F7CE\",\"old\":\"83F7CD\""}));
    QVERIFY(m_bed.inhibit(*modem, true));
    QVERIFY(waitForTexts({"DeviceUnavailable", "\"new\":\"\",\"old\":\"83F7CE\""}));

    // Nothing is left registered or running.
    ::kill(static_cast<pid_t>(m_watch.processId()), SIGINT);
    QVERIFY(waitForTexts({"\"callbacks\":0"}));
    QVERIFY(m_watch.waitForFinished(5'000));
    QCOMPARE(m_watch.exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_watch.exitCode(), 0);
}

void ModemManagerHostTest::noDaemon()
{
    m_bed.killDaemon();
    const auto values = writeReport();
    QVERIFY(!values.isEmpty());
    QCOMPARE(values.value(QStringLiteral("Client/IMEI")).toString(), QString());
}

QTEST_GUILESS_MAIN(ModemManagerHostTest)
#include "tst_modemmanagerhost.moc"
