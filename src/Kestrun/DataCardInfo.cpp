// SPDX-License-Identifier: MIT
#include "DataCardInfo.h"

#include "BoundedText.h"
#include "IniFile.h"
#include "Log.h"
#include "Platform.h"
#include "SmsTrigger.h"
#include "shared/Guard.h"

#include <QMutex>

#include <cstring>
#include <memory>
#include <new>

using namespace kestrun;

namespace {

constexpr char kPath[] = "../../src/Kestrun/DataCardInfo";

// A relative path: the host's working directory has the file.
constexpr char kSysConfig[] = "SysConfig.dat";
constexpr char kVersionKey[] = "EHIDS_PRODUCT_VERSION/VALUE";
constexpr char kVolumePathKey[] = "Volumes/path1";

std::string versionOf(const IniFile &settings)
{
    return settings.value(QLatin1String(kVersionKey)).toLatin1().toStdString();
}

// The buffer of the calls that fill a plain text, in the form of a record.
struct ShortText
{
    char text[ZEPA_TEXT_SIZE];
};

// The log of a getter that reads one text.
struct TextRead
{
    const char *function; // the getter
    const char *field;
    LineFormat<const char *> calling;        // with the buffer's text before the call
    LineFormat<const char *, long> returned; // with its text after the call, and the result
};

// Queries a record and takes one of its texts. The rest of the record is neither cleared nor read.
template <typename Record, std::size_t Size>
void readText(std::string &field, const TextRead &read, std::int32_t (*call)(Record *),
              char (Record::*part)[Size])
{
    const Source source{kPath, read.function};
    field.clear();
    logCalled(source);
    Record record;
    char(&text)[Size] = record.*part;
    std::memset(text, 0, Size);
    logLine(source, read.calling, textOf(text).c_str());
    const long result = call(&record);
    const std::string answer = textOf(text);
    logLine(source, read.returned, answer.c_str(), result);
    if (result != 0) {
        logFailure(read.field, field);
        return;
    }
    field = answer;
    logValue(read.field, field);
}

template <std::int32_t (*Call)(char *)>
std::int32_t callWith(ShortText *record)
{
    return Call(record->text);
}

template <std::int32_t (*Call)(char *)>
void readText(std::string &field, const TextRead &read)
{
    readText(field, read, callWith<Call>, &ShortText::text);
}

const char *productFamily(std::int32_t productType)
{
    switch (productType) {
    case ZEPA_PRODUCT_TYPE_WCDMA:
        return "WCDMA";
    case ZEPA_PRODUCT_TYPE_CDMA:
        return "CDMA";
    case ZEPA_PRODUCT_TYPE_TD_SCDMA:
        return "TD_SCDMA";
    }
    return "";
}

// The verdict on the answers to the SMS-trigger query, which may arrive on another thread.
std::string g_strSmsTrigger;
QBasicMutex s_triggerMutex;

} // namespace

void CDataCardInfo::SetData(std::map<std::string, std::string> &data)
{
    GetDeviceClassify(m_info);
    GetDeviceDverCD(m_info);
    GetDeviceDverPC(m_info);
    GetDeviceFver(m_info);
    GetDeviceHver(m_info);
    GetDeviceModel(m_info);
    GetDeviceProductFamily(m_info);
    GetMSISDN(m_info);
    GetIMSI(m_info);
    GetESN(m_info);
    GetIMEI(m_info);
    GetMEID(m_info);
    GetSN(m_info);
    GetSmsTrigger(m_info);
    GetSimlockState(m_info);

    data["Device_Classify"] = m_info.strClassify;
    data["Device_DverCD"] = m_info.strDverCD;
    data["Device_DverPc"] = m_info.strDverPc;
    data["Device_ESN"] = m_info.strESN;
    data["Device_Fver"] = m_info.strFver;
    data["Device_Hver"] = m_info.strHver;
    // A CDMA card is identified by its MEID and ESN, even if it has an IMEI.
    data["Device_IMEI"] = m_info.strProductFamily == "CDMA" ? std::string() : m_info.strIMEI;
    data["Device_MEID"] = m_info.strMEID;
    data["Device_Model"] = m_info.strModel;
    data["Device_IMSI"] = m_info.strIMSI;
    data["Device_MSISDN"] = m_info.strMSISDN;
    data["Device_ProductFamily"] = m_info.strProductFamily;
    data["Device_SmsTrigger"] = m_info.strSmsTrigger;
    data["Device_SN"] = m_info.strSN;
    data["Device_SimLock"] = m_info.strSimLock;
}

std::map<std::string, std::string> CDataCardInfo::GetData()
{
    return m_data;
}

void CDataCardInfo::GetSN(_DEVICE_INFO &rec)
{
    readText<ZEPA_DevSrv_GetSN>(rec.strSN,
                                {__func__, "strSN",
                                 "=======> %s: %s: %s: calling ZEPA_DevSrv_GetSN(%s)",
                                 "<======= %s: %s: %s: ZEPA_DevSrv_GetSN(%s) returned %li:"});
}

