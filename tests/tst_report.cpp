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

class tst_Report : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { startCard(); }
    void cleanup() { CCollectionDataLogic::Destroy(); }

    void writesDocument()
    {
        std::map<std::string, std::string> data{{"Device_IMEI", "1"},
                                                {"Device_Model", "<a & \"b\">"},
                                                {"Device_SN", "caf\xE9"},
                                                {"System_Os_Name", "Mac OS X "},
                                                {"Network_Lac", std::string("a\x01\0b", 4)}};
        QCOMPARE(kestrun::reportDocument(data), readFile(QFINDTESTDATA("data/report.xml")));
        // Missing entries are added with empty values.
        QCOMPARE(data.count("Network_CellID"), std::size_t(1));
        QCOMPARE(data.size(), std::size_t(22));
    }

    void changesOnlyLockStates_data() { addRows("config.txt"); }

    void changesOnlyLockStates()
    {
        QDomDocument document;
        QVERIFY(document.setContent(cell("before").replace("{}", "HistoryData")));
        kestrun::setSimLockState(document, "L");
        QCOMPARE(document.toString(-1), cell("after").replace("{}", "HistoryData"));
    }

    void rewritesConfigFile_data() { addRows("config-files.txt"); }

    void rewritesConfigFile()
    {
        const TestRoot root;
        if (cell("before") != "none")
            root.write(root.config(), cell("before").toUtf8());
        const LogCapture log;
        CCollectionDataLogic::GetInstance()->WriteDataToFile();
        const QString lines = log.lines().join('\n');
        QCOMPARE(lines.mid(lines.indexOf("Read Config")).trimmed(), cell("log"));
        QCOMPARE(int(QFileInfo(root.config()).permissions() & 0x7077), 0x0002);
        QCOMPARE(int(QFileInfo(root.report()).permissions() & 0x0777), 0x0777);
        // Only root can open a file of mode 0002 again; for other users the content stays.
        if (geteuid() == 0)
            QCOMPARE(QString::fromUtf8(readFile(root.config())), cell("after"));
        else
            QCOMPARE(QFileInfo(root.config()).size(),
                     cell("before") == "none" ? 0 : cell("before").size());
    }
};

QTEST_APPLESS_MAIN(tst_Report)
#include "tst_report.moc"
