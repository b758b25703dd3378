// SPDX-License-Identifier: MIT

// The backend in this process, on a daemon that is late, silent, inconsistent or restarted, and on
// buses of that kind.

#include "BackendFactories.h"
#include "EventDelivery.h"
#include "TestBed.h"
#include "TestData.h"
#include "modemmanager/ModemManagerCard.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <future>

using namespace devsrv;
using namespace std::chrono_literals;

namespace {

// Runs `action` on another thread, while the peers on this one answer.
template <typename Action>
auto elsewhere(Action action)
{
    auto future = std::async(std::launch::async, action);
    while (future.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return future.get();
}

// A backend that has begun, and the events that it has raised.
class Card
{
public:
    explicit Card(const QString &choice = "any", bool enable = true)
    {
        QElapsedTimer timer;
        timer.start();
        m_card = elsewhere([=, this] {
            return std::make_unique<ModemManagerCard>(
                ModemManagerCard::Settings{{ModemChoice(choice), enable}, 1s, 4s},
                [this](std::int32_t event) { raised(event); });
        });
        startTime = timer.elapsed();
        if (m_card->startError().isEmpty())
            m_card->begin();
    }
    ~Card()
    {
        elsewhere([this] { m_card.reset(); });
    }

    ModemManagerCard *operator->() const { return m_card.get(); }

    // Asks the queries of a report on a thread of its own. Each value follows its name.
    QString report()
    {
        return elsewhere([this] { return reportHere(); });
    }

    QString reportHere()
    {
        QStringList values;
        const auto add = [&](const char *name, const std::optional<std::string> &value) {
            values << name + ("=" + QString::fromStdString(value.value_or("-")));
        };
        const auto versions = m_card->versions();
        add("version", versions ? std::optional(versions->firmware) : std::nullopt);
        m_card->versions();
        add("model", m_card->model());
        m_card->productType();
        const auto memory = m_card->numberMemory();
        add("number", memory && memory->count > 0 ? m_card->ownNumber(1) : std::nullopt);
        add("imsi", m_card->imsi());
        m_card->cdmaIdentity();
        add("imei", m_card->imei());
        m_card->serialNumber();
        m_card->execute("AT\r", [](const std::string &) {});
        const auto lock = m_card->lockState();
        add("lock", lock ? std::optional(std::to_string(*lock)) : std::nullopt);
        const auto system = m_card->systemInfo();
        add("submode", system ? std::optional(std::to_string(system->subMode)) : std::nullopt);
        std::optional<std::string> cell;
        for (int query = 0; query < 4; ++query) {
            const auto place = m_card->registration(Domain::CircuitSwitched);
            cell = place ? std::optional(place->cellId) : std::nullopt;
        }
        add("cell", cell);
        add("plmn", m_card->plmn());
        return values.join(' ');
    }

    QStringList events() const
    {
        const std::lock_guard lock(m_mutex);
        return m_events;
    }

    qint64 startTime = 0;
    std::function<void()> onEvent;

private:
    void raised(std::int32_t event)
    {
        ++t_deliveredEvents;
        if (onEvent)
            onEvent();
        const std::lock_guard lock(m_mutex);
        m_events << QString::number(event);
    }

    std::unique_ptr<ModemManagerCard> m_card;
    mutable std::mutex m_mutex;
    QStringList m_events;
};

} // namespace

class tst_ModemManagerMirror : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestBed> m_bed;

private Q_SLOTS:
    void init() { m_bed = std::make_unique<TestBed>(); }

    void cleanup() { m_bed.reset(); }

    void followsChanges_data() { addRows("modem-changes.txt"); }

    // Each change is in the next report, without a question, and raises its event.
    void followsChanges()
    {
        FakeManager daemon(m_bed->connection);
        daemon.set("Command", "s:" + kService + ".Error.Core.Failed");
        Card card;
        const QString before = card.report();
        daemon.calls.clear();
        daemon.change(cell("property"), cell("value"), cell("signal") == "value");
        QTRY_COMPARE(card.events().join(' '), cell("events"));
        const QString after = card.report();
        QVERIFY2(after.contains(cell("after")), qPrintable(after));
        QVERIFY2(!before.contains(cell("after")), qPrintable(before));
        daemon.calls.removeAll("Command");
        QCOMPARE(daemon.calls.join(' '), cell("calls"));
    }

    void followsRemovalAndInsertion()
    {
        FakeManager daemon(m_bed->connection);
        Card card;
        daemon.plug(false);
        QTRY_COMPARE(card.events().join(' '), "6601 6002");
        QVERIFY(card.report().contains("imei=- lock=-"));
        daemon.set("Sim.Imsi", "s:001010000000001");
        daemon.plug(true);
        QTRY_COMPARE(card.events().join(' '), "6601 6002 6002 6014");
        QVERIFY(card.report().contains("imsi=001010000000001 imei=490154203237518"));
    }

