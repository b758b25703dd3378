// SPDX-License-Identifier: MIT
#include "DataCardInfo.h"
#include "TestData.h"
#include "TestSupport.h"
#include "kestrun/CollectionDataLogic.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

namespace {

struct Life
{
    QStringList log; ///< lines that begin with "--" are the test's own
    QStringList calls;
    QStringList report;
};

enum class Directory { There, Missing };

// Runs a controller from creation to destruction on the prepared card.
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
    // An injected fault may have left callbacks registered.
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

// Returns the lines that `after` has more often than `before`, each after the mark.
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

    void logsAndCallsAsRecorded()
    {
        compareLife("lte", live());
        start("hspa");
        compareLife("hspa", live());
        for (const TableRow &row : readTable("variations.txt")) {
            if (row["fault"] == "fails")
                setFault(row["function"].toUtf8(), {-1, 0, 0, 0});
        }
        compareLife("failures", live(Directory::Missing));
    }

    void changesOnlyWhatAVariationReaches()
    {
        std::map<QString, Life> ordinary{{"lte", live()}};
        start("hspa");
        ordinary["hspa"] = live();
        QStringList differences;
        for (const TableRow &row : readTable("variations.txt")) {
            const Life &usual = ordinary[row["card"]];
            start(row["card"]);
            const QByteArray field = row["field"].toUtf8();
            if (!field.isEmpty())
                QCOMPARE(DevSrv_GetControl()->setField(field, row["value"].toUtf8()), 0);
            if (row["fault"] == "fails")
                setFault(row["function"].toUtf8(), {-1, 0, 0, DEVSRV_FAULT_WRITE_OUTPUTS});
            else if (!row["fault"].isEmpty())
                setFault(row["function"].toUtf8(), {0, 0, 0, DEVSRV_FAULT_NO_TERMINATOR});
            const Life life = live();
            differences << row.cells.join(' ').simplified();
            for (const auto part : {&Life::log, &Life::calls, &Life::report}) {
                differences += added("  - ", life.*part, usual.*part);
                differences += added("  + ", usual.*part, life.*part);
            }
        }
        compareWithGolden("variations.golden", differences);
    }

    void mapsEventsToSignalsAndReports_data() { addRows("events.txt"); }

    void mapsEventsToSignalsAndReports()
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

    // Exactly one more run follows, although each run raises an event.
    void repeatsReportAfterEventInTheMiddle()
    {
        for (const uint flags : {0U, uint(DEVSRV_FAULT_OTHER_THREAD)}) {
            const TestRoot root;
            auto *const controller = CCollectionDataLogic::GetInstance();
            controller->RegisterWithDevice();
            setFault("ZEPA_DevSrv_GetSN", {0, 0, DEVSRV_EVENT_NETWORK_CHANGED, flags});
            DevSrv_GetControl()->clearJournal();
            controller->WriteDataToFile();
            const auto runs = [] { return journal().count("ZEPA_DevSrv_GetSN()"); };
            QTRY_COMPARE(runs(), 2);
            // Waits for the other threads.
            controller->UnRegisterDevice();
            QCOMPARE(runs(), 2);
            startCard();
            QCOMPARE(readFile(root.report()).count("<Client "), 1);
        }
    }
};

QTEST_APPLESS_MAIN(tst_Controller)
#include "tst_controller.moc"
