// SPDX-License-Identifier: MIT
#include "DataCardInfo.h"
#include "TestData.h"
#include "TestSupport.h"
#include "kestrun/CollectionDataLogic.h"

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <thread>

namespace {

struct Life
{
    QStringList log; ///< what the test itself has to say begins with "--"
    QStringList calls;
    QStringList report;
};

enum class Directory { There, Missing };

// All that a controller does in its time, with the card as it has been prepared.
Life live(Directory directory = Directory::There)
{
    const TestRoot root;
    if (directory == Directory::Missing)
        QDir(root.path("usr")).removeRecursively();
    else
        root.write(root.config(), "<C/>");
    root.write("SysConfig.dat", "[EHIDS_PRODUCT_VERSION]\nVALUE=11.302\n");
    const DeviceServiceControl &control = *DevSrv_GetControl();
    control.clearJournal();
    const LogCapture log;
    qInfo("-- event returned %d", CCollectionDataLogic::OnDevEvents(6002, nullptr));
    auto *const controller = CCollectionDataLogic::GetInstance();
    QObject::connect(controller, &CCollectionDataLogic::DeviceAvailable,
                     [] { qInfo("-- DeviceAvailable"); });
    controller->RegisterWithDevice();
    controller->WriteDataToFile();
    Life life;
    life.report = QString::fromUtf8(readFile(root.report())).simplified().split(' ');
    control.raiseEvent(ZEPA_EVENT_DEV_DEVICE_INIT_FINISH);
    control.raiseEvent(DEVSRV_EVENT_DEVICE_ENABLED + 2);
    qInfo("-- sent: %d", controller->SendSMS("+15550199", "\"caf\xE9\""));
    qInfo("-- receipts: %d", controller->SmsReportSetting(true));
    qInfo("-- sent: %d", controller->SendSMS("", ""));
    qInfo("-- receipts: %d", controller->SmsReportSetting(false));
    controller->UnRegisterDevice();
    qInfo("-- callbacks left: %d", control.callbackCount());
    life.log = log.lines();
    life.calls = journal();
    CCollectionDataLogic::Destroy();
    return life;
}

void start(const QString &card)
{
    startCard();
    // What a fault has left registered.
    ZEPA_DevSrv_UnRegisterDevMgrCallback(CCollectionDataLogic::OnDevEvents);
    ZEPA_DevSrv_UnRegisterDevInitEventCallback(CCollectionDataLogic::OnDevEvents);
    ZEPA_UnRegDataRevCallBack(CDataCardInfo::RecDataFunc);
    startCard(card.toUtf8().constData());
}

void compareLife(const QString &name, const Life &life)
{
    compareWithGolden("life-of-" + name + ".log", life.log);
    compareWithGolden("life-of-" + name + ".calls", life.calls);
}

// The lines of the second list that the first one has not, or not as often.
QStringList added(const char *mark, QStringList before, const QStringList &after)
{
    QStringList lines;
    for (const QString &line : after) {
        if (!before.removeOne(line))
            lines << mark + line;
    }
    return lines;
}

} // namespace

class tst_Controller : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { start("lte"); }
    void cleanup() { CCollectionDataLogic::Destroy(); }

    void oneInstance()
    {
        auto *const first = CCollectionDataLogic::GetInstance();
        const QPointer<QObject> guard(first);
        QCOMPARE(CCollectionDataLogic::GetInstance(), first);
        CCollectionDataLogic::Destroy();
        CCollectionDataLogic::Destroy();
        QVERIFY(!guard);
    }

    void lives()
    {
        compareLife("lte", live());
        start("hspa");
        compareLife("hspa", live());
        for (const QStringList &row : readTable("variations.txt").mid(1)) {
            if (row.at(4) == "fails")
                setFault(row.at(3).toUtf8(), {-1, 0, 0, 0});
        }
        compareLife("failures", live(Directory::Missing));
    }

    void variations()
    {
        std::map<QString, Life> ordinary{{"lte", live()}};
        start("hspa");
        ordinary["hspa"] = live();
        QStringList differences;
        for (const QStringList &row : readTable("variations.txt").mid(1)) {
            const Life &usual = ordinary[row.at(0)];
            start(row.at(0));
            if (!row.at(1).isEmpty())
                QCOMPARE(DevSrv_GetControl()->setField(row.at(1).toUtf8(), row.at(2).toUtf8()), 0);
            if (row.at(4) == "fails")
                setFault(row.at(3).toUtf8(), {-1, 0, 0, DEVSRV_FAULT_WRITE_OUTPUTS});
            else if (!row.at(4).isEmpty())
                setFault(row.at(3).toUtf8(), {0, 0, 0, DEVSRV_FAULT_NO_TERMINATOR});
            const Life life = live();
            differences << row.join(' ').simplified();
            for (const auto part : {&Life::log, &Life::calls, &Life::report}) {
                differences += added("  - ", life.*part, usual.*part);
                differences += added("  + ", usual.*part, life.*part);
            }
        }
        compareWithGolden("variations.golden", differences);
    }

    void events_data() { addRows("events.txt"); }

    void events()
    {
        const TestRoot root;
        DevSrv_GetControl()->setField("Status", cell("status").toUtf8());
        auto *const controller = CCollectionDataLogic::GetInstance();
        QSignalSpy available(controller, &CCollectionDataLogic::DeviceAvailable);
        QSignalSpy unavailable(controller, &CCollectionDataLogic::DeviceUnavailable);
        const int result = CCollectionDataLogic::OnDevEvents(cell("event").toInt(), nullptr);
        QTEST(QString::number(result), "result");
        QTEST(QString::number(available.size()), "available");
        QTEST(QString::number(unavailable.size()), "unavailable");
        QTEST(QString::number(QFile::exists(root.report())), "rewrites");
    }

    void messages()
    {
        for (const int message : {4096, 2050, 4097, 0, -4096}) {
            const TestRoot root;
            QCOMPARE(CCollectionDataLogic::GetInstance()->Notify(message, 1, 2), 0);
            QCOMPARE(QFile::exists(root.report()), message == 4096 || message == 2050);
        }
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
        const auto runs = [] { return journal().count("ZEPA_DevSrv_GetSN()"); };
        QTRY_COMPARE(runs(), 2);
        // Ends what other threads still do.
        controller->UnRegisterDevice();
        QCOMPARE(runs(), 2);
        startCard();
        QCOMPARE(readFile(root.report()).count("<Client "), 1);
    }

    void runsAreSerialised()
    {
        const TestRoot root;
        CCollectionDataLogic::GetInstance()->RegisterWithDevice();
        // Long enough for other threads to come in between, if they could.
        setFault("ZEPA_DevSrv_GetDeviceName", {0, 5, 0, 0});
        std::vector<std::thread> threads;
        QStringList expected;
        for (int index = 0; index < 4; ++index) {
            threads.emplace_back([] {
                for (const int event : {6602, 6014, 6614, 6601})
                    DevSrv_GetControl()->raiseEvent(event);
            });
            expected << "ZEPA_DevSrv_GetDeviceName()"
                     << "ZEPA_NetSrv_GetCurPlmn()";
        }
        for (std::thread &thread : threads)
            thread.join();
        static const QRegularExpression ends("GetDeviceName|GetCurPlmn");
        QCOMPARE(journal().filter(ends), expected);
    }
};

QTEST_APPLESS_MAIN(tst_Controller)
#include "tst_controller.moc"