    // The daemon signals a change and then answers with what was before it.
    void asksAgainAfterASignalBeforeTheFirstAnswer()
    {
        FakeManager daemon(m_bed->connection);
        daemon.answerTime["GetManagedObjects"] = 300;
        QTimer::singleShot(150, &daemon,
                           [&] { daemon.change("Modem.Modem3gpp.OperatorCode", "s:21401"); });
        Card card;
        QVERIFY(card.report().contains("plmn=21407"));
        QTRY_VERIFY(card.report().contains("plmn=21401"));
        QTRY_COMPARE(card.events().join(' '), "6614");
    }

    // A thread in the middle of a report keeps its modem; the listener of the change does not.
    void holdsOneSnapshotPerReport()
    {
        FakeManager daemon(m_bed->connection);
        Card card;
        const std::string none;
        std::atomic<bool> isAsked = false;
        std::atomic<bool> isChanged = false;
        std::string told;
        card.onEvent = [&] {
            told = card->plmn().value_or(none);
            isChanged = true;
        };
        auto report = std::async(std::launch::async, [&] {
            QStringList seen{QString::fromStdString(card->imei().value_or(none))};
            isAsked = true;
            // As slowly as one report may go on.
            while (!isChanged) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                card->model();
            }
            seen << QString::fromStdString(card->plmn().value_or(none));
            seen << QString::fromStdString(card->imei().value_or(none));
            seen << QString::fromStdString(card->plmn().value_or(none));
            return seen.join(' ');
        });
        QTRY_VERIFY(isAsked);
        daemon.change("Modem.EquipmentIdentifier", "s:356938035643809");
        daemon.change("Modem.Modem3gpp.OperatorCode", "s:21401");
        QTRY_VERIFY(isChanged);
        QCOMPARE(told, "21401");
        QCOMPARE(report.get(), "490154203237518 21407 356938035643809 21401");
    }

    void pinsSnapshots_data() { addRows("snapshot-pin.txt"); }

    // Steps "QUERY+MS" or "QUERY+MS!", with an event before; the state is another at each step.
    void pinsSnapshots()
    {
        SnapshotPin pin;
        SnapshotPin::Clock::time_point now;
        std::uint64_t events = 0;
        QStringList seen;
        int state = 0;
        for (const QString &step : cell("steps").split(' ')) {
            const QString time = step.section('+', 1);
            now += milliseconds(QString(time).remove('!').toInt());
            events += time.endsWith('!');
            auto snapshot = std::make_shared<ModemSnapshot>();
            snapshot->daemon = QString::number(++state);
            seen << pin.hold(step.startsWith('a') ? "a" : "b", snapshot, events, now)->daemon;
        }
        QTEST(seen.join(' '), "states");
    }

    // Asked for once, where the daemon does not signal it; and a modem that is only to be shown is
    // left as it is.
    void leavesTheModemOffWhereAsked()
    {
        QTest::failOnWarning(QRegularExpression("switched on"));
        FakeManager daemon(m_bed->connection);
        daemon.set("Modem.State", "i:3");
        daemon.set("Modem.Location.SignalsLocation", "b:0");
        daemon.set("GetLocation", "place:214,07,31C5,83F7CF,0");
        daemon.set("Command", "s:" + kService + ".Error.Core.Failed");
        {
            Card card("any", false);
            QVERIFY(card.report().contains("cell=83F7CF"));
            QCOMPARE(card->status(), 2);
            QCOMPARE(daemon.calls.join(' '), "GetManagedObjects GetAll Command GetLocation");
        }
        daemon.set("Enable", "s:" + kService + ".Error.Core.Unauthorized");
        for (const char *warning : {"switched on; \"modemmanager\\?enable=no\"",
                                    "grants org.freedesktop.ModemManager1.Device.Control"})
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(warning));
        Card card;
        QVERIFY(daemon.calls.contains("Enable"));
    }

    void endsEachCallInTime_data() { addRows("modem-bounds.txt"); }

    // A method that is answered late or never concerns its own call, which ends in time.
    void endsEachCallInTime()
    {
        FakeManager daemon(m_bed->connection);
        if (cell("state") == "off")
            daemon.set("Modem.State", "i:3");
        daemon.set("GetLocation", "place:214,07,31C5,83F7CD,0");
        if (cell("state") == "unsignalled")
            daemon.set("Modem.Location.SignalsLocation", "b:0");
        daemon.answerTime[cell("method")] = cell("answer").toInt();
        Card card;
        const QString call = cell("call");
        QElapsedTimer timer;
        timer.start();
        bool done = false;
        if (call == "execute") {
            done = elsewhere([&] { return card->execute("AT\r", [](const std::string &) {}); });
        } else if (call == "sendSms") {
            done = elsewhere([&] { return card->sendSms({u"1", u"text", false}); });
        } else if (call == "report") {
            done = card.report().contains("cell=83F7CD");
        } else {
            done = card.report().contains("imei=490154203237518");
        }
        const qint64 time = call == "start" ? card.startTime : timer.elapsed();
        QCOMPARE(done, cell("done") == "yes");
        QVERIFY2(time >= cell("least").toInt() && time <= cell("most").toInt(),
                 qPrintable(QString::number(time)));
        timer.start();
        const auto imei = elsewhere([&] { return card->imei(); });
        QCOMPARE(imei.has_value(), call != "start" || done);
        QVERIFY(timer.elapsed() < 500);
        // What did not come is asked for again.
        daemon.answerTime.clear();
        QTRY_VERIFY_WITH_TIMEOUT(card.report().contains("imei=490154203237518"), 8'000);
    }

    void followsARestartedDaemon()
    {
        auto daemon = std::make_unique<FakeManager>(m_bed->connection);
        daemon->answerTime["Command"] = -1;
        Card card;
        // In the middle of a call.
        QTimer::singleShot(200, [&] { daemon.reset(); });
        QVERIFY(!elsewhere([&] { return card->execute("AT\r", [](const std::string &) {}); }));
        QTRY_COMPARE(card.events().join(' '), "6603 6002");
        daemon = std::make_unique<FakeManager>(m_bed->connection);
        daemon->set("Sim.Imsi", "s:001010000000001");
        QTRY_COMPARE(card.events().join(' '), "6603 6002 6002 6014");
        QTRY_VERIFY(card.report().contains("imsi=001010000000001"));
    }

    // It takes the connection, and says nothing more.
    void failsOnASilentBus()
    {
        QLocalServer bus;
        QTemporaryDir folder;
        QVERIFY(bus.listen(folder.filePath("bus")));
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + bus.fullServerName().toUtf8());
        Card card;
        QVERIFY2(card->startError().contains("did not answer; start it"),
                 qPrintable(card->startError()));
        QVERIFY2(card.startTime >= 2'900 && card.startTime < 5'000,
                 qPrintable(QString::number(card.startTime)));
    }

    void findsARestartedBus()
    {
        auto daemon = std::make_unique<FakeManager>(m_bed->connection);
        Card card;
        QVERIFY(card.report().contains("imei=490154203237518"));
        m_bed->bus.end();
        QTRY_COMPARE(card.events().join(' '), "6603 6002");
        QVERIFY(card.report().contains("imei=-"));
        daemon.reset();
        QTest::qWait(1'500);
        QCOMPARE(card.events().join(' '), "6603 6002");
        m_bed->startBus();
        daemon = std::make_unique<FakeManager>(m_bed->connection);
        QTRY_COMPARE_WITH_TIMEOUT(card.events().join(' '), "6603 6002 6002 6014", 10'000);
        QVERIFY(card.report().contains("imei=490154203237518"));
    }

    // The real daemon signals the location, and refuses AT commands once.
    void asksTheDaemonNothingInAReport()
    {
        QVERIFY(m_bed->startDaemon());
        QVERIFY(m_bed->plug("gsm umts"));
        Card card;
        QTRY_VERIFY(card.report().contains("cell=83F7CD plmn=21407"));
        Child monitor;
        monitor.start("dbus-monitor",
                      {"--address", qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS"),
                       "type='method_call',destination='" + kService + "'"});
        QByteArray seen;
        const auto sees = [&] {
            m_bed->witness(0);
            seen += monitor.readAllStandardOutput();
            return seen.contains("member=GetManagedObjects");
        };
        QTRY_VERIFY(sees());
        QTest::qWait(300);
        monitor.readAllStandardOutput();
        for (int report = 0; report < 2; ++report)
            QVERIFY(card.report().contains("cell=83F7CD plmn=21407"));
        QTest::qWait(300);
        QCOMPARE(monitor.readAllStandardOutput(), "");
        seen.clear();
        QTRY_VERIFY(sees());
    }

    void listsModems()
    {
        FakeManager daemon(m_bed->connection);
        daemon.set("Modem.Manufacturer", "s:Fenland Radio");
        daemon.modems = 2;
        std::string error;
        const auto devices = elsewhere([&] { return listModemManagerCards(error); });
        QCOMPARE(error, "");
        QCOMPARE(devices.size(), 2U);
        QCOMPARE(devices[0].argument, "490154203237518");
        QCOMPARE(devices[0].description, "Fenland Radio FR210, IMEI 490154203237518, registered");
        QCOMPARE(devices[1].argument, "100000000000001");
    }
};

QTEST_GUILESS_MAIN(tst_ModemManagerMirror)
#include "tst_modemmanagermirror.moc"
