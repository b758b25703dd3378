// SPDX-License-Identifier: MIT
#include "CollectionDataLogic.h"
#include "TestSupport.h"

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

Values reportOf(const char *card)
{
    const TestRoot root;
    startCard(card);
    wholeLife();
    return values(root);
}

struct Fault
{
    const char *name;
    DevSrvFault fault;
    bool changesValues;
};

constexpr Fault kFaults[] = {
    {"error", {-1, 0, 0, 0}, true},
    {"error with outputs", {-1, 0, 0, DEVSRV_FAULT_WRITE_OUTPUTS}, true},
    {"slow", {0, 2, 0, 0}, false},
    {"no terminator", {0, 0, 0, DEVSRV_FAULT_NO_TERMINATOR}, true},
    {"bytes above ASCII", {0, 0, 0, DEVSRV_FAULT_HIGH_BYTES}, true},
    {"event", {0, 0, DEVSRV_EVENT_NETWORK_CHANGED, 0}, false},
    {"init event", {0, 0, ZEPA_EVENT_DEV_DEVICE_INIT_FINISH, 0}, false},
    {"event elsewhere", {0, 0, DEVSRV_EVENT_SIM_CHANGED, DEVSRV_FAULT_OTHER_THREAD}, false},
    {"card removed", {0, 0, 0, DEVSRV_FAULT_REMOVE_CARD}, true},
};

// The elements that a function's answer reaches.
QStringList reachOf(const QByteArray &function)
{
    static const QMap<QByteArray, QStringList> reach{
        {"ZEPA_DevSrv_GetImeiInfo", {"IMEI"}},
        {"ZEPA_DevSrv_GetImsiInfo", {"IMSI"}},
        {"ZEPA_DevSrv_GetSN", {"SN"}},
        {"ZEPA_DevSrv_GetDeviceName", {"Model"}},
        {"ZEPA_DevSrv_GetESN", {"ESN", "MEID"}},
        {"ZEPA_DevSrv_GetFirmwareVersion", {"Fver", "Hver"}},
        {"ZEPA_DevSrv_GetProductType", {"ProductFamily", "IMEI"}},
        {"ZEPA_NetSrv_GetCSRegState", {"Lac", "CellID"}},
        {"ZEPA_NetSrv_GetPSRegState", {"Lac", "CellID"}},
        // With the report mode refused the cell identity stays: it is lost at mode 2 only.
        {"ZEPA_NetSrv_SetPSRegReport", {"CellID"}},
        {"ZEPA_NetSrv_GetCurPlmn", {"PLMN"}},
        {"ZEPA_NetSrv_GetSysInfoEx", {"AcT", "Lac", "CellID"}},
        {"ZEPA_RegDataRevCallBack", {"SmsTriggerState"}},
        {"ZEPA_ExuceATCmd", {"SmsTriggerState"}}};
    return reach.value(function);
}

// From now on a file can grow to so many bytes: a disk that is full.
void limitFiles(rlim_t bytes)
{
    const rlimit limit{bytes, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

void breakFile(const QString &file, const QByteArray &state)
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

    void calls_data()
    {
        QTest::addColumn<QByteArray>("card");
        for (const char *card : {"lte", "hspa", "cdma"})
            QTest::newRow(card) << QByteArray(card);
    }

    // Each function of the device service with each fault.
    void calls()
    {
        QFETCH(QByteArray, card);
        const Values whole = reportOf(card.constData());
        const Values withoutCard = reportOf("none");
        QCOMPARE(whole.size(), 24);
        for (int index = 0; const char *function = DevSrv_GetControl()->functionName(index);
             ++index) {
            for (const Fault &fault : kFaults) {
                const TestRoot root;
                startCard(card.constData());
                setFault(function, fault.fault);
                wholeLife();
                const Values found = values(root);
                const bool removed = fault.fault.flags & DEVSRV_FAULT_REMOVE_CARD;
                for (const QString &name : whole.keys()) {
                    const QString value = found.value(name, "(missing)");
                    const bool reached = fault.changesValues && reachOf(function).contains(name);
                    QVERIFY2(value == whole.value(name) || reached
                                 || (removed && value == withoutCard.value(name)),
                             qPrintable(QString("%1, %2: %3 is \"%4\"")
                                            .arg(function, fault.name, name, value)));
                }
                QCOMPARE(DevSrv_GetControl()->callbackCount(), 0);
            }
        }
    }

    void files_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("reach");
        QTest::newRow("report") << "DATA/UpdateRule.dat"
                                << "";
        QTest::newRow("config") << "DATA/Config.xml"
                                << "";
        QTest::newRow("settings") << "SysConfig.dat"
                                  << "DverPc";
        QTest::newRow("startup item") << "Library/StartupItems/VLPortDetect/config"
                                      << "DverCD";
        QTest::newRow("autorun")
            << "Applications/Brisklane.app/Contents/Resources/config/autorun/config_mac"
            << "";
        QTest::newRow("volume")
            << "cd/Contents/Resources/Brisklane.mpkg/Contents/Resources/SysConfig.dat"
            << "DverCD";
    }

    // Each file in each bad state.
    void files()
    {
        QFETCH(QString, file);
        QFETCH(QString, reach);
        Values whole;
        for (const char *state : {"as it is", "missing", "empty", "truncated", "garbage",
                                  "directory", "not readable", "not writable", "disk full"}) {
            const TestRoot root;
            const QByteArray volume = "[Volumes]\npath1=" + root.path("cd/").toUtf8() + '\n';
            const QByteArray version = "[EHIDS_PRODUCT_VERSION]\nVALUE=1.2\n";
            root.write(root.report(), "<Client><IMEI>old</IMEI></Client>");
            root.write(root.config(), "<C><HistoryData/></C>");
            root.write("SysConfig.dat", version);
            root.write("Library/StartupItems/VLPortDetect/config", volume);
            root.write("Applications/Brisklane.app/Contents/Resources/config/autorun/config_mac",
                       "[Volumes]\npath1=/nowhere/\n");
            root.write("cd/Contents/Resources/Brisklane.mpkg/Contents/Resources/SysConfig.dat",
                       version);
            const QString path = file.startsWith("DATA/") ? root.dataFile(file.mid(5))
                                                          : root.path(file);
            breakFile(path, state);
            startCard();
            wholeLife();
            limitFiles(RLIM_INFINITY);
            const Values found = values(root);
            if (whole.isEmpty())
                whole = found;
            QCOMPARE(whole.size(), 24);
            const bool report = path == root.report();
            if (QByteArray(state) == "disk full"
                || (report
                    && (state == QByteArray("directory") || state == QByteArray("not readable")))) {
                // There is no report to be read; the next one is whole again.
                QVERIFY2(found.size() < 24, state);
                continue;
            }
            if (report && state == QByteArray("not writable")) {
                QCOMPARE(found.value("IMEI"), QString("old"));
                continue;
            }
            for (const QString &name : whole.keys())
                QVERIFY2(found.value(name, "(missing)") == whole.value(name) || name == reach,
                         qPrintable(QString("%1: %2").arg(state, name)));
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
