// SPDX-License-Identifier: MIT

// The device service on a daemon that does everything wrong.

#include "FakeManager.h"
#include "ServiceProbe.h"
#include "TestBed.h"

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusMetaType>
#include <QtTest/QTest>

namespace {

const QString kService = QStringLiteral("org.freedesktop.ModemManager1");
const QString kPath = QStringLiteral("/org/freedesktop/ModemManager1");
const QString kModemPath = kPath + QStringLiteral("/Modem/3");
const QString kModem = QStringLiteral("org.freedesktop.ModemManager1.Modem");
const QString k3gpp = QStringLiteral("org.freedesktop.ModemManager1.Modem.Modem3gpp");
const QString kPropertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

const QString kObjects = QStringLiteral("GetManagedObjects");
const QString kLocation = QStringLiteral("GetLocation");
const QString kProperties = QStringLiteral("GetAll");

// All but serial number and CDMA identity.
constexpr int kAllQueries = 12;

QVariant objects(const FakeInterfaces &modem)
{
    return QVariant::fromValue(FakeObjects{{QDBusObjectPath(kModemPath), modem}});
}

QVariant modemWith(const QString &interface, const char *property, const QVariant &value)
{
    FakeInterfaces modem = FakeManager::modem();
    modem[interface][QLatin1String(property)] = value;
    return objects(modem);
}

QVariant modemWithout(const QString &interface)
{
    FakeInterfaces modem = FakeManager::modem();
    modem.remove(interface);
    return objects(modem);
}

QVariant location(const QVariant &text)
{
    return QVariant::fromValue(QMap<uint, QDBusVariant>{{1u, QDBusVariant(text)}});
}

} // namespace

class ModemManagerFaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void oddAnswer_data();
    void oddAnswer();
    void neverAnswers();
    void answersAgain();
    void oneLookForManyChanges();
    void stoppedInCallback();

private:
    void change();

    TestBed m_bed;
    FakeManager *m_daemon = nullptr;
    const DeviceServiceControl *m_service = DevSrv_GetControl();
};

void ModemManagerFaultsTest::initTestCase()
{
    qDBusRegisterMetaType<FakeInterfaces>();
    qDBusRegisterMetaType<FakeObjects>();
    qDBusRegisterMetaType<QMap<uint, QDBusVariant>>();
    QVERIFY(m_bed.startBus());
    m_daemon = m_bed.adopt(std::make_unique<FakeManager>());
    QVERIFY(onThreadOf(m_daemon, [daemon = m_daemon, connection = m_bed.connection()]() mutable {
        return connection.registerVirtualObject(kPath, daemon, QDBusConnection::SubPath);
    }));
    QVERIFY(m_bed.connection().registerService(kService));
}

void ModemManagerFaultsTest::init()
{
    m_daemon->setSilent(false);
    m_daemon->answer(kObjects, objects(FakeManager::modem()));
    m_daemon->answer(kLocation, location(QStringLiteral("214,07,31C5,83F7CD,0")));
    m_daemon->answer(kProperties,
                     QVariantMap{{QStringLiteral("Imsi"), QStringLiteral("214070123456789")}});
    probe::listen();
}

void ModemManagerFaultsTest::cleanup()
{
    probe::stopListening();
    m_service->stop();
}

void ModemManagerFaultsTest::change()
{
    auto signal = QDBusMessage::createSignal(kModemPath, kPropertiesInterface,
                                             QStringLiteral("PropertiesChanged"));
    signal.setArguments({kModem, QVariantMap(), QStringList()});
    m_bed.connection().send(signal);
}

