// SPDX-License-Identifier: MIT
#include "DataCardInfo.h"
#include "TestData.h"
#include "TestSupport.h"
#include "kestrun/CollectionDataLogic.h"

#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <future>
#include <mutex>
#include <random>
#include <stdexcept>
#include <thread>

namespace {

const DeviceServiceControl &control = *DevSrv_GetControl();

void discard(QtMsgType, const QMessageLogContext &, const QString &) {}

// Runs `action` on `count` threads. Ends the test program if they do not end within two minutes.
void runOnThreads(int count, const std::function<void(int)> &action)
{
    std::vector<std::future<void>> ends;
    for (int number = 0; number < count; ++number)
        ends.push_back(std::async(std::launch::async, action, number));
    for (const auto &end : ends) {
        if (end.wait_for(std::chrono::minutes(2)) != std::future_status::ready)
            qFatal("a thread does not end");
    }
}

std::int32_t withdraw(ZEPA_DevEventCallback callback)
{
    return ZEPA_DevSrv_UnRegisterDevMgrCallback(callback)
        + ZEPA_DevSrv_UnRegisterDevInitEventCallback(callback);
}

int withdrawEverything(int, void *);

// Withdraws itself and the other callback, from inside both channels of events.
int withdrawBoth(int, void *)
{
    withdraw(withdrawBoth);
    withdraw(withdrawEverything);
    return 1;
}

int withdrawEverything(int, void *)
{
    withdraw(withdrawBoth);
    ZEPA_UnRegDataRevCallBack(CDataCardInfo::RecDataFunc);
    withdraw(withdrawEverything);
    return 1;
}

int throwNumber(int, void *)
{
    throw 42;
}

std::atomic<int> s_events;

int countEvent(int, void *)
{
    ++s_events;
    return 1;
}

// Events of this callback never end.
int raiseAgain(int event, void *)
{
    ++s_events;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    control.raiseEvent(event);
    return 1;
}

int endProcess(int, void *)
{
    std::exit(0);
}

int raiseForAWhile(void *, int)
{
    for (int count = 0; count < 100; ++count) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        control.raiseEvent(count % 2 ? 6601 : 6614);
    }
    return 1;
}

// Ends the process in the middle of the work of other threads.
void endProcessIn(const QByteArray &situation)
{
    if (situation == "call") {
        ZEPA_DevSrv_RegisterDevMgrCallback(endProcess);
        setFault("ZEPA_DevSrv_GetDevStatus", {0, 0, 6601, 0});
        std::int32_t status = 0;
        ZEPA_DevSrv_GetDevStatus(&status);
    } else {
        control.setEventDelivery(DEVSRV_EVENTS_ON_THREADS);
        control.setAnswerMode(DEVSRV_ANSWER_OTHER_THREAD);
        ZEPA_RegDataRevCallBack(raiseForAWhile);
        ZEPA_DevSrv_RegisterDevMgrCallback(countEvent);
        ZEPA_ExuceATCmd("AT\r", 3);
        std::exit(0);
    }
}

QString reportedSerialNumber(const TestRoot &root)
{
    static const QRegularExpression element("<SN>(\\d+)</SN>.*</Client>",
                                            QRegularExpression::DotMatchesEverythingOption);
    return element.match(QString::fromUtf8(readFile(root.report()))).captured(1);
}

qsizetype reports()
{
    return journal().count("ZEPA_DevSrv_GetSN()");
}

CCollectionDataLogic *registered()
{
    auto *const controller = CCollectionDataLogic::GetInstance();
    controller->RegisterWithDevice();
    return controller;
}

} // namespace

