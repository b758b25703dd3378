// SPDX-License-Identifier: MIT

// The device service on the real daemon, which talks to scripted modems.

#include "ServiceProbe.h"
#include "TestBed.h"

#include <QtCore/QElapsedTimer>
#include <QtTest/QTest>

#include <thread>

namespace {

constexpr char kImei[] = "490154203237518";
constexpr char kOtherImei[] = "356938035643809";

const QString kModem = QStringLiteral("org.freedesktop.ModemManager1.Modem");

Script changed(Script script, const Script &changes)
{
    script.insert(changes);
    return script;
}

// The value of a hexadecimal text, however it is padded.
qulonglong hex(const QString &text)
{
    return text.toULongLong(nullptr, 16);
}

} // namespace

class ModemManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void values_data();
    void values();
    void cdma();
    void lockedSim();
    void noSim();
    void choosesByImei();
    void startRefused();
    void comesLater();
    void switchedOffByUser();
    void rightsRefused();
    void networkChanges();
    void flood();
    void unpluggedInQuery();
    void stoppedInQuery();
    void daemonComesBack();
    void atChannel_data();
    void atChannel();
    void rawCommandsRefused();
    void silentModem();
    void sms_data();
    void sms();
    void rightsTakenAway();

private:
    bool start(const char *backend = "modemmanager");
    ScriptedModem *plugAndStart(const Script &script, bool rawCommands = false);

    TestBed m_bed;
    const DeviceServiceControl *m_service = DevSrv_GetControl();
};

void ModemManagerTest::initTestCase()
{
    QVERIFY(m_bed.startBus());
}

void ModemManagerTest::cleanup()
{
    if (QTest::currentTestFailed())
        qInfo().noquote() << m_bed.daemonLog() << probe::events() << probe::takeWarnings();
    probe::stopListening();
    m_service->stop();
    m_bed.killDaemon();
    m_bed.authority().grants = true;
}

void ModemManagerTest::cleanupTestCase()
{
    // The bus itself gone: the one case in which the service does not start.
    m_bed.stopBus();
    QVERIFY(!start());
    QVERIFY(QByteArray(m_service->lastError()).contains("system message bus"));
}

bool ModemManagerTest::start(const char *backend)
{
    probe::listen();
    return m_service->start(backend) == 0;
}

ScriptedModem *ModemManagerTest::plugAndStart(const Script &script, bool rawCommands)
{
    if (!m_bed.startDaemon(rawCommands))
        return nullptr;
    ScriptedModem *modem = m_bed.plug(script);
    return modem && m_bed.waitForModems(1) && start() ? modem : nullptr;
}

void ModemManagerTest::values_data()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<QByteArray>("model");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("subMode");
    QTest::addColumn<bool>("isLte");
    QTest::newRow("UMTS") << ScriptedModem::umts() << QByteArray("FR210") << 5 << 41 << false;
    QTest::newRow("HSPA") << changed(ScriptedModem::umts(),
                                     {{"AT+CREG?", "+CREG: 2,5,\"31C5\",\"83F7CD\",6"},
                                      {"AT+CGREG?", "+CGREG: 2,5,\"31C5\",\"83F7CD\",6"}})
                          << QByteArray("FR210") << 5 << 44 << false;
    QTest::newRow("LTE") << ScriptedModem::lte() << QByteArray("FR421") << 6 << 101 << true;
}