void ModemManagerFaultsTest::oddAnswer_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariant>("answer");
    QTest::addColumn<int>("unanswered"); // queries that fail by it
    QTest::addColumn<int>("warningCount");
    const auto property = [](const QString &interface, const char *name, const QVariant &value,
                             int unanswered = 1) {
        QTest::newRow(name) << kObjects << modemWith(interface, name, value) << unanswered << 1;
    };
    const auto row = [](const char *name, const QString &method, const QVariant &answer,
                        int unanswered, int warnings) {
        QTest::newRow(name) << method << answer << unanswered << warnings;
    };
    const QVariant text = QStringLiteral("odd");

    row("all well", kObjects, objects(FakeManager::modem()), 0, 0);
    property(kModem, "State", text);
    property(kModem, "Model", 7);
    property(kModem, "EquipmentIdentifier", QStringList{QStringLiteral("1")});
    property(kModem, "Sim", text);
    property(kModem, "OwnNumbers", text);
    property(kModem, "CurrentCapabilities", 4);
    property(kModem, "AccessTechnologies", text);
    property(kModem, "UnlockRequired", true);
    property(k3gpp, "OperatorCode", 21407);
    property(k3gpp, "RegistrationState", text, 2);
    row("no SIM", kObjects,
        modemWith(kModem, "Sim", QVariant::fromValue(QDBusObjectPath(QStringLiteral("/")))), 1, 0);
    row("no 3GPP interface", kObjects, modemWithout(k3gpp), 3, 0);
    row("no modem interface", kObjects, modemWithout(kModem), kAllQueries, 1);
    row("no modem", kObjects, QVariant::fromValue(FakeObjects()), kAllQueries, 1);
    row("modems of another type", kObjects, text, kAllQueries, 1);
    row("location empty", kLocation, QVariant::fromValue(QMap<uint, QDBusVariant>()), 2, 0);
    row("location malformed", kLocation, location(QStringLiteral("214,07,31C5")), 2, 1);
    row("location not a text", kLocation, location(7), 2, 1);
    row("location of another type", kLocation, text, 2, 1);
    row("SIM of another type", kProperties, text, 1, 0);
    row("IMSI of another type", kProperties, QVariantMap{{QStringLiteral("Imsi"), 7}}, 1, 1);
}

void ModemManagerFaultsTest::oddAnswer()
{
    QFETCH(QString, method);
    QFETCH(QVariant, answer);
    QFETCH(int, unanswered);
    m_daemon->answer(method, answer);
    QCOMPARE(m_service->start("modemmanager"), 0);
    // The second time is to bring no second warning.
    for (int i = 0; i < 2; ++i)
        QCOMPARE(probe::answeredQueries(), kAllQueries - unanswered);
    const QStringList warnings = probe::takeWarnings();
    QFETCH(int, warningCount);
    QVERIFY2(warnings.size() == warningCount, qPrintable(warnings.join(QLatin1Char('\n'))));
}

void ModemManagerFaultsTest::neverAnswers()
{
    m_daemon->setSilent(true);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(m_service->start("modemmanager"), 0);
    QCOMPARE(probe::answeredQueries(), 0);
    m_service->stop();
    QVERIFY2(timer.elapsed() < 8'000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(probe::takeWarnings().size(), 1);
}

void ModemManagerFaultsTest::answersAgain()
{
    QCOMPARE(m_service->start("modemmanager"), 0);
    m_daemon->setSilent(true);
    change();
    QVERIFY(probe::waitFor({DEVSRV_EVENT_DEVICE_LOST}));
    QCOMPARE(probe::answeredQueries(), 0);
    m_daemon->setSilent(false);
    QVERIFY(probe::waitFor({DEVSRV_EVENT_CARD_CHANGED, ZEPA_EVENT_DEV_DEVICE_INIT_FINISH}));
    QCOMPARE(probe::answeredQueries(), kAllQueries);
}

void ModemManagerFaultsTest::oneLookForManyChanges()
{
    QCOMPARE(m_service->start("modemmanager"), 0);
    QTest::qWait(400);
    const int before = m_daemon->callCount();
    QElapsedTimer timer;
    timer.start();
    for (int i = 1; i <= 1'000; ++i) {
        m_daemon->answer(kObjects, modemWith(k3gpp, "OperatorCode", QString::number(21'000 + i)));
        change();
        QThread::usleep(500);
    }
    QTest::qWait(600);
    const auto looks = timer.elapsed() / 250 + 1;
    QCOMPARE(probe::plmn(), "22000");
    const auto events = probe::events();
    QVERIFY(!events.isEmpty() && events.size() <= looks);
    QCOMPARE(events.count(DEVSRV_EVENT_NETWORK_CHANGED), events.size());
    // A look, the status that the listener asks for, and the query above.
    QVERIFY(m_daemon->callCount() - before <= 2 * looks + 1);
}

// The listener of an event waits for an answer when the service is stopped.
void ModemManagerFaultsTest::stoppedInCallback()
{
    QCOMPARE(m_service->start("modemmanager"), 0);
    QTest::qWait(400);
    const int before = m_daemon->callCount();
    m_daemon->fallSilentAfter(1);
    m_daemon->answer(kObjects, modemWith(k3gpp, "OperatorCode", QStringLiteral("21401")));
    change();
    QTRY_COMPARE(m_daemon->callCount(), before + 2);
    QElapsedTimer timer;
    timer.start();
    m_service->stop();
    QVERIFY(timer.elapsed() < 5'000);
    QCOMPARE(probe::events(), probe::Events{DEVSRV_EVENT_NETWORK_CHANGED});
}

QTEST_GUILESS_MAIN(ModemManagerFaultsTest)
#include "tst_modemmanagerfaults.moc"