class tst_Threads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        qInstallMessageHandler(discard);
        startCard();
        s_events = 0;
    }

    void cleanup()
    {
        control.setEventDelivery(DEVSRV_EVENTS_AT_ONCE);
        CCollectionDataLogic::GetInstance()->UnRegisterDevice();
        CCollectionDataLogic::Destroy();
        qInstallMessageHandler(nullptr);
    }

    void withdrawalsFromCallbacksDoNotWaitForEachOther()
    {
        runOnThreads(8, [](int number) {
            std::mt19937 random(static_cast<unsigned>(number));
            for (int step = 0; step < repeats(5'000); ++step) {
                const bool first = random() % 2;
                const ZEPA_DevEventCallback callback = first ? withdrawBoth : withdrawEverything;
                switch (random() % 5) {
                case 0:
                    ZEPA_DevSrv_RegisterDevMgrCallback(callback);
                    break;
                case 1:
                    ZEPA_DevSrv_RegisterDevInitEventCallback(callback);
                    break;
                case 2:
                    withdraw(callback);
                    break;
                default:
                    control.raiseEvent(first ? 6014 : 6614);
                    break;
                }
            }
        });
        withdraw(withdrawBoth);
        withdraw(withdrawEverything);
        QCOMPARE(control.callbackCount(), 0);
    }

    void keepsTriggerVerdictOfPiecesOnTwoThreads()
    {
        control.setAnswerMode(DEVSRV_ANSWER_IN_PIECES);
        CDataCardInfo collector;
        _DEVICE_INFO record;
        int wrong = 0;
        // Delivers pieces that say nothing, at any moment of an exchange.
        const std::jthread other([](const std::stop_token &stop) {
            char piece[] = "OK\r\n";
            while (!stop.stop_requested())
                CDataCardInfo::RecDataFunc(piece, sizeof piece - 1);
        });
        for (int exchange = 0; exchange < repeats(100'000); ++exchange) {
            collector.GetSmsTrigger(record);
            wrong += record.strSmsTrigger != "1";
        }
        QCOMPARE(wrong, 0);
    }

    void containsExceptionsOfCallbacks()
    {
        ZEPA_DevSrv_RegisterDevMgrCallback(throwNumber);
        ZEPA_DevSrv_RegisterDevMgrCallback(countEvent);
        const LogCapture log;
        QCOMPARE(control.raiseEvent(6614), 0);
        QCOMPARE(log.lines(), QStringList("W a callback was ended by an exception"));
        QCOMPARE(s_events.load(), 1);
        QCOMPARE(withdraw(throwNumber) + withdraw(countEvent), -2); // each has one registration
    }

    void containsExceptionsOfSlots()
    {
        const TestRoot root;
        auto *const controller = registered();
        connect(controller, &CCollectionDataLogic::DeviceUnavailable,
                [] { throw std::runtime_error("no window"); });
        const LogCapture log;
        control.raiseEvent(DEVSRV_EVENT_DEVICE_REMOVED);
        QCOMPARE(log.lines().filter("W "),
                 QStringList("W OnDevEvents was ended by an exception: no window"));
        connect(controller, &CCollectionDataLogic::DeviceAvailable, [] { ++s_events; });
        control.raiseEvent(DEVSRV_EVENT_DEVICE_ENABLED);
        QCOMPARE(s_events.load(), 1);
        control.raiseEvent(DEVSRV_EVENT_NETWORK_CHANGED);
        QVERIFY(readFile(root.report()).contains("</Client>"));
    }

    // The first of several reports is still being collected when the signal arrives.
    void emitsSignalsDuringReports()
    {
        const TestRoot root;
        std::atomic<qsizetype> begun = 0;
        connect(registered(), &CCollectionDataLogic::DeviceUnavailable, [&] { begun = reports(); });
        setFault("ZEPA_DevSrv_GetSN", {0, 500, 0, 0});
        control.clearJournal();
        control.setEventDelivery(DEVSRV_EVENTS_ON_THREADS);
        control.raiseEvent(6614);
        QTRY_COMPARE(reports(), 1);
        for (const int event : {6614, 6016, 6002, 6614})
            control.raiseEvent(event);
        control.remove();
        QTRY_COMPARE(begun.load(), 1);
        // The event before and one for each number that was pending, not for each event.
        QTRY_COMPARE(reports(), 4);
        control.stop();
        QCOMPARE(reports(), 0);
    }

    void returnsAfterAReportThatBeganLater()
    {
        const TestRoot root;
        auto *const controller = CCollectionDataLogic::GetInstance();
        std::mutex mutex;
        int latest = 0;
        std::atomic<int> stale = 0;
        control.clearJournal();
        runOnThreads(8, [&](int) {
            for (int step = 0; step < 10; ++step) {
                int own = 0;
                {
                    const std::lock_guard lock(mutex);
                    own = ++latest;
                    control.setField("SN", QByteArray::number(own).constData());
                }
                controller->WriteDataToFile();
                QString written;
                // Another thread's report may be in the middle of its file.
                while ((written = reportedSerialNumber(root)).isEmpty())
                    std::this_thread::yield();
                stale += written.toInt() < own;
            }
        });
        QCOMPARE(stale.load(), 0);
        QVERIFY2(reports() < 80, "no call shared a report");
    }

    void waitsForTwoReportsAtMost()
    {
        const TestRoot root;
        auto *const controller = CCollectionDataLogic::GetInstance();
        setFault("ZEPA_DevSrv_GetSN", {0, 20, 0, 0});
        std::vector<std::jthread> others;
        for (int number = 0; number < 4; ++number) {
            others.emplace_back([=](const std::stop_token &stop) {
                while (!stop.stop_requested())
                    controller->WriteDataToFile();
            });
        }
        qsizetype most = 0;
        for (int request = 0; request < 40; ++request) {
            const qsizetype before = reports();
            controller->WriteDataToFile();
            most = std::max(most, reports() - before);
        }
        // The two, and those that began before this thread ran again. A lock alone made it 70.
        QVERIFY2(most < 10, qPrintable(QString::number(most)));
    }

    void destroysFromSlotOfOwnSignal()
    {
        auto *const controller = registered();
        const QPointer<QObject> guard(controller);
        connect(controller, &CCollectionDataLogic::DeviceAvailable, [&] {
            CCollectionDataLogic::Destroy();
            CCollectionDataLogic::Destroy();
            s_events = guard ? 1 : 0;
        });
        // No lock is held while the controller is deleted.
        connect(controller, &QObject::destroyed, [] { CCollectionDataLogic::GetInstance(); });
        control.raiseEvent(DEVSRV_EVENT_DEVICE_ENABLED);
        QCOMPARE(s_events.load(), 1);
        QVERIFY(!guard);
    }

    void destroysAfterRunningReport()
    {
        const TestRoot root;
        auto *const controller = CCollectionDataLogic::GetInstance();
        // No lock is held while the controller is deleted.
        connect(controller, &QObject::destroyed, [] { CCollectionDataLogic::GetInstance(); });
        setFault("ZEPA_DevSrv_GetSN", {0, 100, 0, 0});
        std::atomic<bool> written = false;
        std::jthread writer([&] {
            controller->WriteDataToFile();
            written = true;
        });
        QTRY_COMPARE(reports(), 1);
        std::jthread([] { CCollectionDataLogic::Destroy(); }).join();
        QVERIFY(readFile(root.report()).contains("</Client>"));
        QTRY_VERIFY(written);
    }

    // The first controller is still writing when the second one is asked to.
    void writesReportsOfTwoControllersOneAfterTheOther()
    {
        const TestRoot root;
        auto *const first = registered();
        connect(first, &CCollectionDataLogic::DeviceAvailable, [] {
            CCollectionDataLogic::Destroy();
            CCollectionDataLogic::GetInstance()->WriteDataToFile();
        });
        first->WriteDataToFile(); // sets the report modes, which the others find
        setFault("ZEPA_DevSrv_GetSN", {0, 100, 0, 0});
        control.clearJournal();
        std::jthread writer([=] { first->WriteDataToFile(); });
        QTRY_COMPARE(reports(), 1);
        control.raiseEvent(DEVSRV_EVENT_DEVICE_ENABLED);
        writer.join();
        const QStringList calls = journal();
        QCOMPARE(calls.first(calls.size() / 2), calls.last(calls.size() / 2));
    }

    void startsBackendsWhileEventsNeverCease()
    {
        control.setEventDelivery(DEVSRV_EVENTS_ON_THREADS);
        ZEPA_DevSrv_RegisterDevMgrCallback(raiseAgain);
        control.raiseEvent(6614);
        QTRY_VERIFY(s_events > 0);
        const auto started = std::async(std::launch::async, [] { control.start("emulated"); });
        const auto inTime = started.wait_for(std::chrono::seconds(10));
        ZEPA_DevSrv_UnRegisterDevMgrCallback(raiseAgain);
        QCOMPARE(inTime, std::future_status::ready);
    }

    // A call on the old backend, which is still in use, raises an event.
    void dropsEventsOfReplacedBackends()
    {
        ZEPA_DevSrv_RegisterDevMgrCallback(countEvent);
        setFault("ZEPA_DevSrv_GetSN", {0, 200, 6601, 0});
        std::jthread caller([] {
            char serialNumber[ZEPA_TEXT_SIZE];
            ZEPA_DevSrv_GetSN(serialNumber);
        });
        QTRY_COMPARE(reports(), 1);
        control.start("emulated");
        caller.join();
        QCOMPARE(s_events.load(), 0);
        control.raiseEvent(6601);
        QCOMPARE(s_events.load(), 1);
        ZEPA_DevSrv_UnRegisterDevMgrCallback(countEvent);
    }

    void endsWithProcess_data()
    {
        QTest::addColumn<int>("unused");
        for (const char *situation : {"call", "events of the card's thread"})
            QTest::newRow(situation) << 0;
    }

    void endsWithProcess()
    {
        QProcess child;
        child.start("/proc/self/exe", {"--end-in", QTest::currentDataTag()});
        QVERIFY(child.waitForFinished(15'000));
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), 0);
    }

    // Controllers come and go while events arrive.
    void outlivesEventsOnOtherThreads()
    {
        const TestRoot root;
        registered();
        runOnThreads(8, [](int number) {
            for (int step = 0; step < 300; ++step) {
                if (number < 2)
                    CCollectionDataLogic::Destroy();
                else if (number < 4)
                    CCollectionDataLogic::GetInstance();
                else
                    control.raiseEvent(step % 50 == 0 ? 6614 : 6601 + step % 3);
            }
        });
        auto *const controller = CCollectionDataLogic::GetInstance();
        QCOMPARE(CCollectionDataLogic::GetInstance(), controller);
    }
};

int main(int argc, char **argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--end-in") == 0) {
        startCard();
        endProcessIn(argv[2]);
        return 2;
    }
    tst_Threads test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_threads.moc"
