// SPDX-License-Identifier: MIT
#include "CollectionDataLogic.h"
#include "ConfigDocument.h"
#include "ReportDocument.h"
#include "TestSupport.h"

#include <QDomDocument>
#include <QFileInfo>
#include <QTest>

#include <unistd.h>

namespace {

const QByteArray kConfig = "<C><HistoryData><LatestSimLockState>9</LatestSimLockState>"
                           "</HistoryData></C>";

void writeReport()
{
    CCollectionDataLogic::GetInstance()->WriteDataToFile();
}

} // namespace

class tst_Report : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { startCard(); }
    void cleanup() { CCollectionDataLogic::Destroy(); }

    void document()
    {
        std::map<std::string, std::string> data{{"Device_IMEI", "1"},
                                                {"Device_Model", "<a & \"b\">"},
                                                {"Device_SN", "caf\xE9"},
                                                {"System_Os_Name", "Mac OS X "},
                                                {"Network_Lac", std::string("a\x01\0b", 4)}};
        QCOMPARE(kestrun::reportDocument(data), readFile(QFINDTESTDATA("data/report.xml")));
        // What was missing has been added, empty.
        QCOMPARE(data.count("Network_CellID"), std::size_t(1));
        QCOMPARE(data.size(), std::size_t(22));
    }

    void config_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        const auto row = [](const char *name, const char *before, const char *after) {
            QTest::newRow(name) << QString::fromLatin1(before) << QString::fromLatin1(after);
        };
        row("plain", "<C><HistoryData><LatestSimLockState>0</LatestSimLockState></HistoryData></C>",
            "<C><HistoryData><LatestSimLockState>L</LatestSimLockState></HistoryData></C>");
        row("no history", "<C><Other>1</Other></C>", "<C><Other>1</Other></C>");
        row("no state", "<C><HistoryData><X/></HistoryData></C>",
            "<C><HistoryData><X/></HistoryData></C>");
        row("second state and second history",
            "<C><HistoryData><X/><LatestSimLockState/><LatestSimLockState/></HistoryData>"
            "<HistoryData><LatestSimLockState/></HistoryData></C>",
            "<C><HistoryData><X/><LatestSimLockState>L</LatestSimLockState><LatestSimLockState/>"
            "</HistoryData><HistoryData><LatestSimLockState>L</LatestSimLockState></HistoryData>"
            "</C>");
        row("attributes and children",
            "<C><HistoryData><LatestSimLockState "
            "a=\"1\"><b/></LatestSimLockState></HistoryData></C>",
            "<C><HistoryData><LatestSimLockState>L</LatestSimLockState></HistoryData></C>");
        row("nested", "<C><D><HistoryData><LatestSimLockState/></HistoryData></D></C>",
            "<C><D><HistoryData><LatestSimLockState/></HistoryData></D></C>");
        row("other spelling", "<C><historydata><LatestSimLockState/></historydata></C>",
            "<C><historydata><LatestSimLockState/></historydata></C>");
        row("state below a child", "<C><HistoryData><X><LatestSimLockState/></X></HistoryData></C>",
            "<C><HistoryData><X><LatestSimLockState/></X></HistoryData></C>");
    }

    void config()
    {
        QFETCH(QString, before);
        QDomDocument document;
        QVERIFY(document.setContent(before));
        kestrun::setSimLockState(document, "L");
        QTEST(document.toString(-1), "after");
    }

    void aWholeRun()
    {
        const TestRoot root;
        root.write(root.config(), kConfig);
        root.write(root.report(), QByteArray(100'000, 'x'));
        writeReport();
        const QByteArray report = readFile(root.report());
        QVERIFY(report.startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Client "));
        QVERIFY(report.contains("<CellID>0190B203</CellID>"));
        QVERIFY(report.endsWith("</Client>\n"));
        QCOMPARE(int(QFileInfo(root.report()).permissions() & 0x0777), 0x0777);
        QCOMPARE(int(QFileInfo(root.config()).permissions() & 0x7077), 0x0002);
        // The owner of a file of mode 0002 cannot open it again, unless that is root.
        if (geteuid() == 0)
            QCOMPARE(readFile(root.config()),
                     "<C>\n    <HistoryData>\n        <LatestSimLockState>0</LatestSimLockState>\n"
                     "    </HistoryData>\n</C>\n");
    }

    void callsOfOneRun()
    {
        const TestRoot root;
        DevSrv_GetControl()->clearJournal();
        writeReport();
        const char *const expected[] = {"ZEPA_DevSrv_GetFirmwareVersion()",
                                        "ZEPA_DevSrv_GetFirmwareVersion()",
                                        "ZEPA_DevSrv_GetDeviceName()",
                                        "ZEPA_DevSrv_GetProductType()",
                                        "ZEPA_DevSrv_GetUserNumMemAbility()",
                                        "ZEPA_DevSrv_ReadUserNumItem(1)",
                                        "ZEPA_DevSrv_GetImsiInfo()",
                                        "ZEPA_DevSrv_GetESN()",
                                        "ZEPA_DevSrv_GetImeiInfo()",
                                        "ZEPA_DevSrv_GetESN()",
                                        "ZEPA_DevSrv_GetSN()",
                                        "ZEPA_RegDataRevCallBack()",
                                        "ZEPA_ExuceATCmd(\"AT^RSTRIGGER?\\r\", 14)",
                                        "ZEPA_EndExuceATCmd()",
                                        "ZEPA_UnRegDataRevCallBack()",
                                        "ZEPA_DevSrv_GetCardLockStatus()",
                                        "ZEPA_NetSrv_GetSysInfoEx()",
                                        "ZEPA_NetSrv_GetPSRegState()",
                                        "ZEPA_NetSrv_SetPSRegReport(2)",
                                        "ZEPA_NetSrv_GetPSRegState()",
                                        "ZEPA_NetSrv_GetPSRegState()",
                                        "ZEPA_NetSrv_GetPSRegState()",
                                        "ZEPA_NetSrv_GetCurPlmn()"};
        QStringList calls;
        for (const char *call : expected)
            calls << call;
        QCOMPARE(journal(), calls);
    }

    void files_data()
    {
        QTest::addColumn<bool>("directory");
        QTest::addColumn<QByteArray>("config");
        QTest::addColumn<QStringList>("log");
        QTest::addColumn<QByteArray>("after");
        const QString read = "Read Config.xml file:";
        const QString noReport = "Open File Failed.";
        const QString noOpen = "Error open file: ";
        const QString noParse = "Error set file: ";
        const QString exit = "T : ../../src/Kestrun/CollectionDataLogic: WriteDataToFile: Exit";
        const QStringList notThere{read, noOpen, exit, noParse, exit};
        QTest::newRow("no directory")
            << false << QByteArray() << QStringList{noReport} + notThere << QByteArray();
        QTest::newRow("no Config.xml") << true << QByteArray() << notThere << QByteArray();
        QTest::newRow("half a Config.xml")
            << true << kConfig.chopped(4) << QStringList{read, noParse, exit} << QByteArray();
        QTest::newRow("a bare Config.xml")
            << true << QByteArray("<C/>") << QStringList{read} << QByteArray("<C/>\n");
    }

    void files()
    {
        QFETCH(bool, directory);
        QFETCH(QByteArray, config);
        QFETCH(QByteArray, after);
        const TestRoot root;
        if (!directory)
            QVERIFY(QDir(root.path("usr")).removeRecursively());
        if (!config.isEmpty())
            root.write(root.config(), config);
        const LogCapture log;
        writeReport();
        QStringList lines = log.lines();
        // What the collectors say is not looked at here.
        while (!lines.isEmpty() && !lines.first().startsWith("Open File")
               && !lines.first().startsWith("Read "))
            lines.removeFirst();
        QTEST(lines, "log");
        QCOMPARE(QFileInfo::exists(root.config()), directory);
        if (directory) {
            QCOMPARE(int(QFileInfo(root.config()).permissions() & 0x7077), 0x0002);
            if (geteuid() == 0)
                QCOMPARE(readFile(root.config()), after);
        }
    }

    void aReportThatCannotBeOpenedKeepsItsContent()
    {
        const TestRoot root;
        QVERIFY(QDir().mkpath(root.report()));
        root.write(root.config(), "<C/>");
        const LogCapture log;
        writeReport();
        QVERIFY(QFileInfo(root.report()).isDir());
        QVERIFY(log.lines().contains("Open File Failed."));
        QVERIFY(!log.lines().contains("Error set file: "));
    }

    void everyCallFailsInTurn_data()
    {
        QTest::addColumn<QByteArray>("function");
        QTest::addColumn<QStringList>("emptied");
        const auto row = [](const char *function, const QStringList &emptied) {
            QTest::newRow(function) << QByteArray(function) << emptied;
        };
        const auto one = [](const char *name) { return QStringList{name}; };
        row("ZEPA_DevSrv_GetImeiInfo", one("IMEI"));
        row("ZEPA_DevSrv_GetImsiInfo", one("IMSI"));
        row("ZEPA_DevSrv_GetSN", one("SN"));
        row("ZEPA_DevSrv_GetDeviceName", one("Model"));
        row("ZEPA_DevSrv_GetESN", QStringList{});
        row("ZEPA_DevSrv_GetFirmwareVersion", one("Fver") + one("Hver"));
        row("ZEPA_DevSrv_GetProductType", one("ProductFamily"));
        row("ZEPA_DevSrv_GetUserNumMemAbility", {});
        row("ZEPA_DevSrv_ReadUserNumItem", {});
        row("ZEPA_DevSrv_GetCardLockStatus", {});
        row("ZEPA_NetSrv_GetPSRegState", one("Lac") + one("CellID"));
        row("ZEPA_NetSrv_SetPSRegReport", {});
        row("ZEPA_NetSrv_GetCurPlmn", one("PLMN"));
        row("ZEPA_RegDataRevCallBack", one("SmsTriggerState"));
        row("ZEPA_ExuceATCmd", one("SmsTriggerState"));
        row("ZEPA_EndExuceATCmd", {});
        row("ZEPA_UnRegDataRevCallBack", {});
    }

    void everyCallFailsInTurn()
    {
        QFETCH(QByteArray, function);
        QFETCH(QStringList, emptied);
        const TestRoot root;
        writeReport();
        QByteArray expected = readFile(root.report());
        CCollectionDataLogic::Destroy();
        startCard();
        setFault(function.constData(), {1, 0, 0, 0});
        writeReport();
        for (const QString &name : emptied) {
            const QByteArray begin = '<' + name.toLatin1() + '>';
            const qsizetype from = expected.indexOf(begin) + begin.size();
            const qsizetype to = expected.indexOf('<', from);
            QVERIFY2(to > from, "the value was not there without the fault either");
            expected.remove(from, to - from);
        }
        QCOMPARE(readFile(root.report()), expected);
        ZEPA_UnRegDataRevCallBack(CDataCardInfo::RecDataFunc);
    }
};

QTEST_APPLESS_MAIN(tst_Report)
#include "tst_report.moc"
