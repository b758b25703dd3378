// SPDX-License-Identifier: MIT
#include "DataCardInfo.h"
#include "HostPcInfo.h"
#include "NetworkInfo.h"
#include "SmsTrigger.h"
#include "TestData.h"
#include "TestSupport.h"

#include <QNetworkInterface>
#include <QTest>

#include <set>

using Values = std::map<std::string, std::string>;

class tst_Collectors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { startCard(); }

    void collectsValuesOfEveryCardUntilItIsRemoved()
    {
        const std::set<std::string> constants{"Other", "Device_Classify", "Device_SimLock",
                                              "System_Os_Platform"};
        Values values{{"Device_IMEI", "old"}, {"Other", "kept"}};
        CDataCardInfo device;
        CNetworkInfo network;
        CHostPcInfo host;
        const auto collect = [&] {
            device.SetData(values);
            network.SetData(values);
            host.SetData(values);
            // The address is the test machine's.
            QCOMPARE(values.erase("Network_IPAddr"), std::size_t(1));
        };
        QStringList lines;
        const char *about = nullptr;
        for (int index = 0; const char *card = DevSrv_GetControl()->shippedCard(index, &about);
             ++index) {
            startCard(card);
            collect();
            for (const auto &[key, text] : values)
                lines << QString("%1 %2=%3").arg(card, key.c_str(), text.c_str());
            DevSrv_GetControl()->remove();
            collect();
            QCOMPARE(values["Device_SimLock"], std::string("0"));
            for (const auto &[key, text] : values)
                QVERIFY2(text.empty() || constants.contains(key), key.c_str());
        }
        QVERIFY(device.GetData().empty() && network.GetData().empty() && host.GetData().empty());
        compareWithGolden("values-of-cards.txt", lines);
    }

    void clearsCellWhenSecondQueryFails()
    {
        // The call between the two queries raises an event, whose callback makes the second one
        // fail.
        constexpr auto fail = +[](int, void *) {
            setFault("ZEPA_NetSrv_GetPSRegState", {-1, 0, 0, 0});
            return 1;
        };
        setFault("ZEPA_NetSrv_SetPSRegReport", {0, 0, 9999, 0});
        ZEPA_DevSrv_RegisterDevMgrCallback(fail);
        CNetworkInfo collector;
        _NETWORK_INFO info;
        info.strCellID = "old";
        const LogCapture log;
        collector.GetLTECellID(info);
        ZEPA_DevSrv_UnRegisterDevMgrCallback(fail);
        QCOMPARE(info.strCellID, std::string());
        QCOMPARE(log.lines().last(), "=========strCellID_FAILED===========");
    }

    void namesAccessTechnology_data() { addRows("access-technology.txt"); }

    void namesAccessTechnology()
    {
        QTEST(QString(::accessTechnology(cell("subMode").toInt(), cell("systemMode").toInt())),
              "name");
    }

    void choosesReportedAddress_data() { addRows("addresses.txt"); }

    void choosesReportedAddress()
    {
        QList<QHostAddress> addresses;
        for (const QString &address : cell("addresses").split(' ', Qt::SkipEmptyParts))
            addresses << QHostAddress(address);
        const QStringList flags = cell("flags").split(' ');
        const QList<kestrun::InterfaceState> interfaces{
            {false, false}, {flags.contains("up"), flags.contains("running")}};
        QTEST(QString::fromStdString(::reportedAddress(interfaces, addresses)), "expected");
    }

    void listsAddressesInSystemOrder()
    {
        QCOMPARE(kestrun::hostNetwork().addresses, QNetworkInterface::allAddresses());
    }

    void namesMacVersions()
    {
        QStringList versions;
        for (int version = -1; version <= 10; ++version)
            versions << macVersionText(version);
        QCOMPARE(versions.join(' '), "  10.0 10.1 10.2  10.3 10.4 10.5 10.6  ");
    }

    void judgesTriggerResponses_data() { addRows("trigger-responses.txt"); }

    void judgesTriggerResponses()
    {
        const auto answer = kestrun::judgeTriggerResponse(cell("response").toStdString(), "before");
        QTEST(QString::fromStdString(answer.verdict), "verdict");
        QTEST(QString::number(answer.result), "result");
    }

    void survivesTriggerTagWithoutValue()
    {
        QVERIFY_THROWS_EXCEPTION(std::out_of_range,
                                 kestrun::judgeTriggerResponse("^RSTRIGGER", ""));
        const LogCapture log;
        char tag[] = "^RSTRIGGER";
        QCOMPARE(CDataCardInfo::RecDataFunc(tag, 10), 1);
        QCOMPARE(log.lines().filter("W ").size(), 1);
        QCOMPARE(CDataCardInfo::RecDataFunc(nullptr, 0), 1);
    }

    void takesTriggerAnswersInEveryAnswerMode()
    {
        CDataCardInfo collector;
        _DEVICE_INFO info;
        for (const int mode : {DEVSRV_ANSWER_OTHER_THREAD | DEVSRV_ANSWER_IN_PIECES,
                               DEVSRV_ANSWER_OTHER_THREAD | DEVSRV_ANSWER_BEFORE_END,
                               0 | DEVSRV_ANSWER_BEFORE_END}) {
            startCard().setAnswerMode(mode);
            info.strSmsTrigger = "old";
            collector.GetSmsTrigger(info);
            QCOMPARE(info.strSmsTrigger, std::string("1"));
        }
        // Without a callback nothing is asked, and the old answer stays.
        setFault("ZEPA_RegDataRevCallBack", {3, 0, 0, 0});
        collector.GetSmsTrigger(info);
        QCOMPARE(info.strSmsTrigger, std::string("1"));
    }

    void readsDashboardVersions_data() { addRows("dashboard-versions.txt"); }

    void readsDashboardVersions()
    {
        const TestRoot root;
        const auto write = [&](const char *file, QString content) {
            root.write(file, content.replace("ROOT", root.path()).toUtf8());
        };
        write("Library/StartupItems/VLPortDetect/config", cell("startup"));
        write("Applications/Brisklane.app/Contents/Resources/config/autorun/config_mac",
              cell("autorun"));
        write("cd/Contents/Resources/Brisklane.mpkg/Contents/Resources/SysConfig.dat",
              "[EHIDS_PRODUCT_VERSION]\nVALUE=4.2\n");
        CDataCardInfo collector;
        _DEVICE_INFO info;
        info.strDverCD = "old";
        collector.GetDeviceDverCD(info);
        QTEST(QString::fromStdString(info.strDverCD), "expected");

        collector.GetDeviceDverPC(info);
        QCOMPARE(info.strDverPc, std::string());
        write("SysConfig.dat", "[EHIDS_PRODUCT_VERSION]\nVALUE=1.\u00e9\n");
        collector.GetDeviceDverPC(info);
        QCOMPARE(info.strDverPc, std::string("1.\xE9"));
    }
};

QTEST_APPLESS_MAIN(tst_Collectors)
#include "tst_collectors.moc"
