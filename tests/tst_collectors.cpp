// SPDX-License-Identifier: MIT
#include "DataCardInfo.h"
#include "HostPcInfo.h"
#include "NetworkInfo.h"
#include "SmsTrigger.h"
#include "TestSupport.h"

#include <QTest>

using Values = std::map<std::string, std::string>;

namespace {

QString value(const Values &values, const char *key)
{
    const auto found = values.find(key);
    return found == values.end() ? "(missing)" : QString::fromStdString(found->second);
}

Values deviceValues()
{
    CDataCardInfo collector;
    Values values;
    collector.SetData(values);
    return values;
}

Values networkValues()
{
    CNetworkInfo collector;
    Values values;
    collector.SetData(values);
    return values;
}

QHostAddress address(const char *text)
{
    return QHostAddress(text);
}

} // namespace

class tst_Collectors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { startCard(); }

    void deviceOfCards_data()
    {
        QTest::addColumn<QByteArray>("card");
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *card, const char *key, const char *expected) {
            QTest::addRow("%s %s", card, key)
                << QByteArray(card) << QByteArray(key) << QString::fromLatin1(expected);
        };
        row("lte", "Device_IMEI", "490154203237518");
        row("lte", "Device_IMSI", "001010123456789");
        row("lte", "Device_SN", "KE21A0000417");
        row("lte", "Device_Model", "KE-421");
        row("lte", "Device_Fver", "21.318.01.00.00");
        row("lte", "Device_Hver", "CH1E421M");
        row("lte", "Device_MSISDN", "+15550100");
        row("lte", "Device_ProductFamily", "WCDMA");
        row("lte", "Device_SimLock", "0");
        row("lte", "Device_SmsTrigger", "1");
        row("hspa", "Device_SmsTrigger", "0");
        row("cdma", "Device_ProductFamily", "CDMA");
        row("cdma", "Device_IMEI", "");
        row("cdma", "Device_ESN", "80D1F2A4");
        row("cdma", "Device_MEID", "A1000012345678");
        row("cdma", "Device_SmsTrigger", "");
        row("td-scdma", "Device_ProductFamily", "TD_SCDMA");
        row("td-scdma", "Device_MSISDN", "");
        row("td-scdma", "Device_SmsTrigger", "255");
        row("locked", "Device_SimLock", "1");
        row("locked", "Device_IMSI", "");
        row("none", "Device_Classify", "DataCard");
        row("none", "Device_Model", "");
        row("none", "Device_SimLock", "0");
    }

    void deviceOfCards()
    {
        QFETCH(QByteArray, card);
        QFETCH(QByteArray, key);
        startCard(card.constData());
        const Values values = deviceValues();
        QCOMPARE(values.size(), std::size_t(15));
        QTEST(value(values, key.constData()), "expected");
    }

    void collectorsKeepToTheirKeys()
    {
        Values values{{"Device_IMEI", "old"}, {"Other", "kept"}};
        CDataCardInfo device;
        CNetworkInfo network;
        CHostPcInfo host;
        device.SetData(values);
        network.SetData(values);
        host.SetData(values);
        QCOMPARE(values.size(), std::size_t(15 + 9 + 12 + 1));
        QCOMPARE(value(values, "Other"), "kept");
        QCOMPARE(value(values, "Device_IMEI"), "490154203237518");
        QCOMPARE(value(values, "System_Os_Platform"), "Mac32");
        QVERIFY(device.GetData().empty() && network.GetData().empty() && host.GetData().empty());
    }

    void nothingStaleAfterAFailure()
    {
        CDataCardInfo device;
        Values values;
        device.SetData(values);
        DevSrv_GetControl()->remove();
        device.SetData(values);
        for (const auto &[key, text] : values) {
            const std::string expected = key == "Device_Classify" ? "DataCard"
                : key == "Device_SimLock"                         ? "0"
                                                                  : "";
            // The channel could still be registered, so the trigger was asked anew and stays empty.
            QVERIFY2(text == expected, key.c_str());
        }
    }

    void productTypeWithoutName()
    {
        DevSrv_GetControl()->setField("ProductType", "7");
        QCOMPARE(value(deviceValues(), "Device_ProductFamily"), QString());
    }

    void outputsOfFailedCallsAreNotUsed_data()
    {
        QTest::addColumn<QByteArray>("function");
        QTest::addColumn<QByteArray>("key");
        const auto row = [](const char *function, const char *key) {
            QTest::addRow("%s", key) << QByteArray(function) << QByteArray(key);
        };
        row("ZEPA_DevSrv_GetImeiInfo", "Device_IMEI");
        row("ZEPA_DevSrv_GetProductType", "Device_ProductFamily");
        row("ZEPA_DevSrv_GetFirmwareVersion", "Device_Hver");
        row("ZEPA_DevSrv_ReadUserNumItem", "Device_MSISDN");
        row("ZEPA_NetSrv_GetSysInfoEx", "Network_AcT");
        row("ZEPA_NetSrv_GetPSRegState", "Network_Lac");
        row("ZEPA_NetSrv_GetCurPlmn", "Network_PLMN");
    }

    void outputsOfFailedCallsAreNotUsed()
    {
        QFETCH(QByteArray, function);
        QFETCH(QByteArray, key);
        setFault(function.constData(), {-9, 0, 0, DEVSRV_FAULT_WRITE_OUTPUTS});
        Values values = deviceValues();
        values.merge(networkValues());
        QCOMPARE(value(values, key.constData()), QString());
    }

    void textWithoutTerminatorIsCut()
    {
        for (const char *function :
             {"ZEPA_DevSrv_GetSN", "ZEPA_DevSrv_GetESN", "ZEPA_DevSrv_ReadUserNumItem",
              "ZEPA_NetSrv_GetPSRegState", "ZEPA_NetSrv_GetCurPlmn"})
            setFault(function, {0, 0, 0, DEVSRV_FAULT_NO_TERMINATOR});
        Values values = deviceValues();
        values.merge(networkValues());
        QCOMPARE(value(values, "Device_SN").size(), 24);
        QCOMPARE(value(values, "Device_ESN").size(), 32);
        QCOMPARE(value(values, "Device_MEID").size(), 32);
        QCOMPARE(value(values, "Device_MSISDN").size(), 128);
        QCOMPARE(value(values, "Network_Lac").size(), 16);
        QCOMPARE(value(values, "Network_CellID").size(), 24);
        QCOMPARE(value(values, "Network_PLMN").size(), 8);
    }

    void logOfGetters_data()
    {
        QTest::addColumn<int>("getter");
        QTest::addColumn<QByteArray>("fails");
        QTest::addColumn<QStringList>("expected");
        const QString dev = "T: ../../src/Kestrun/DataCardInfo: ";
        const QString lock = "T : ../../src/Kestrun/DataCardInfo : GetSimlockState : ";
        const QString status = "ZEPA_DevSrv_GetCardLockStatus ";
        QTest::newRow("IMEI") << 0 << QByteArray()
                              << QStringList{dev + "GetIMEI: called",
                                             QString("=======> ") + dev
                                                 + "GetIMEI: CallingZEPA_DevSrv_GetImeiInfo: ",
                                             QString("<======= ") + dev
                                                 + "GetIMEI: ZEPA_DevSrv_GetImeiInfo returned: "
                                                   "490154203237518, 0:",
                                             "=========strIMEI===========490154203237518"};
        QTest::newRow("MEID fails")
            << 1 << QByteArray("ZEPA_DevSrv_GetESN")
            << QStringList{dev + "GetMEID: called",
                           QString("========> ") + dev + "GetMEID: calling ZEPA_DevSrv_GetESN()",
                           QString("<======= ") + dev
                               + "GetMEID: ZEPA_DevSrv_GetESN() returned -1:",
                           "=========strMEID_FAILED==========="};
        QTest::newRow("lock fails")
            << 2 << QByteArray("ZEPA_DevSrv_GetCardLockStatus")
            << QStringList{lock + "Entered", lock + status + "called",
                           QString("W ") + lock + status + "returned error",
                           lock + status + "returned success  card state = 0"};
        QTest::newRow("family fails")
            << 3 << QByteArray("ZEPA_DevSrv_GetProductType")
            << QStringList{dev + "GetDeviceProductFamily: called",
                           QString("=======> ") + dev
                               + "GetDeviceProductFamily: calling "
                                 "ZEPA_DevSrv_GetProductType(3)",
                           QString("<======= ") + dev
                               + "GetDeviceProductFamily: "
                                 "ZEPA_DevSrv_GetProductType(3) returned -1:",
                           "=========strProductFamily==========="};
    }

    void logOfGetters()
    {
        QFETCH(int, getter);
        QFETCH(QByteArray, fails);
        if (!fails.isEmpty())
            setFault(fails.constData(), {-1, 0, 0, 0});
        constexpr void (CDataCardInfo::*kGetters[])(_DEVICE_INFO &) = {
            &CDataCardInfo::GetIMEI, &CDataCardInfo::GetMEID, &CDataCardInfo::GetSimlockState,
            &CDataCardInfo::GetDeviceProductFamily};
        CDataCardInfo collector;
        _DEVICE_INFO info;
        const LogCapture log;
        (collector.*kGetters[getter])(info);
        QTEST(log.lines(), "expected");
    }

    void emptyPhonebookHasNoResultLine()
    {
        DevSrv_GetControl()->setField("Phonebook/Count", "0");
        const LogCapture log;
        CDataCardInfo collector;
        _DEVICE_INFO info;
        collector.GetMSISDN(info);
        QVERIFY(log.lines().filter("=========strMSISDN").isEmpty());
        QVERIFY(journal().filter("ReadUserNumItem").isEmpty());
    }

    void registration_data()
    {
        QTest::addColumn<QByteArray>("card");
        QTest::addColumn<QByteArray>("mode");
        QTest::addColumn<QByteArray>("fails");
        QTest::addColumn<QString>("lac");
        QTest::addColumn<QString>("cellId");
        QTest::addColumn<QStringList>("calls");
        const QString get = "ZEPA_NetSrv_Get%1RegState()";
        const QString set = "ZEPA_NetSrv_Set%1RegReport(2)";
        const QString cs = "CS", ps = "PS";
        QTest::newRow("LTE, mode 0")
            << QByteArray("lte") << QByteArray("0") << QByteArray() << "A1B2"
            << "0190B203"
            << QStringList{get.arg(ps), set.arg(ps), get.arg(ps), get.arg(ps), get.arg(ps)};
        QTest::newRow("LTE, mode 2")
            << QByteArray("lte") << QByteArray("2") << QByteArray() << "A1B2" << QString()
            << QStringList{get.arg(ps), get.arg(ps), get.arg(ps)};
        QTest::newRow("LTE, fails")
            << QByteArray("lte") << QByteArray("0") << QByteArray("ZEPA_NetSrv_GetPSRegState")
            << QString() << QString() << QStringList{get.arg(ps), get.arg(ps)};
        QTest::newRow("UMTS, mode 0")
            << QByteArray("hspa") << QByteArray("0") << QByteArray() << "2F0A"
            << "01A4C3E7"
            << QStringList{get.arg(cs), set.arg(cs), get.arg(cs), get.arg(cs), get.arg(cs)};
        QTest::newRow("UMTS, mode 2")
            << QByteArray("hspa") << QByteArray("2") << QByteArray() << "2F0A"
            << "01A4C3E7" << QStringList{get.arg(cs), get.arg(cs), get.arg(cs), get.arg(cs)};
        QTest::newRow("report mode refused")
            << QByteArray("hspa") << QByteArray("0") << QByteArray("ZEPA_NetSrv_SetCSRegReport")
            << "2F0A"
            << "01A4C3E7" << QStringList{get.arg(cs), set.arg(cs), get.arg(cs),
                                         get.arg(cs), set.arg(cs), get.arg(cs)};
        QTest::newRow("no access technology")
            << QByteArray("lte") << QByteArray("2") << QByteArray("ZEPA_NetSrv_GetSysInfoEx")
            << "31C5"
            << "0083F7CD" << QStringList{get.arg(cs), get.arg(cs), get.arg(cs), get.arg(cs)};
    }

    void registration()
    {
        QFETCH(QByteArray, card);
        QFETCH(QByteArray, mode);
        QFETCH(QByteArray, fails);
        const DeviceServiceControl &control = startCard(card.constData());
        control.setField("CS/ReportMode", mode.constData());
        control.setField("PS/ReportMode", mode.constData());
        if (!fails.isEmpty())
            setFault(fails.constData(), {5, 0, 0, 0});
        control.clearJournal();
        const Values values = networkValues();
        QTEST(value(values, "Network_Lac"), "lac");
        QTEST(value(values, "Network_CellID"), "cellId");
        QTEST(journal().filter("Reg"), "calls");
    }

    void logOfRegistration()
    {
        const QString where = "T: ../../src/Kestrun/NetworkInfo: GetLTECellID: ";
        const LogCapture log;
        CNetworkInfo collector;
        _NETWORK_INFO info;
        collector.GetLTECellID(info);
        const QStringList expected{
            where + "called",
            QString("=======> ") + where + "calling ZEPA_NetSrv_GetPSRegState(0)",
            QString("<======= ") + where + "ZEPA_NetSrv_GetPSRegState(0) returned 0:",
            QString("=======> ") + where + "calling ZEPA_NetSrv_SetPSRegReport(0190B203)",
            QString("<======= ") + where + "ZEPA_NetSrv_GetPSRegState(0190B203) returned 0:",
            "=========strCellID===========0190B203"};
        QCOMPARE(log.lines(), expected);
    }

    void accessTechnology_data()
    {
        QTest::addColumn<int>("subMode");
        QTest::addColumn<int>("systemMode");
        QTest::addColumn<QByteArray>("expected");
        const auto row = [](int sub, int system, const char *expected) {
            QTest::addRow("%d/%d", sub, system) << sub << system << QByteArray(expected);
        };
        row(1, 0, "GSM");
        row(3, 0, "EDGE");
        row(5, 5, "WIMAX");
        row(5, 6, "LTE");
        row(6, 6, "LTE");
        row(6, 3, "");
        row(26, 0, "EV-DO Re.B");
        row(27, 0, "HYBRID-CDMA-20001X");
        row(45, 0, "HSPA-PLU");
        row(46, 0, "DCHSPA-PLU");
        row(64, 0, "TD_HSPA");
        row(81, 0, "802_16E");
        row(101, 3, "LTE");
        for (const int without : {0, 4, 7, 20, 31, 40, 47, 60, 66, 80, 82, 100, 102, -1})
            row(without, 6, "");
    }

    void accessTechnology()
    {
        QFETCH(int, subMode);
        QFETCH(int, systemMode);
        QTEST(QByteArray(::accessTechnology(subMode, systemMode)), "expected");
    }

    void reportedAddress_data()
    {
        QTest::addColumn<QList<QHostAddress>>("addresses");
        QTest::addColumn<bool>("up");
        QTest::addColumn<bool>("running");
        QTest::addColumn<QString>("expected");
        using List = QList<QHostAddress>;
        const auto v4 = address("192.168.1.5"), v6 = address("fe80::1"), ten = address("10.0.0.2");
        const QString v4Text = "192.168.1.5";
        QTest::newRow("IPv4 last") << List{v6, v4} << true << true << v4Text;
        QTest::newRow("IPv6 last") << List{v4, v6} << true << true << QString();
        QTest::newRow("two IPv4") << List{ten, v4} << true << true << v4Text;
        QTest::newRow("loopback last")
            << List{ten, address("127.0.0.1")} << true << true << QString();
        QTest::newRow("looks like loopback")
            << List{address("127.0.0.10")} << true << true << QString();
        QTest::newRow("not running") << List{v4} << true << false << QString();
        QTest::newRow("not up") << List{v4} << false << true << QString();
        QTest::newRow("none") << List{} << true << true << QString();
    }

    void reportedAddress()
    {
        QFETCH(QList<QHostAddress>, addresses);
        QFETCH(bool, up);
        QFETCH(bool, running);
        const QList<kestrun::InterfaceState> interfaces{{false, false}, {up, running}};
        QTEST(QString::fromStdString(::reportedAddress(interfaces, addresses)), "expected");
    }

    void macVersions()
    {
        const QList<QByteArray> expected{"",     "10.0", "10.1", "10.2", "", "10.3",
                                         "10.4", "10.5", "10.6", "",     ""};
        for (int version = 0; version < expected.size(); ++version)
            QCOMPARE(QByteArray(macVersionText(version)), expected.at(version));
        QCOMPARE(macVersionText(-1), "");
    }

    void triggerResponses_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::addColumn<QByteArray>("verdict");
        QTest::addColumn<int>("result");
        const QByteArray before = "before";
        QTest::newRow("1") << QByteArray("^RSTRIGGER: 1\r\n\r\nOK\r\n") << QByteArray("1") << 1;
        QTest::newRow("0") << QByteArray("^RSTRIGGER: 0") << QByteArray("0") << 1;
        QTest::newRow("both") << QByteArray("^RSTRIGGER: 1,0") << QByteArray("0") << 1;
        QTest::newRow("2") << QByteArray("^RSTRIGGER: 2") << before << 1;
        QTest::newRow("leading line break")
            << QByteArray("\r\n^RSTRIGGER: 1") << QByteArray("1") << 1;
        QTest::newRow("digit before position 11") << QByteArray("1 ^RSTRIGGER") << before << 1;
        QTest::newRow("eleven characters") << QByteArray("^RSTRIGGER:") << before << 1;
        QTest::newRow("OK") << QByteArray("\r\nOK\r\n") << before << 1;
        QTest::newRow("nothing") << QByteArray() << before << 1;
        QTest::newRow("error") << QByteArray("ERROR") << QByteArray() << 0;
        QTest::newRow("error in the answer")
            << QByteArray("^RSTRIGGER: 1 ERROR") << QByteArray() << 0;
        QTest::newRow("not supported")
            << QByteArray("COMMAND NOT SUPPORT") << QByteArray("255") << 0;
        QTest::newRow("error and not supported")
            << QByteArray("COMMAND NOT SUPPORT ERROR") << QByteArray() << 0;
        QTest::newRow("not supported before tag")
            << QByteArray("^RSTRIGGER: 1 COMMAND NOT SUPPORT") << QByteArray("255") << 0;
    }

    void triggerResponses()
    {
        QFETCH(QByteArray, response);
        const auto answer = kestrun::judgeTriggerResponse(response.toStdString(), "before");
        QTEST(QByteArray::fromStdString(answer.verdict), "verdict");
        QTEST(answer.result, "result");
    }

    void aTagAloneIsOutOfRange()
    {
        QVERIFY_EXCEPTION_THROWN(kestrun::judgeTriggerResponse("^RSTRIGGER", ""),
                                 std::out_of_range);
        const LogCapture log;
        char tag[] = "^RSTRIGGER";
        QCOMPARE(CDataCardInfo::RecDataFunc(tag, 10), 1);
        QCOMPARE(log.lines().filter("W ").size(), 1);
        QCOMPARE(CDataCardInfo::RecDataFunc(nullptr, 0), 1);
    }

    void triggerExchange_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QByteArray>("fails");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QStringList>("calls");
        const QString reg = "ZEPA_RegDataRevCallBack()";
        const QString execute = "ZEPA_ExuceATCmd(\"AT^RSTRIGGER?\\r\", 14)";
        const QString end = "ZEPA_EndExuceATCmd()";
        const QString unreg = "ZEPA_UnRegDataRevCallBack()";
        const QStringList all{reg, execute, end, unreg};
        const QString one = "1";
        const QString old = "old";
        QTest::newRow("at once") << 0 << QByteArray() << one << all;
        QTest::newRow("pieces on another thread")
            << int(DEVSRV_ANSWER_IN_PIECES | DEVSRV_ANSWER_OTHER_THREAD) << QByteArray() << one
            << all;
        QTest::newRow("late on another thread")
            << int(DEVSRV_ANSWER_BEFORE_END | DEVSRV_ANSWER_OTHER_THREAD) << QByteArray() << one
            << all;
        QTest::newRow("registration fails")
            << 0 << QByteArray("ZEPA_RegDataRevCallBack") << old << QStringList{reg};
        QTest::newRow("command fails")
            << 0 << QByteArray("ZEPA_ExuceATCmd") << QString() << QStringList{reg, execute, unreg};
        QTest::newRow("end fails") << 0 << QByteArray("ZEPA_EndExuceATCmd") << one << all;
        QTest::newRow("withdrawal fails")
            << 0 << QByteArray("ZEPA_UnRegDataRevCallBack") << one << all;
    }

    void triggerExchange()
    {
        QFETCH(int, mode);
        QFETCH(QByteArray, fails);
        const DeviceServiceControl &control = startCard();
        control.setAnswerMode(mode);
        if (!fails.isEmpty())
            setFault(fails.constData(), {3, 0, 0, 0});
        control.clearJournal();
        CDataCardInfo collector;
        _DEVICE_INFO info;
        info.strSmsTrigger = "old";
        collector.GetSmsTrigger(info);
        QTEST(QString::fromStdString(info.strSmsTrigger), "expected");
        QTEST(journal(), "calls");
        ZEPA_UnRegDataRevCallBack(CDataCardInfo::RecDataFunc);
    }

    void dashboardVersions_data()
    {
        QTest::addColumn<QByteArray>("startup");
        QTest::addColumn<QByteArray>("autorun");
        QTest::addColumn<QString>("expected");
        const QByteArray with = "[Volumes]\npath1=ROOT/cd/\nname=Pelican\n";
        const QByteArray other = "[Volumes]\npath1=ROOT/other/\n";
        const QByteArray noSlash = "[Volumes]\npath1=ROOT/cd\n";
        const QByteArray noPath = "[Volumes]\nname=Pelican\n";
        const QString version = "4.2";
        QTest::newRow("nothing") << QByteArray() << QByteArray() << QString();
        QTest::newRow("startup item") << with << other << version;
        QTest::newRow("no slash") << noSlash << QByteArray() << QString();
        QTest::newRow("autorun") << noPath << with << version;
        QTest::newRow("no volume") << other << QByteArray() << QString();
    }

    void dashboardVersions()
    {
        QFETCH(QByteArray, startup);
        QFETCH(QByteArray, autorun);
        const TestRoot root;
        const auto write = [&](const char *file, QByteArray content) {
            content.replace("ROOT", root.path().toUtf8());
            if (!content.isEmpty())
                root.write(file, content);
        };
        write("Library/StartupItems/VLPortDetect/config", startup);
        write("Applications/Brisklane.app/Contents/Resources/config/autorun/config_mac", autorun);
        write("cd/Contents/Resources/Brisklane.mpkg/Contents/Resources/SysConfig.dat",
              "[EHIDS_PRODUCT_VERSION]\nVALUE=4.2\n");
        CDataCardInfo collector;
        _DEVICE_INFO info;
        collector.GetDeviceDverCD(info);
        QTEST(QString::fromStdString(info.strDverCD), "expected");

        collector.GetDeviceDverPC(info);
        QCOMPARE(info.strDverPc, std::string());
        write("SysConfig.dat", "[EHIDS_PRODUCT_VERSION]\nVALUE=1.\xC3\xA9\n");
        collector.GetDeviceDverPC(info);
        QCOMPARE(info.strDverPc, std::string("1.\xE9"));
    }
};

QTEST_APPLESS_MAIN(tst_Collectors)
#include "tst_collectors.moc"
