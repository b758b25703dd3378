// SPDX-License-Identifier: MIT
#include "ConfigDocument.h"
#include "ReportDocument.h"
#include "TestData.h"
#include "TestSupport.h"
#include "kestrun/CollectionDataLogic.h"

#include <QDomDocument>
#include <QFileInfo>
#include <QTest>

#include <unistd.h>

namespace {

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

    void config_data() { addRows("config.txt"); }

    void config()
    {
        QDomDocument document;
        QVERIFY(document.setContent(cell("before").replace("{}", "HistoryData")));
        kestrun::setSimLockState(document, "L");
        QCOMPARE(document.toString(-1), cell("after").replace("{}", "HistoryData"));
    }

    void aWholeRun()
    {
        const TestRoot root;
        root.write(root.report(), QByteArray(100'000, 'x'));
        writeReport();
        const QByteArray report = readFile(root.report());
        QVERIFY(report.startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Client "));
        QVERIFY(report.contains("<CellID>0190B203</CellID>"));
        QVERIFY(report.endsWith("</Client>\n"));
        QCOMPARE(int(QFileInfo(root.report()).permissions() & 0x0777), 0x0777);
    }

    void configFiles_data() { addRows("config-files.txt"); }

    void configFiles()
    {
        const TestRoot root;
        if (cell("before") != "none")
            root.write(root.config(), cell("before").toUtf8());
        const LogCapture log;
        writeReport();
        const QString lines = log.lines().join('\n');
        QCOMPARE(lines.mid(lines.indexOf("Read Config")).trimmed(), cell("log"));
        QCOMPARE(int(QFileInfo(root.config()).permissions() & 0x7077), 0x0002);
        // The owner of a file of mode 0002 cannot open it again, unless that is root: such a run
        // leaves a file as it found it.
        if (geteuid() == 0)
            QCOMPARE(QString::fromUtf8(readFile(root.config())), cell("after"));
        else
            QCOMPARE(QFileInfo(root.config()).size(),
                     cell("before") == "none" ? 0 : cell("before").size());
    }

    // Reading it would take minutes, and writing it overflow the stack of the host.
    void aConfigNestedTooDeeplyStays()
    {
        const TestRoot root;
        const QByteArray deep = QByteArray("<a>").repeated(200'000);
        root.write(root.config(), deep);
        const LogCapture log;
        writeReport();
        QCOMPARE(log.lines().filter("W Config.xml is nested too deeply").size(), 1);
        QCOMPARE(QFileInfo(root.config()).size(), deep.size());
    }

    void depth()
    {
        const auto nested = [](const QByteArray &tag, int levels) {
            return ('<' + tag + '>').repeated(levels) + ("</" + tag + '>').repeated(levels);
        };
        const QByteArray ends = QByteArray("</").repeated(1'000);
        const QByteArray many = "<a>" + nested("b", 1).repeated(1'000) + "</a>";
        const QList<std::pair<QByteArray, bool>> documents{
            {nested("a", 500), false},
            {nested("a", 501), true},
            {nested("x:a", 501), true},
            {"<?pi " + ends + "?>" + nested("a", 501), true},
            {"<!--" + ends + "-->" + nested("a", 501), true},
            {"<?xml version='1.0' encoding='ISO-2022-JP'?><c><b>\x1b$B" + ends + "\x1b(B</b>"
                 + nested("a", 501) + "</c>",
             true},
            {many, false},
            {"<!-- -->" + many, false},
            {"<?xml version='1.0' encoding='UTF-8'?>" + many, false},
        };
        for (const auto &[xml, tooDeep] : documents)
            QVERIFY2(kestrun::isTooDeep(xml) == tooDeep, xml.left(50));
    }

    void withoutADirectoryNothingIsWritten()
    {
        const TestRoot root;
        QVERIFY(QDir(root.path("usr")).removeRecursively());
        writeReport();
        QVERIFY(!QFileInfo::exists(root.path("usr")));
    }
};

QTEST_APPLESS_MAIN(tst_Report)
#include "tst_report.moc"