void ModemManagerTest::values()
{
    QFETCH(Script, script);
    QFETCH(bool, isLte);
    ScriptedModem *modem = plugAndStart(script);
    QVERIFY(modem);
    QCOMPARE(probe::number(ZEPA_DevSrv_GetDevStatus), DEVSRV_STATUS_READY);

    // What the modem was scripted to say.
    const auto registration = probe::registration(isLte ? ZEPA_NetSrv_GetPSRegState
                                                        : ZEPA_NetSrv_GetCSRegState);
    const auto system = probe::systemInfo();
    const auto versions = probe::versions();
    QVERIFY(registration && system && versions);
    QTEST(probe::text(ZEPA_DevSrv_GetDeviceName).value_or(""), "model");
    QTEST(system->sysMode, "mode");
    QTEST(system->subMode, "subMode");
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImeiInfo), kImei);
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImsiInfo), "214070123456789");
    QCOMPARE(QByteArray(versions->firmware), "BD_FR421V1.0.0B07");
    QCOMPARE(probe::number(ZEPA_DevSrv_GetProductType), ZEPA_PRODUCT_TYPE_WCDMA);
    QCOMPARE(probe::ownNumber(), "+34600123456");
    QCOMPARE(probe::lockState(), 0);
    QCOMPARE(probe::plmn(), "21407");
    QCOMPARE(registration->reportMode, 0);
    QCOMPARE(QByteArray(registration->lac), isLte ? "1A2B" : "31C5");
    QCOMPARE(QByteArray(registration->cellId), isLte ? "102F304" : "83F7CD");

    // What an AT modem behind the daemon cannot tell.
    QVERIFY(!probe::text(ZEPA_DevSrv_GetSN));
    QVERIFY(!probe::cdma());
    QCOMPARE(QByteArray(versions->hardware), "");
    QCOMPARE(bool(probe::registration(ZEPA_NetSrv_GetCSRegState)), !isLte);

    // The witness sees the same.
    const auto seen = m_bed.witness();
    const auto place = m_bed.witness({QStringLiteral("--location-get")});
    const auto value = [&](const char *key) { return seen.value(QLatin1String(key)).toLatin1(); };
    const auto area = place.value(isLte ? QStringLiteral("modem.location.3gpp.tac")
                                        : QStringLiteral("modem.location.3gpp.lac"));
    QCOMPARE(probe::text(ZEPA_DevSrv_GetDeviceName), value("modem.generic.model"));
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImeiInfo), value("modem.3gpp.imei"));
    QCOMPARE(QByteArray(versions->firmware), value("modem.generic.revision"));
    QCOMPARE(probe::ownNumber(), value("modem.generic.own-numbers.value[1]"));
    QCOMPARE(probe::plmn(), value("modem.3gpp.operator-code"));
    QCOMPARE(registration->state == 5 ? "roaming" : "home", value("modem.3gpp.registration-state"));
    QCOMPARE(hex(QString::fromLatin1(registration->lac)), hex(area));
    QCOMPARE(hex(QString::fromLatin1(registration->cellId)),
             hex(place.value(QStringLiteral("modem.location.3gpp.cid"))));
}

void ModemManagerTest::cdma()
{
    QVERIFY(plugAndStart(ScriptedModem::cdma()));
    QCOMPARE(probe::number(ZEPA_DevSrv_GetProductType), ZEPA_PRODUCT_TYPE_CDMA);
    const auto identity = probe::cdma();
    QVERIFY(identity);
    const auto seen = m_bed.witness();
    QCOMPARE(QByteArray(identity->meid), "A10000009296F2");
    QCOMPARE(seen.value(QStringLiteral("modem.cdma.meid")), QLatin1String(identity->meid));
    QVERIFY(!probe::text(ZEPA_DevSrv_GetImeiInfo));
    QVERIFY(!probe::registration(ZEPA_NetSrv_GetPSRegState));
}

void ModemManagerTest::lockedSim()
{
    ScriptedModem *modem = plugAndStart(changed(
        ScriptedModem::lte(), {{"AT+CPIN?", "+CPIN: SIM PIN"}, {"AT+CIMI", "+CME ERROR: 11"}}));
    QVERIFY(modem);
    QCOMPARE(probe::lockState(), 2);
    QVERIFY(probe::number(ZEPA_DevSrv_GetDevStatus) != DEVSRV_STATUS_READY);
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImeiInfo), kImei);
    QVERIFY(!probe::text(ZEPA_DevSrv_GetImsiInfo));
    QVERIFY(!probe::plmn());

    modem->setAnswer("AT+CPIN=\"1234\"", "");
    modem->setAnswer("AT+CPIN?", "+CPIN: READY");
    modem->setAnswer("AT+CIMI", "214070123456789");
    probe::forget();
    const QString sim = m_bed.witness().value(QStringLiteral("modem.generic.sim"));
    m_bed.call(sim, QStringLiteral("org.freedesktop.ModemManager1.Sim"), QStringLiteral("SendPin"),
               {QStringLiteral("1234")});
    QVERIFY(probe::waitFor({DEVSRV_EVENT_SIM_CHANGED, ZEPA_EVENT_DEV_DEVICE_INIT_FINISH,
                            DEVSRV_EVENT_NETWORK_CHANGED}));
    QCOMPARE(probe::lockState(), 0);
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImsiInfo), "214070123456789");
}

void ModemManagerTest::noSim()
{
    QVERIFY(plugAndStart(changed(ScriptedModem::umts(), {{"AT+CPIN?", "+CME ERROR: 10"}})));
    QVERIFY(!probe::text(ZEPA_DevSrv_GetImsiInfo));
    QVERIFY(!probe::lockState());
    QVERIFY(!probe::plmn());
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImeiInfo), kImei);
}

