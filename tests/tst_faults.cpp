// SPDX-License-Identifier: MIT
#include "DataCardInfo.h"
#include "Schema.h"
#include "TestData.h"
#include "TestSupport.h"
#include "kestrun/CollectionDataLogic.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

// Replaces the function of the C library: the shell is tested elsewhere and would take time here.
extern "C" int system(const char *)
{
    return 0;
}

namespace {

using Values = QMap<QString, QString>;

void discard(QtMsgType, const QMessageLogContext &, const QString &) {}

// Returns the report's values by element name (the names are unique), or nothing if the report is
// not well-formed.
Values values(const TestRoot &root)
{
    static const QRegularExpression leaf("<(\\w+)>([^<]*)</");
    const QByteArray xml = readFile(root.report());
    Values found;
    if (QDomDocument().setContent(xml)) {
        for (const auto &match : leaf.globalMatch(QString::fromUtf8(xml)))
            found.insert(match.captured(1), match.captured(2));
    }
    return found;
}

// Calls everything that a dashboard and a card can ask of the plug-in.
void wholeLife()
{
    auto *const controller = CCollectionDataLogic::GetInstance();
    controller->RegisterWithDevice();
    controller->WriteDataToFile();
    for (const int event : {6014, 6602, 6614})
        CCollectionDataLogic::OnDevEvents(event, nullptr);
    controller->SmsReportSetting(true);
    controller->SendSMS("+15550100", "text");
    controller->UnRegisterDevice();
    // Withdraws the callbacks that a fault kept registered.
    startCard();
    controller->UnRegisterDevice();
    ZEPA_UnRegDataRevCallBack(CDataCardInfo::RecDataFunc);
    CCollectionDataLogic::Destroy();
}

Values reportOf(const char *card, const char *function = "ZEPA_DevSrv_GetSN",
                const DevSrvFault &fault = {})
{
    const TestRoot root;
    startCard(card);
    setFault(function, fault);
    wholeLife();
    return isValidReport(readFile(root.report())) ? values(root) : Values();
}

// Limits the size of files to `bytes`, as a full disk does.
void limitFiles(rlim_t bytes)
{
    const rlimit limit{bytes, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

void breakFile(const QString &file, const QString &state)
{
    const QByteArray content = readFile(file);
    if (state == "missing" || state == "directory")
        QFile::remove(file);
    if (state == "directory")
        QVERIFY(QDir().mkdir(file));
    else if (state == "empty")
        writeFile(file, {});
    else if (state == "truncated")
        writeFile(file, content.first(content.size() / 2));
    else if (state == "garbage")
        writeFile(file, QByteArray("\0\xff\xfe<[=\n\x01", 8).repeated(100));
    else if (state == "not readable")
        QFile::setPermissions(file, QFile::WriteOwner);
    else if (state == "not writable")
        QFile::setPermissions(file, QFile::ReadOwner);
    else if (state == "disk full")
        limitFiles(16);
}

} // namespace

class tst_Faults : public QObject
{
    Q_OBJECT

private:
    // Read before initTestCase() drops the rights that opening the tables may take.
    const QList<TableRow> m_faults = readTable("faults.txt");
    const QList<TableRow> m_reach = readTable("fault-reach.txt");
    const QList<TableRow> m_files = readTable("files.txt");

    // Returns the elements that the function's answer can change.
    QStringList elementsOf(const QString &function) const
    {
        for (const TableRow &row : m_reach) {
            if (row["function"] == function)
                return row["elements"].split(' ');
        }
        return {};
    }

private Q_SLOTS:
    void initTestCase()
    {
        // File permissions do not apply to root.
        if (geteuid() == 0)
            QVERIFY(QDir::setCurrent("/") && setgid(65534) == 0 && setuid(65534) == 0);
        std::signal(SIGXFSZ, SIG_IGN);
        qInstallMessageHandler(discard);
    }

    void losesOnlyValuesOfFaultyFunction_data() { addRows(m_faults); }

    // Injects the fault into each function of the device service, on three cards.
    void losesOnlyValuesOfFaultyFunction()
    {
        const auto number = [](const char *column) { return cell(column).toInt(); };
        const DevSrvFault fault{number("result"), number("delay"), number("event"),
                                uint(number("flags"))};
        const bool removed = fault.flags & DEVSRV_FAULT_REMOVE_CARD;
        const Values withoutCard = reportOf("none");
        for (const char *card : {"lte", "hspa", "cdma"}) {
            const Values whole = reportOf(card);
            QCOMPARE(whole.size(), 24);
            for (int index = 0; const char *function = DevSrv_GetControl()->functionName(index);
                 ++index) {
                const Values found = reportOf(card, function, fault);
                const QStringList reach = cell("changes") == "yes" ? elementsOf(function)
                                                                   : QStringList();
                for (const QString &name : whole.keys()) {
                    const QString value = found.value(name, "(missing)");
                    QVERIFY2(value == whole.value(name) || reach.contains(name)
                                 || (removed && value == withoutCard.value(name)),
                             qPrintable(
                                 QString("%1, %2: %3 is \"%4\"").arg(card, function, name, value)));
                }
                QCOMPARE(DevSrv_GetControl()->callbackCount(), 0);
            }
        }
    }

    void losesOnlyValuesOfBrokenFile_data() { addRows(m_files); }

    // Puts the file into each bad state.
    void losesOnlyValuesOfBrokenFile()
    {
        Values whole;
        for (const QString state : {"as it is", "missing", "empty", "truncated", "garbage",
                                    "directory", "not readable", "not writable", "disk full"}) {
            const TestRoot root;
            const auto placed = [&](QString text) {
                return text.replace("DATA/", root.dataFile("")).replace("ROOT", root.path());
            };
            for (const TableRow &file : m_files)
                root.write(placed(file["path"]), placed(file["content"]).toUtf8());
            const QString broken = placed(cell("path"));
            breakFile(broken, state);
            startCard();
            wholeLife();
            limitFiles(RLIM_INFINITY);
            const Values found = values(root);
            if (whole.isEmpty())
                whole = found;
            QCOMPARE(whole.size(), 24);
            const bool report = broken == root.report();
            if (state == "disk full" || (report && state == "not writable"))
                QCOMPARE(found, (Values{{"IMEI", "old"}}));
            else if (report && QStringList{"directory", "not readable"}.contains(state))
                QVERIFY2(found.isEmpty(), qPrintable(state));
            else
                for (const QString &name : whole.keys())
                    QVERIFY2(found.value(name) == whole.value(name) || name == cell("reach"),
                             qPrintable(state + ": " + name));
        }
    }

    // Eight threads send 100,000 events and messages, of which 2,000 write a report.
    void serialisesReportsOfManyThreads()
    {
        const TestRoot root;
        startCard();
        auto *const controller = CCollectionDataLogic::GetInstance();
        controller->RegisterWithDevice();
        std::vector<std::jthread> threads;
        for (int number = 0; number < 8; ++number) {
            threads.emplace_back([=] {
                constexpr int kEvents[] = {6601, 6602, 6603, 6014, 6604};
                for (int step = 0; step < 12'500; ++step) {
                    if (step % 50 == number)
                        controller->Notify(step % 100 < 50 ? 4096 : 2050, 0, 0);
                    else if (step % 2 == 0)
                        DevSrv_GetControl()->raiseEvent(kEvents[(step / 2) % 5]);
                    else
                        controller->Notify(step, 0, 0);
                }
            });
        }
        threads.clear(); // joins them
        controller->UnRegisterDevice();
        CCollectionDataLogic::Destroy();
        QCOMPARE(values(root).size(), 24);
        QCOMPARE(DevSrv_GetControl()->callbackCount(), 0);
        // One report ends before the next one begins.
        static const QRegularExpression ends("GetDeviceName|GetCurPlmn");
        const QStringList calls = journal().filter(ends);
        QVERIFY(!calls.isEmpty());
        for (qsizetype call = 0; call < calls.size(); ++call)
            QVERIFY(calls[call].contains(call % 2 == 0 ? "GetDeviceName" : "GetCurPlmn"));
    }
};

QTEST_APPLESS_MAIN(tst_Faults)
#include "tst_faults.moc"
