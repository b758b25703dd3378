// SPDX-License-Identifier: MIT
#include "TestData.h"
#include "devsrv/DeviceServiceControl.h"

#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <future>
#include <thread>

extern "C" int32_t modelInC(char *model);

namespace {

const DeviceServiceControl &control = *DevSrv_GetControl();

std::atomic<int> s_events;
std::atomic<bool> s_hold;
std::string s_answer;

int countEvents(int, void *)
{
    ++s_events;
    while (s_hold)
        std::this_thread::yield();
    return 1;
}

int withdrawAll(int, void *)
{
    ++s_events;
    ZEPA_DevSrv_UnRegisterDevMgrCallback(countEvents);
    ZEPA_DevSrv_UnRegisterDevMgrCallback(withdrawAll);
    return 1;
}

int endCommand(void *, int)
{
    ++s_events;
    return ZEPA_EndExuceATCmd();
}

int collectAnswer(void *data, int length)
{
    s_answer += '[' + std::string(static_cast<const char *>(data), std::size_t(length)) + ']';
    return 1;
}

} // namespace

class tst_DeviceService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        control.setEventDelivery(DEVSRV_EVENTS_AT_ONCE);
        QCOMPARE(control.start("emulated"), 0);
        QCOMPARE(control.loadCard("lte"), 0);
        s_events = 0;
        s_hold = false;
        s_answer.clear();
    }

    void startsWithFirstCall()
    {
        control.stop();
        char model[ZEPA_TEXT_SIZE];
        QCOMPARE(modelInC(model), 0);
        QCOMPARE(model, "KE-421");
    }

    void rejectsBadCardFiles_data() { addRows("bad-cards.txt"); }

    void rejectsBadCardFiles()
    {
        const QTemporaryDir directory;
        const QByteArray file = directory.filePath("card.ini").toUtf8();
        writeFile(file, cell("content").toUtf8());
        QVERIFY(control.loadCard(file) != 0);
        const QByteArray error = control.lastError();
        QVERIFY2(error.contains(cell("complaint").toUtf8()), error.constData());
        QVERIFY2(error.contains(file), error.constData());
        // The previous card stays loaded.
        char model[ZEPA_TEXT_SIZE];
        QCOMPARE(ZEPA_DevSrv_GetDeviceName(model), 0);
        QCOMPARE(model, "KE-421");
    }

    void rejectsUnknownBackendsAndUnreadableCards()
    {
        QVERIFY(control.start("smoke signals") != 0);
        QVERIFY(QByteArray(control.lastError()).contains("smoke signals"));
        QVERIFY(control.loadCard("/no/such/card.ini") != 0);
        QVERIFY(QByteArray(control.lastError()).contains("td-scdma"));
        QVERIFY(control.loadCard("/") != 0);
        QVERIFY(QByteArray(control.lastError()).contains("not a file"));
    }

    void startsWhatTheChoiceNames_data() { addRows("choices.txt"); }

    void startsWhatTheChoiceNames()
    {
        const bool started = control.start(cell("choice").toUtf8().constData()) == 0;
        QCOMPARE(started, cell("complaint").isEmpty());
        const QByteArray error = control.lastError();
        QVERIFY2(started || error.contains(cell("complaint").toUtf8()), error.constData());
    }

    void listsDevicesOfABackend()
    {
        const char *about = nullptr;
        QCOMPARE(control.device("emulated", 0, &about), nullptr);
        QCOMPARE(control.lastError(), "");
        QCOMPARE(control.device("smoke signals", 0, &about), nullptr);
        QVERIFY(QByteArray(control.lastError()).contains("smoke signals"));
    }

    void registersCallbackOnlyOnce()
    {
        QCOMPARE(ZEPA_DevSrv_RegisterDevMgrCallback(countEvents), 0);
        QCOMPARE(ZEPA_DevSrv_RegisterDevMgrCallback(countEvents), 0);
        control.raiseEvent(DEVSRV_EVENT_NETWORK_CHANGED);
        QCOMPARE(s_events.load(), 1);
        QCOMPARE(ZEPA_DevSrv_UnRegisterDevMgrCallback(countEvents), 0);
        QCOMPARE(control.callbackCount(), 0);
        control.raiseEvent(DEVSRV_EVENT_NETWORK_CHANGED);
        QCOMPARE(s_events.load(), 1);
        QVERIFY(ZEPA_DevSrv_UnRegisterDevMgrCallback(countEvents) != 0);
        QVERIFY(ZEPA_DevSrv_RegisterDevMgrCallback(nullptr) != 0);
    }

    void letsCallbackWithdrawItselfAndOthers()
    {
        ZEPA_DevSrv_RegisterDevMgrCallback(withdrawAll);
        ZEPA_DevSrv_RegisterDevMgrCallback(countEvents);
        control.raiseEvent(DEVSRV_EVENT_CARD_CHANGED);
        control.raiseEvent(DEVSRV_EVENT_CARD_CHANGED);
        QCOMPARE(s_events.load(), 1);
        QCOMPARE(control.callbackCount(), 0);
    }

    void waitsForRunningCallbackOnWithdrawal()
    {
        ZEPA_DevSrv_RegisterDevMgrCallback(countEvents);
        s_hold = true;
        std::jthread raiser([] { control.raiseEvent(DEVSRV_EVENT_CARD_CHANGED); });
        while (s_events == 0)
            std::this_thread::yield();
        const auto withdrawal = std::async(
            std::launch::async, [] { ZEPA_DevSrv_UnRegisterDevMgrCallback(countEvents); });
        const auto early = withdrawal.wait_for(std::chrono::milliseconds(20));
        s_hold = false;
        QCOMPARE(early, std::future_status::timeout);
        QCOMPARE(withdrawal.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    }

    void deliversAnswersInEveryMode_data() { addRows("answers.txt"); }

    void deliversAnswersInEveryMode()
    {
        control.setAnswerMode(cell("mode").toInt());
        const QByteArray command = cell("command").toUtf8();
        ZEPA_RegDataRevCallBack(collectAnswer);
        QCOMPARE(ZEPA_ExuceATCmd(command.constData(), int(command.size())), 0);
        QTEST(QString::fromStdString(s_answer), "afterExecute");
        QCOMPARE(ZEPA_EndExuceATCmd(), 0);
        QTEST(QString::fromStdString(s_answer), "afterEnd");
        QCOMPARE(ZEPA_UnRegDataRevCallBack(collectAnswer), 0);
    }

    // The callback that receives an answer also ends the command.
    void answersCommandsOfSeveralThreads()
    {
        ZEPA_RegDataRevCallBack(endCommand);
        const auto exchange = [] {
            for (int count = 0; count < 25; ++count) {
                ZEPA_ExuceATCmd("AT\r", 3);
                ZEPA_EndExuceATCmd();
            }
        };
        constexpr int kModes[] = {DEVSRV_ANSWER_AT_ONCE, DEVSRV_ANSWER_BEFORE_END,
                                  DEVSRV_ANSWER_OTHER_THREAD | DEVSRV_ANSWER_BEFORE_END};
        for (const int mode : kModes) {
            s_events = 0;
            control.setAnswerMode(mode);
            std::vector<std::jthread> threads;
            for (int number = 0; number < 4; ++number)
                threads.emplace_back(exchange);
            threads.clear(); // joins them
            QCOMPARE(s_events.load(), 100);
        }
        QCOMPARE(ZEPA_UnRegDataRevCallBack(endCommand), 0);
    }
};

QTEST_APPLESS_MAIN(tst_DeviceService)
#include "tst_deviceservice.moc"