void CDataCardInfo::GetIMEI(_DEVICE_INFO &rec)
{
    readText<ZEPA_DevSrv_GetImeiInfo>(
        rec.strIMEI,
        {__func__, "strIMEI", "=======> %s: %s: %s: CallingZEPA_DevSrv_GetImeiInfo: %s",
         "<======= %s: %s: %s: ZEPA_DevSrv_GetImeiInfo returned: %s, %li:"});
}

void CDataCardInfo::GetIMSI(_DEVICE_INFO &rec)
{
    readText<ZEPA_DevSrv_GetImsiInfo>(
        rec.strIMSI,
        {__func__, "strIMSI", "=======> %s: %s: %s: calling ZEPA_DevSrv_GetImsiInfo(%s)",
         "<======= %s: %s: %s: ZEPA_DevSrv_GetImsiInfo(%s) returned %li:"});
}

void CDataCardInfo::GetDeviceModel(_DEVICE_INFO &rec)
{
    readText<ZEPA_DevSrv_GetDeviceName>(
        rec.strModel,
        {__func__, "strModel", "=======> %s: %s: %s: calling ZEPA_DevSrv_GetDeviceName(%s)",
         "<======= %s: %s: %s: ZEPA_DevSrv_GetDeviceName(%s) returned %li:"});
}

void CDataCardInfo::GetESN(_DEVICE_INFO &rec)
{
    readText(rec.strESN,
             {__func__, "strESN", "========> %s: %s: %s: calling ZEPA_DevSrv_GetESN(%s)",
              "<======= %s: %s: %s: ZEPA_DevSrv_GetESN(%s) returned %li:"},
             ZEPA_DevSrv_GetESN, &EsnRecord::esn);
}

void CDataCardInfo::GetMEID(_DEVICE_INFO &rec)
{
    readText(rec.strMEID,
             {__func__, "strMEID", "========> %s: %s: %s: calling ZEPA_DevSrv_GetESN(%s)",
              "<======= %s: %s: %s: ZEPA_DevSrv_GetESN(%s) returned %li:"},
             ZEPA_DevSrv_GetESN, &EsnRecord::meid);
}

void CDataCardInfo::GetDeviceFver(_DEVICE_INFO &rec)
{
    readText(rec.strFver,
             {__func__, "strFver",
              "=======> %s: %s: %s: calling ZEPA_DevSrv_GetFirmwareVersion(%s)",
              "<======= %s: %s: %s: ZEPA_DevSrv_GetFirmwareVersion(%s) returned %li:"},
             ZEPA_DevSrv_GetFirmwareVersion, &FirmwareVersionRecord::firmware);
}

void CDataCardInfo::GetDeviceHver(_DEVICE_INFO &rec)
{
    readText(rec.strHver,
             {__func__, "strHver",
              "=======> %s: %s: %s: calling ZEPA_DevSrv_GetFirmwareVersion(%s)",
              "<======= %s: %s: %s: ZEPA_DevSrv_GetFirmwareVersion(%s) returned %li:"},
             ZEPA_DevSrv_GetFirmwareVersion, &FirmwareVersionRecord::hardware);
}

void CDataCardInfo::GetDeviceProductFamily(_DEVICE_INFO &rec)
{
    const Source source{kPath, __func__};
    rec.strProductFamily.clear();
    logCalled(source);
    std::int32_t productType = 3;
    logLine(source, "=======> %s: %s: %s: calling ZEPA_DevSrv_GetProductType(%d)", productType);
    const long result = ZEPA_DevSrv_GetProductType(&productType);
    logLine(source,
            "<======= %s: %s: %s: ZEPA_DevSrv_GetProductType(%d) returned %li:", productType,
            result);
    if (result == 0)
        rec.strProductFamily = productFamily(productType);
    logValue("strProductFamily", rec.strProductFamily);
}

void CDataCardInfo::GetDeviceClassify(_DEVICE_INFO &rec)
{
    logCalled({kPath, __func__});
    rec.strClassify = "DataCard";
    logValue("strClassify", rec.strClassify);
}

void CDataCardInfo::GetMSISDN(_DEVICE_INFO &rec)
{
    const Source source{kPath, __func__};
    rec.strMSISDN.clear();
    logCalled(source);
    std::int32_t first = 0;
    std::int32_t index = 0;
    std::int32_t count = 0;
    std::int32_t fourth = 0;
    std::int32_t fifth = 0;
    logLine(source, "=======> %s: %s: %s: calling ZEPA_DevSrv_GetUserNumMemAbility(%d, %d)", index,
            count);
    long result = ZEPA_DevSrv_GetUserNumMemAbility(&first, &index, &count, &fourth, &fifth);
    logLine(source,
            "<======= %s: %s: %s: ZEPA_DevSrv_GetUserNumMemAbility(%d, %d) returned %li:", index,
            count, result);
    if (result != 0 || count == 0)
        return;

    const std::unique_ptr<UserNumItem> item(new (std::nothrow) UserNumItem);
    if (!item)
        return;
    std::memset(item->number, 0, sizeof item->number);
    logLine(source, "=======> %s: %s: %s: calling ZEPA_DevSrv_ReadUserNumItem(%d)", index);
    result = ZEPA_DevSrv_ReadUserNumItem(index, item.get());
    logLine(source, "<======= %s: %s: %s: ZEPA_DevSrv_ReadUserNumItem(%d) returned %li:", index,
            result);
    if (result != 0) {
        logFailure("strMSISDN", rec.strMSISDN);
        return;
    }
    rec.strMSISDN = textOf(item->number);
    logValue("strMSISDN", rec.strMSISDN);
}