void ModemManagerTest::choosesByImei()
{
    QVERIFY(m_bed.startDaemon());
    QVERIFY(m_bed.plug(ScriptedModem::umts()));
    QVERIFY(m_bed.waitForModems(1));
    QVERIFY(m_bed.plug(changed(ScriptedModem::lte(), {{"AT+CGSN", kOtherImei}})));
    QVERIFY(m_bed.waitForModems(2));

    QVERIFY(start(QByteArray("modemmanager:") + kOtherImei));
    QCOMPARE(probe::text(ZEPA_DevSrv_GetDeviceName), "FR421");
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImeiInfo), kOtherImei);
    QVERIFY(start());
    QCOMPARE(probe::text(ZEPA_DevSrv_GetDeviceName), "FR210");
    QVERIFY(start("modemmanager:000000000000000"));
    QCOMPARE(probe::answeredQueries(), 0);
    QCOMPARE(probe::takeWarnings().size(), 1);
}

void ModemManagerTest::startRefused()
{
    for (const char *name : {"modemmanager:", "modemmanager2", "network"}) {
        QVERIFY(m_service->start(name) != 0);
        const QByteArray error = m_service->lastError();
        QVERIFY2(error.contains(name) && error.contains("modemmanager:IMEI"), error);
    }
}

