// SPDX-License-Identifier: MIT
#include "ReportCheck.h"
#include "Schema.h"
#include "TestData.h"

#include <QTest>

class tst_ReportCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsTheFirstFault_data() { addRows("report-faults.txt"); }

    // The schema's other reader, libxml2, refuses the same reports.
    void findsTheFirstFault()
    {
        QByteArray report = readFile(QFINDTESTDATA("data/report.xml"));
        QVERIFY(report.contains(cell("text").toUtf8()));
        report.replace(cell("text").toUtf8(), cell("replacement").toUtf8());
        const QString fault = reportFault(report);
        QCOMPARE(fault.left(cell("fault").size()), cell("fault"));
        QCOMPARE(fault.isEmpty(), cell("fault").isEmpty());
        QCOMPARE(isValidReport(report), cell("fault").isEmpty());
    }
};

QTEST_APPLESS_MAIN(tst_ReportCheck)
#include "tst_reportcheck.moc"