void CDataCardInfo::GetSimlockState(_DEVICE_INFO &rec)
{
    const Source source{kPath, __func__};
    logLine(source, "%s : %s : %s : Entered");
    logLine(source, "%s : %s : %s : ZEPA_DevSrv_GetCardLockStatus called");
    std::uint8_t state = 0;
    std::uint8_t second = 0;
    std::int32_t third = 0;
    if (ZEPA_DevSrv_GetCardLockStatus(&state, &second, &third) != 0)
        warnLine(source, "%s : %s : %s : ZEPA_DevSrv_GetCardLockStatus returned error");
    // The text says "success" after a failure too; the line is there to log the state.
    logLine(source,
            "%s : %s : %s : ZEPA_DevSrv_GetCardLockStatus returned success  card state = %d",
            int{state});
    rec.strSimLock = std::to_string(state);
}

void CDataCardInfo::GetSmsTrigger(_DEVICE_INFO &rec)
{
    const Source source{kPath, __func__};
    {
        const QMutexLocker lock(&s_triggerMutex);
        g_strSmsTrigger.clear();
    }
    constexpr std::int32_t kLength = sizeof kTriggerCommand - 1;
    logLine(source, "%s: %s: %s: Calling GetSmsTrigger().");
    m_pfnDataRev = RecDataFunc;
    if (ZEPA_RegDataRevCallBack(m_pfnDataRev) != 0)
        return;
    logLine(source, "%s: %s: %s: Calling GetSmsTrigger():AT command:%s", kTriggerCommand);
    // The device service has delivered the whole answer when ZEPA_EndExuceATCmd() returns.
    if (ZEPA_ExuceATCmd(kTriggerCommand, kLength) == 0 && ZEPA_EndExuceATCmd() == 0)
        logLine(source, "%s: %s: %s: ZEPA_EndExuceATCmd Successful.");
    if (ZEPA_UnRegDataRevCallBack(m_pfnDataRev) != 0)
        logLine(source, "%s: %s: %s: ZEPA_UnRegDataRevCallBack Failed.");
    const QMutexLocker lock(&s_triggerMutex);
    rec.strSmsTrigger = g_strSmsTrigger;
}

int CDataCardInfo::RecDataFunc(void *data, int)
{
    return shared::guarded("RecDataFunc", 1, [=] {
        const std::string response = data ? static_cast<const char *>(data) : "";
        qDebug("pfnDataRev () Response data: %s", response.c_str());
        // The lock is held from the verdict that is read to the one that is written: the pieces of
        // an answer may arrive on several threads at the same time.
        const QMutexLocker lock(&s_triggerMutex);
        const auto [verdict, result] = judgeTriggerResponse(response, g_strSmsTrigger);
        g_strSmsTrigger = verdict;
        return result;
    });
}

void CDataCardInfo::GetDeviceDverPC(_DEVICE_INFO &rec)
{
    rec.strDverPc.clear();
    logCalled({kPath, __func__});
    rec.strDverPc = versionOf(IniFile(QLatin1String(kSysConfig)));
    logValue("strDverPc", rec.strDverPc);
}

void CDataCardInfo::GetDeviceDverCD(_DEVICE_INFO &rec)
{
    rec.strDverCD.clear();
    const IniFile portDetect(
        systemLocation(QStringLiteral("/Library/StartupItems/VLPortDetect/config")));
    QString path = portDetect.value(QLatin1String(kVolumePathKey));
    // Only corrected: nothing uses the name, and the path alone decides.
    QString name = portDetect.value(QStringLiteral("Volumes/name"));
    if (name == QLatin1String("Pelican"))
        name = QStringLiteral("Pelican Broadband PX4410");

    if (path.isEmpty()) {
        const IniFile autorun(systemLocation(QStringLiteral(
            "/Applications/Brisklane.app/Contents/Resources/config/autorun/config_mac")));
        path = autorun.value(QLatin1String(kVolumePathKey));
    }
    if (path.isEmpty())
        return;
    // No separator is added: the stored mount path ends in a slash.
    path += QStringLiteral("Contents/Resources/Brisklane.mpkg/Contents/Resources/SysConfig.dat");
    rec.strDverCD = versionOf(IniFile(path));
}