// First no daemon, then a daemon without a modem, then a modem.
void ModemManagerTest::comesLater()
{
    QElapsedTimer timer;
    timer.start();
    QVERIFY(start());
    QCOMPARE(probe::answeredQueries(), 0);
    QVERIFY(timer.elapsed() < 1'000);
    QCOMPARE(probe::takeWarnings().size(), 1);

    QVERIFY(m_bed.startDaemon());
    QTest::qWait(500);
    QCOMPARE(probe::answeredQueries(), 0);
    QCOMPARE(probe::events(), probe::Events());

    QVERIFY(m_bed.plug(ScriptedModem::lte()));
    QVERIFY(probe::waitFor({DEVSRV_EVENT_CARD_CHANGED, ZEPA_EVENT_DEV_DEVICE_INIT_FINISH,
                            DEVSRV_EVENT_DEVICE_ENABLED, DEVSRV_EVENT_NETWORK_CHANGED}));
    QCOMPARE(probe::events().first(), DEVSRV_EVENT_CARD_CHANGED);
    QCOMPARE(probe::number(ZEPA_DevSrv_GetDevStatus), DEVSRV_STATUS_READY);
    QCOMPARE(probe::answeredInCallback(), probe::events().size());
}

void ModemManagerTest::switchedOffByUser()
{
    QVERIFY(plugAndStart(ScriptedModem::umts()));
    probe::forget();
    const QString path = m_bed.witness().value(QStringLiteral("modem.dbus-path"));
    m_bed.call(path, kModem, QStringLiteral("Enable"), {false});
    QVERIFY(probe::waitFor({DEVSRV_EVENT_NETWORK_CHANGED}));
    QTest::qWait(1'000);
    QVERIFY(probe::number(ZEPA_DevSrv_GetDevStatus) != DEVSRV_STATUS_READY);
    m_bed.call(path, kModem, QStringLiteral("Enable"), {true});
    QVERIFY(probe::waitFor({DEVSRV_EVENT_DEVICE_ENABLED}));
}

void ModemManagerTest::rightsRefused()
{
    m_bed.authority().grants = false;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(plugAndStart(ScriptedModem::umts()));
    QVERIFY(timer.elapsed() < 5'000);
    const QStringList warnings = probe::takeWarnings();
    QCOMPARE(warnings.size(), 1);
    QVERIFY2(warnings[0].contains(QLatin1String("Enable failed")), qPrintable(warnings[0]));
    QVERIFY(probe::number(ZEPA_DevSrv_GetDevStatus) != DEVSRV_STATUS_READY);
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImeiInfo), kImei);
    QVERIFY(!probe::sendSms(QStringLiteral("+34600111222"), QStringLiteral("hello")));
    QVERIFY(!probe::registration(ZEPA_NetSrv_GetCSRegState));
}

void ModemManagerTest::networkChanges()
{
    ScriptedModem *modem = plugAndStart(ScriptedModem::umts());
    QVERIFY(modem);
    QTest::qWait(700);
    probe::forget();
    modem->say("+CREG: 1,\"31C5\",\"83F7CE\",2");
    QVERIFY(probe::waitFor({DEVSRV_EVENT_NETWORK_CHANGED}));
    const auto registration = probe::registration(ZEPA_NetSrv_GetCSRegState);
    QVERIFY(registration);
    QCOMPARE(QByteArray(registration->cellId), "83F7CE");

    probe::forget();
    modem->say("+CREG: 1,\"31C5\",\"83F7CE\",6");
    QVERIFY(probe::waitFor({DEVSRV_EVENT_NETWORK_CHANGED}));
    QCOMPARE(probe::systemInfo().value_or(SysInfoRecord{}).subMode, 44);
}

void ModemManagerTest::flood()
{
    ScriptedModem *modem = plugAndStart(ScriptedModem::umts());
    QVERIFY(modem);
    QTest::qWait(700);
    probe::forget();
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 1'000; ++i) {
        modem->say("+CREG: 1,\"31C5\",\"" + QByteArray::number(0x100000 + i, 16) + "\",2");
        QThread::usleep(1'000);
    }
    const auto lastCell = [] {
        const auto registration = probe::registration(ZEPA_NetSrv_GetCSRegState);
        return QByteArray(registration ? registration->cellId : "").toUpper();
    };
    const QByteArray last = QByteArray::number(0x100000 + 999, 16).toUpper();
    QTRY_COMPARE(lastCell(), last);
    QTest::qWait(600);
    const auto count = probe::events().size();
    const auto seconds = timer.elapsed() / 1'000 + 1;
    qInfo() << count << "events in" << timer.elapsed() << "ms";
    QVERIFY(count >= 1 && count <= 4 * seconds);
    QVERIFY(!probe::eventInsideQuery());
}

// A modem that goes while queries run: each ends, with or without an answer.
void ModemManagerTest::unpluggedInQuery()
{
    ScriptedModem *modem = plugAndStart(ScriptedModem::lte());
    QVERIFY(modem);
    probe::forget();
    std::atomic<bool> ends = false;
    std::atomic<int> rounds = 0;
    std::thread asking([&] {
        for (; !ends; ++rounds)
            probe::answeredQueries();
    });
    const bool taken = m_bed.inhibit(*modem, true);
    const bool removed = probe::waitFor({DEVSRV_EVENT_DEVICE_REMOVED, DEVSRV_EVENT_CARD_CHANGED});
    ends = true;
    asking.join();
    QVERIFY(taken && removed);
    QVERIFY(rounds > 1);
    QCOMPARE(probe::answeredQueries(), 0);
    QVERIFY(!probe::eventInsideQuery());

    probe::forget();
    QVERIFY(m_bed.inhibit(*modem, false));
    QVERIFY(probe::waitFor({DEVSRV_EVENT_CARD_CHANGED, ZEPA_EVENT_DEV_DEVICE_INIT_FINISH,
                            DEVSRV_EVENT_DEVICE_ENABLED, DEVSRV_EVENT_NETWORK_CHANGED}));
    QVERIFY(probe::answeredQueries() > 0);
}

// Starting and stopping while other threads ask and events come.
void ModemManagerTest::stoppedInQuery()
{
    ScriptedModem *modem = plugAndStart(ScriptedModem::umts());
    QVERIFY(modem);
    std::atomic<bool> ends = false;
    std::thread asking([&] {
        while (!ends)
            probe::answeredQueries();
    });
    for (int i = 0; i < 5; ++i) {
        modem->say("+CREG: 1,\"31C5\",\"A" + QByteArray::number(i) + "\",2");
        QTest::qWait(260);
        m_service->start("modemmanager");
    }
    m_service->stop();
    ends = true;
    asking.join();
    QVERIFY(probe::events().contains(DEVSRV_EVENT_NETWORK_CHANGED));
}

void ModemManagerTest::daemonComesBack()
{
    ScriptedModem *modem = plugAndStart(ScriptedModem::umts());
    QVERIFY(modem);
    probe::forget();
    m_bed.killDaemon();
    QVERIFY(probe::waitFor({DEVSRV_EVENT_DEVICE_LOST}));
    QCOMPARE(probe::answeredQueries(), 0);

    probe::forget();
    QVERIFY(m_bed.startDaemon());
    QVERIFY(m_bed.plugAgain(*modem));
    QVERIFY(probe::waitFor({DEVSRV_EVENT_CARD_CHANGED, ZEPA_EVENT_DEV_DEVICE_INIT_FINISH,
                            DEVSRV_EVENT_DEVICE_ENABLED, DEVSRV_EVENT_NETWORK_CHANGED}));
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImeiInfo), kImei);
}

