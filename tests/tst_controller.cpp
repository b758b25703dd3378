// SPDX-License-Identifier: MIT
#include "CollectionDataLogic.h"
#include "TestSupport.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <thread>

namespace {

// The lines of a function of the controller, without what all of them share.
QStringList linesOf(const LogCapture &log, const char *function)
{
    QStringList lines;
    for (QString line : log.lines()) {
        if (line.contains(function))
            lines << line.replace("../../src/Kestrun/CollectionDataLogic", "P");
    }
    return lines;
}

} // namespace

class tst_Controller : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { startCard().clearJournal(); }
    void cleanup()
    {
        if (DevSrv_GetControl()->callbackCount() > 0)
            CCollectionDataLogic::GetInstance()->UnRegisterDevice();
        CCollectionDataLogic::Destroy();
    }

    void oneInstance()
    {
        auto *const first = CCollectionDataLogic::GetInstance();
        QCOMPARE(CCollectionDataLogic::GetInstance(), first);
        const QPointer<QObject> guard(first);
        CCollectionDataLogic::Destroy();
        CCollectionDataLogic::Destroy();
        QVERIFY(!guard);
        QVERIFY(CCollectionDataLogic::GetInstance());
    }

    void registers()
    {
        const LogCapture log;
        CCollectionDataLogic::GetInstance()->RegisterWithDevice();
        QCOMPARE(journal(),
                 (QStringList{"ZEPA_DevSrv_RegisterDevMgrCallback()",
                              "ZEPA_DevSrv_RegisterDevInitEventCallback()",
                              "ZEPA_DevSrv_RegisterDevMgrCallback()"}));
        QCOMPARE(linesOf(log, "RegisterWithDevice"),
                 (QStringList{"T: P: RegisterWithDevice: Entered",
                              "T: P: RegisterWithDevice: Calling "
                              "ZEPA_DevSrv_RegisterDevMgrCallback ()",
                              "T: P: RegisterWithDevice: "
                              "ZEPA_DevSrv_RegisterDevMgrCallback () returned 0"}));
    }

    void registrationFails()
    {
        setFault("ZEPA_DevSrv_RegisterDevMgrCallback", {-2, 0, 0, 0});
        setFault("ZEPA_DevSrv_RegisterDevInitEventCallback", {-3, 0, 0, 0});
        const LogCapture log;
        CCollectionDataLogic::GetInstance()->RegisterWithDevice();
        const QString mgr = "ZEPA_DevSrv_RegisterDevMgrCallback";
        const QString where = "P: RegisterWithDevice: ";
        QCOMPARE(linesOf(log, "RegisterWithDevice").mid(1),
                 (QStringList{where + mgr + " failed",
                              where + "ZEPA_DevSrv_RegisterDevInitEventCallback failed",
                              QString("T: ") + where + QString("Calling ") + mgr + " ()",
                              QString("T: ") + where + mgr + " () returned -2",
                              QString("W T: ") + where + mgr + " returned -2"}));
    }

    void withdraws()
    {
        auto *const controller = CCollectionDataLogic::GetInstance();
        controller->RegisterWithDevice();
        setFault("ZEPA_DevSrv_UnRegisterDevMgrCallback", {1, 0, 0, 0});
        DevSrv_GetControl()->clearJournal();
        const LogCapture log;
        controller->UnRegisterDevice();
        const QString where = "T: P: UnRegisterDevice: ";
        QCOMPARE(linesOf(log, "UnRegisterDevice"),
                 (QStringList{where + "Entered",
                              where + "Calling ZEPA_DevSrv_UnRegisterDevInitEventCallback()",
                              where + "Calling ZEPA_DevSrv_UnRegisterDevMgrCallback ()",
                              where + "ZEPA_DevSrv_UnRegisterDevMgrCallback   failed",
                              where + "Exited"}));
        startCard();
        controller->UnRegisterDevice();
        QCOMPARE(DevSrv_GetControl()->callbackCount(), 0);
    }

    void events_data()
    {
        QTest::addColumn<int>("event");
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<int>("available");
        QTest::addColumn<int>("unavailable");
        QTest::addColumn<bool>("rewrites");
        QTest::addColumn<int>("result");
        const auto row = [](int event, const char *status, int available, int unavailable,
                            bool rewrites, int result) {
            QTest::addRow("%d, status %s", event, status)
                << event << QByteArray(status) << available << unavailable << rewrites << result;
        };
        row(6002, "3", 0, 0, true, 1);
        row(6014, "3", 1, 0, false, 1);
        row(6014, "2", 0, 0, false, 1);
        row(6014, "fails", 0, 0, false, 1);
        row(6016, "3", 0, 0, true, 1);
        row(6601, "3", 0, 1, false, 1);
        row(6602, "2", 1, 0, false, 1);
        row(6603, "3", 0, 1, false, 1);
        row(6604, "3", 0, 0, false, 0);
        row(6614, "3", 0, 0, true, 1);
        row(-6614, "3", 0, 0, false, 0);
    }

    void events()
    {
        QFETCH(int, event);
        QFETCH(QByteArray, status);
        QFETCH(bool, rewrites);
        const TestRoot root;
        if (status == "fails")
            setFault("ZEPA_DevSrv_GetDevStatus", {1, 0, 0, DEVSRV_FAULT_WRITE_OUTPUTS});
        else
            DevSrv_GetControl()->setField("Status", status.constData());
        auto *const controller = CCollectionDataLogic::GetInstance();
        QSignalSpy available(controller, &CCollectionDataLogic::DeviceAvailable);
        QSignalSpy unavailable(controller, &CCollectionDataLogic::DeviceUnavailable);
        QTEST(CCollectionDataLogic::OnDevEvents(event, nullptr), "result");
        QTEST(int(available.size()), "available");
        QTEST(int(unavailable.size()), "unavailable");
        QCOMPARE(QFile::exists(root.report()), rewrites);
    }

    void eventsAreLogged()
    {
        const QString where = "T: P: OnDevEvents: ";
        {
            const LogCapture log;
            QCOMPARE(CCollectionDataLogic::OnDevEvents(6002, nullptr), 0);
            QCOMPARE(linesOf(log, "OnDevEvents"),
                     (QStringList{where + " Entered", where + " Dev Evenet(6002)",
                                  where + "_Instance is NULL "}));
        }
        CCollectionDataLogic::GetInstance();
        const LogCapture log;
        CCollectionDataLogic::OnDevEvents(6014, nullptr);
        QCOMPARE(linesOf(log, "OnDevEvents"),
                 (QStringList{where + " Entered", where + " Dev Evenet(6014)",
                              where + "ZEPA_EVENT_DEV_DEVICE_INIT_FINISH ", where + " Exit"}));
    }

    void messages_data()
    {
        QTest::addColumn<int>("message");
        QTest::addColumn<bool>("rewrites");
        QTest::newRow("4096") << 4096 << true;
        QTest::newRow("2050") << 2050 << true;
        QTest::newRow("4097") << 4097 << false;
        QTest::newRow("0") << 0 << false;
        QTest::newRow("-4096") << -4096 << false;
    }

    void messages()
    {
        QFETCH(int, message);
        const TestRoot root;
        QCOMPARE(CCollectionDataLogic::GetInstance()->Notify(message, 1, 2), 0);
        QTEST(QFile::exists(root.report()), "rewrites");
    }

    void anEventInTheMiddleOfAReport_data()
    {
        QTest::addColumn<uint>("flags");
        QTest::newRow("same thread") << 0u;
        QTest::newRow("other thread") << uint(DEVSRV_FAULT_OTHER_THREAD);
    }

    // One more run follows, and only one: the fault raises an event in each.
    void anEventInTheMiddleOfAReport()
    {
        QFETCH(uint, flags);
        const TestRoot root;
        auto *const controller = CCollectionDataLogic::GetInstance();
        controller->RegisterWithDevice();
        setFault("ZEPA_DevSrv_GetSN", {0, 0, DEVSRV_EVENT_NETWORK_CHANGED, flags});
        DevSrv_GetControl()->clearJournal();
        controller->WriteDataToFile();
        const QString query = "ZEPA_DevSrv_GetSN()";
        QTRY_VERIFY(journal().filter(query).size() >= 2);
        // Ends what other threads still do.
        controller->UnRegisterDevice();
        startCard();
        if (flags == 0)
            QCOMPARE(QString::fromUtf8(readFile(root.report())).count("<Client "), 1);
    }

    void runsAreSerialised()
    {
        const TestRoot root;
        auto *const controller = CCollectionDataLogic::GetInstance();
        controller->RegisterWithDevice();
        std::vector<std::thread> threads;
        for (int index = 0; index < 4; ++index) {
            threads.emplace_back([controller] {
                for (const int event : {6614, 6602, 6002, 6601, 6014}) {
                    DevSrv_GetControl()->raiseEvent(event);
                    controller->Notify(4097, 0, 0);
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        const QByteArray report = readFile(root.report());
        QVERIFY(report.endsWith("</Client>\n"));
        QCOMPARE(report.count("</Client>"), 1);
    }

    void sms_data()
    {
        QTest::addColumn<int>("created");
        QTest::addColumn<uint>("flags");
        QTest::addColumn<int>("sent");
        QTest::addColumn<bool>("expected");
        QTest::addColumn<QStringList>("calls");
        const QString send = "ZEPA_SMSSrv_SendMsg()";
        const QString release = "ZEPA_SMSSrv_ReleaseSMSRecord()";
        QTest::newRow("sent") << 0 << 0u << 0 << true << QStringList{send, release};
        QTest::newRow("not sent") << 0 << 0u << 4 << false << QStringList{send, release};
        QTest::newRow("not created") << 4 << 0u << 0 << false << QStringList{};
        QTest::newRow("not created, yet a record")
            << 4 << uint(DEVSRV_FAULT_WRITE_OUTPUTS) << 0 << false << QStringList{release};
    }

    void sms()
    {
        QFETCH(int, created);
        QFETCH(uint, flags);
        QFETCH(int, sent);
        QFETCH(QStringList, calls);
        setFault("ZEPA_SMSSrv_CreateSMSRecord", {created, 0, 0, flags});
        setFault("ZEPA_SMSSrv_SendMsg", {sent, 0, 0, 0});
        const LogCapture log;
        QTEST(CCollectionDataLogic::GetInstance()->SendSMS("+1", "b\xE9"), "expected");
        QStringList seen = journal();
        QCOMPARE(seen.takeFirst(), "ZEPA_SMSSrv_CreateSMSRecord(\"+1\", \"b\\xe9\")");
        const QString message = "SMS \"+1\" \"b\\xe9\" receipt=0";
        QCOMPARE(seen.removeAll(message), created == 0 && sent == 0 ? 1 : 0);
        QCOMPARE(seen, calls);
        const QStringList lines = log.lines();
        QCOMPARE(lines.at(0),
                 "../../src/Kestrun/CollectionDataLogic: "
                 "SendSMS:Entered ");
        QCOMPARE(lines.at(1),
                 QString("W The Error code returned by the "
                         "ZEPA_SMSSrv_CreateSMSRecord = %1")
                     .arg(created));
    }

    void receipts()
    {
        auto *const controller = CCollectionDataLogic::GetInstance();
        QVERIFY(controller->SmsReportSetting(true));
        controller->SendSMS("", "");
        QVERIFY(journal().contains("SMS \"\" \"\" receipt=1"));
        setFault("ZEPA_SMSSrv_SetSMSReceiptNotify", {-5, 0, 0, 0});
        const LogCapture log;
        QVERIFY(!controller->SmsReportSetting(false));
        const QString where = "T : P: SmsReportSetting:"
                              "ZEPA_SMSSrv_SetSMSReceiptNotify() ";
        QCOMPARE(linesOf(log, "SmsReportSetting"),
                 (QStringList{where + "Calling: 0", where + "return -5"}));
    }
};

QTEST_APPLESS_MAIN(tst_Controller)
#include "tst_controller.moc"
