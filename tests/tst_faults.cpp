// SPDX-License-Identifier: MIT
#include "DataCardInfo.h"
#include "TestData.h"
#include "TestSupport.h"
#include "kestrun/CollectionDataLogic.h"

#include <QDomDocument>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

// The shell has tests of its own; here it would only take time.
extern "C" int system(const char *)
{
    return 0;
}

namespace {

using Values = QMap<QString, QString>;

void discard(QtMsgType, const QMessageLogContext &, const QString &) {}

// The report's values by element name, which are unique; none if it is not well-formed.
Values values(const TestRoot &root)
{
    static const QRegularExpression leaf("<(\\w+)>([^<]*)</");
    const QByteArray xml = readFile(root.report());
    Values found;
    if (!QDomDocument().setContent(xml))
        return found;
    auto matches = leaf.globalMatch(QString::fromUtf8(xml));
    while (matches.hasNext()) {
        const auto match = matches.next();
        found.insert(match.captured(1), match.captured(2));
    }
    return found;
}

// Everything that a dashboard and a card can ask of the plug-in.
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
    // What a fault kept from being withdrawn.
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
    return values(root);
}

// The elements that a function's answer reaches.
QStringList reachOf(const QString &function)
{
    static const QList<QStringList> table = readTable("fault-reach.txt");
    for (const QStringList &line : table) {
        if (line.at(0) == function)
            return line.at(1).split(' ');
    }
    return {};
}

// From now on a file can grow to so many bytes: a disk that is full.
void limitFiles(rlim_t bytes)
{
    const rlimit limit{bytes, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

void breakFile(const QString &file, const QString &state)
{
    const QByteArray content = readFile(file);
    const auto rewrite = [&](const QByteArray &bytes) {
        QFile out(file);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    };
    if (state == "missing" || state == "directory")
        QFile::remove(file);
    if (state == "directory")
        QVERIFY(QDir().mkdir(file));
    else if (state == "empty")
        rewrite({});
    else if (state == "truncated")
        rewrite(content.first(content.size() / 2));
    else if (state == "garbage")
        rewrite(QByteArray("\0\xff\xfe<[=\n\x01", 8).repeated(100));
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

private Q_SLOTS:
    void initTestCase()
    {
        // To root rights mean nothing, and the commands that follow are not to mean anything.
        if (geteuid() == 0)
            QVERIFY(setgid(65534) == 0 && setuid(65534) == 0);
        std::signal(SIGXFSZ, SIG_IGN);
        qInstallMessageHandler(discard);
    }

    void calls_data() { addRows("faults.txt"); }

    // Each function of the device service with each fault, on three cards.
    void calls()
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
                const QStringList reach = cell("changes") == "yes" ? reachOf(function)
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

    void files_data() { addRows("files.txt"); }

    // Each file in each bad state.
    void files()
    {
        Values whole;
        for (const QString state : {"as it is", "missing", "empty", "truncated", "garbage",
                                    "directory", "not readable", "not writable", "disk full"}) {
            const TestRoot root;
            const auto placed = [&](QString text) {
                return text.replace("DATA/", root.dataFile("")).replace("ROOT", root.path());
            };
            for (const QStringList &line : readTable("files.txt").mid(1))
                root.write(placed(line.at(1)), placed(line.at(2)).toUtf8());
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
            if (report && state == "not writable")
                QCOMPARE(found, (Values{{"IMEI", "old"}}));
            else if (state == "disk full"
                     || (report && QStringList{"directory", "not readable"}.contains(state)))
                QVERIFY2(found.isEmpty(), qPrintable(state));
            else
                for (const QString &name : whole.keys())
                    QVERIFY2(found.value(name) == whole.value(name) || name == cell("reach"),
                             qPrintable(state + ": " + name));
        }
    }

    // Eight threads, 100,000 events and messages, 2,000 of which write a report.
    void crowd()
    {
        const TestRoot root;
        startCard();
        auto *const controller = CCollectionDataLogic::GetInstance();
        controller->RegisterWithDevice();
        std::vector<std::thread> threads;
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
        for (std::thread &thread : threads)
            thread.join();
        controller->UnRegisterDevice();
        CCollectionDataLogic::Destroy();
        QCOMPARE(values(root).size(), 24);
        QCOMPARE(DevSrv_GetControl()->callbackCount(), 0);
    }
};

QTEST_APPLESS_MAIN(tst_Faults)
#include "tst_faults.moc"