void ModemManagerTest::atChannel_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("one line") << QByteArray("AT^RSTRIGGER?\r")
                              << QByteArray("\r\n^RSTRIGGER: 1\r\n\r\nOK\r\n");
    QTest::newRow("no line") << QByteArray("AT+CFUN=1\r") << QByteArray("\r\nOK\r\n");
    QTest::newRow("error") << QByteArray("AT^NOSUCH?\r") << QByteArray("\r\nERROR\r\n");
}

void ModemManagerTest::atChannel()
{
    QFETCH(QByteArray, command);
    QVERIFY(plugAndStart(ScriptedModem::umts(), true));
    const auto pieces = probe::at(command);
    QVERIFY(pieces);
    QTEST(pieces->join(), "answer");
}

void ModemManagerTest::rawCommandsRefused()
{
    ScriptedModem *modem = plugAndStart(ScriptedModem::umts());
    QVERIFY(modem);
    QVERIFY(!probe::at("AT^RSTRIGGER?\r"));
    QVERIFY(!modem->journal().contains("AT^RSTRIGGER?"));
}

void ModemManagerTest::silentModem()
{
    ScriptedModem *modem = plugAndStart(ScriptedModem::umts(), true);
    QVERIFY(modem);
    modem->setSilent(true);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!probe::at("AT^RSTRIGGER?\r"));
    QVERIFY(timer.elapsed() < 7'000);
    // What the daemon keeps is still told.
    QCOMPARE(probe::text(ZEPA_DevSrv_GetImeiInfo), kImei);
}

void ModemManagerTest::sms_data()
{
    QTest::addColumn<bool>("receipt");
    QTest::addColumn<QByteArray>("networkAnswer");
    QTest::addColumn<bool>("sent");
    QTest::newRow("with receipt") << true << QByteArray("+CMGS: 7") << true;
    QTest::newRow("without receipt") << false << QByteArray("+CMGS: 7") << true;
    QTest::newRow("refused by the network") << true << QByteArray("+CMS ERROR: 500") << false;
}

void ModemManagerTest::sms()
{
    QFETCH(bool, receipt);
    QFETCH(QByteArray, networkAnswer);
    ScriptedModem *modem = plugAndStart(
        changed(ScriptedModem::umts(), {{"message", networkAnswer}}));
    QVERIFY(modem);
    QCOMPARE(ZEPA_SMSSrv_SetSMSReceiptNotify(receipt), 0);
    QTEST(probe::sendSms(QStringLiteral("+34600111222"), QStringLiteral("hello")), "sent");

    // The message as it went out: the number with its digits swapped, and the bit of the receipt.
    const QByteArray message = modem->journal().last();
    const auto smscLength = message.left(2).toInt(nullptr, 16);
    const auto flags = message.mid(2 + 2 * smscLength, 2).toInt(nullptr, 16);
    QVERIFY2(message.contains("4306101122F2"), message);
    QCOMPARE((flags & 0x20) != 0, receipt);

    // Nothing stays behind in the daemon.
    const auto left = m_bed.witness({QStringLiteral("--messaging-list-sms")});
    QCOMPARE(left.value(QStringLiteral("modem.messaging.sms.length"), QStringLiteral("0")),
             QStringLiteral("0"));

    QVERIFY(!probe::sendSms(QString(), QStringLiteral("to nobody")));
}

void ModemManagerTest::rightsTakenAway()
{
    ScriptedModem *modem = plugAndStart(ScriptedModem::umts());
    QVERIFY(modem);
    m_bed.authority().grants = false;
    QVERIFY(!probe::sendSms(QStringLiteral("+34600111222"), QStringLiteral("hello")));
    QVERIFY(!probe::sendSms(QStringLiteral("+34600111222"), QStringLiteral("hello")));
    const QStringList warnings = probe::takeWarnings().filter(QStringLiteral("Create failed"));
    QCOMPARE(warnings.size(), 1);
    QVERIFY2(warnings[0].contains(QLatin1String("Unauthorized")), qPrintable(warnings[0]));
    for (const QByteArray &command : modem->journal())
        QVERIFY2(!command.startsWith("AT+CMGS"), command);
    QVERIFY(!probe::registration(ZEPA_NetSrv_GetCSRegState));
}

QTEST_GUILESS_MAIN(ModemManagerTest)
#include "tst_modemmanager.moc"
