// SPDX-License-Identifier: MIT
#include "NetworkInfo.h"

#include "BoundedText.h"
#include "Log.h"
#include "devsrv/DeviceService.h"

#include <algorithm>

using namespace kestrun;

namespace {

constexpr char kPath[] = "../../src/Kestrun/NetworkInfo";
constexpr std::int32_t kReportLocation = 2;

// One of a card's two registrations: its functions, and the log lines around the two queries.
struct Domain
{
    std::int32_t (*getState)(RegStateRecord *);
    std::int32_t (*setReport)(std::int32_t);
    LineFormat<int> firstCalling; // with the report mode
    LineFormat<int, long> firstReturned;
    LineFormat<const char *> secondCalling; // with the text that is read
    LineFormat<const char *, long> secondReturned;
};

constexpr Domain kCircuitSwitched{
    ZEPA_NetSrv_GetCSRegState,
    ZEPA_NetSrv_SetCSRegReport,
    "=======> %s: %s: %s: calling ZEPA_NetSrv_GetCSRegState(%d)",
    "<======= %s: %s: %s: ZEPA_NetSrv_GetCSRegState(%d) returned %li:",
    "=======> %s: %s: %s: calling ZEPA_NetSrv_GetCSRegState(%s)",
    "<======= %s: %s: %s: ZEPA_NetSrv_GetCSRegState(%s) returned %li:",
};

// The line before the second query names the report function, although it announces a query. Logs
// have always had this text.
constexpr Domain kPacketSwitched{
    ZEPA_NetSrv_GetPSRegState,
    ZEPA_NetSrv_SetPSRegReport,
    "=======> %s: %s: %s: calling ZEPA_NetSrv_GetPSRegState(%d)",
    "<======= %s: %s: %s: ZEPA_NetSrv_GetPSRegState(%d) returned %li:",
    "=======> %s: %s: %s: calling ZEPA_NetSrv_SetPSRegReport(%s)",
    "<======= %s: %s: %s: ZEPA_NetSrv_GetPSRegState(%s) returned %li:",
};

enum class WhenReporting { AskAgain, Stop };

// Queries the registration, switches location reports on, queries again and takes one text.
template <std::size_t Size>
void readRegistration(std::string &field, const Source &source, const char *fieldName,
                      const Domain &domain, char (RegStateRecord::*part)[Size],
                      WhenReporting whenReporting = WhenReporting::AskAgain)
{
    field.clear();
    logCalled(source);
    RegStateRecord record;
    char(&text)[Size] = record.*part;
    text[0] = '\0';
    record.reportMode = 0;
    logLine(source, domain.firstCalling, record.reportMode);
    long result = domain.getState(&record);
    logLine(source, domain.firstReturned, record.reportMode, result);
    if (result != 0)
        return;

    if (record.reportMode != kReportLocation)
        domain.setReport(kReportLocation);
    else if (whenReporting == WhenReporting::Stop)
        return;
    logLine(source, domain.secondCalling, textOf(text).c_str());
    result = domain.getState(&record);
    if (result != 0) {
        logFailure(fieldName, field);
        return;
    }
    field = textOf(text);
    logLine(source, domain.secondReturned, field.c_str(), result);
    logValue(fieldName, field);
}

struct AccessTechnology
{
    std::int32_t subMode;
    const char *name;
};

// Readers of the report compare these names, so that the irregular spellings must stay.
constexpr AccessTechnology kAccessTechnologies[] = {
    {1, "GSM"},
    {2, "GPRS"},
    {3, "EDGE"},
    {21, "IS95A"},
    {22, "IS95B"},
    {23, "CDMA-20001X"},
    {24, "EV-DO Re.0"},
    {25, "EV-DO Re.A"},
    {26, "EV-DO Re.B"},
    {27, "HYBRID-CDMA-20001X"},
    {28, "HYBRID-EV-DO Re.0"},
    {29, "HYBRID-EV-DO Re.A"},
    {30, "HYBRID-EV-DO Re.B"},
    {41, "WCDMA"},
    {42, "HSDPA"},
    {43, "HSUPA"},
    {44, "HSPA"},
    {45, "HSPA-PLU"},
    {46, "DCHSPA-PLU"},
    {61, "TD-SCDMA"},
    {62, "TD-HSDPA"},
    {63, "TD-HSUPA"},
    {64, "TD_HSPA"},
    {65, "TD_HSPA_PLU"},
    {81, "802_16E"},
    {101, "LTE"},
};

} // namespace

const char *accessTechnology(std::int32_t subMode, std::int32_t systemMode)
{
    // For these two sub-modes the system mode decides.
    if (subMode == 5 || subMode == 6)
        return systemMode == 5 ? "WIMAX" : systemMode == 6 ? "LTE" : "";
    for (const AccessTechnology &technology : kAccessTechnologies) {
        if (technology.subMode == subMode)
            return technology.name;
    }
    return "";
}

std::string reportedAddress(const QList<InterfaceState> &interfaces,
                            const QList<QHostAddress> &addresses)
{
    const bool online = std::any_of(
        interfaces.begin(), interfaces.end(),
        [](const InterfaceState &interface) { return interface.up && interface.running; });
    if (!online || addresses.isEmpty())
        return {};
    // Only the last entry is considered.
    const QString address = addresses.last().toString();
    // A search and not a comparison: 127.0.0.10 also counts as loopback.
    if (address.contains(QLatin1String("127.0.0.1")) || address.contains(QLatin1Char(':')))
        return {};
    return address.toStdString();
}

void CNetworkInfo::SetData(std::map<std::string, std::string> &data)
{
    GetAcT(m_info);
    if (m_info.strAct != "LTE") {
        GetCellID(m_info);
        GetLac(m_info);
    } else {
        GetLTECellID(m_info);
        GetLTELac(m_info);
    }
    GetIPAddr(m_info);
    GetLatitude(m_info);
    GetLongitude(m_info);
    GetNID(m_info);
    GetPLMN(m_info);
    GetSID(m_info);

    data["Network_AcT"] = m_info.strAct;
    data["Network_CellID"] = m_info.strCellID;
    data["Network_IPAddr"] = m_info.strIPAddr;
    data["Network_Lac"] = m_info.strLac;
    data["Network_Latitude"] = m_info.strLatitude;
    data["Network_Longitude"] = m_info.strLongitude;
    data["Network_NID"] = m_info.strNID;
    data["Network_PLMN"] = m_info.strPlmn;
    data["Network_SID"] = m_info.strSID;
}

std::map<std::string, std::string> CNetworkInfo::GetData()
{
    return m_data;
}

void CNetworkInfo::GetAcT(_NETWORK_INFO &rec)
{
    const Source source{kPath, __func__};
    rec.strAct.clear();
    logLine(source, "%s : %s : %s : called");
    SysInfoRecord record{};
    const long result = ZEPA_NetSrv_GetSysInfoEx(&record);
    logLine(source, "%s : %s : %s : called,return %li:", result);
    if (result != 0) {
        logFailure("strAct", rec.strAct);
        return;
    }
    qDebug("=========iSubMode===========%d", record.subMode);
    qDebug("=========iSysMode===========%d", record.sysMode);
    rec.strAct = accessTechnology(record.subMode, record.sysMode);
    logValue("strAct", rec.strAct);
}

void CNetworkInfo::GetLac(_NETWORK_INFO &rec)
{
    readRegistration(rec.strLac, {kPath, __func__}, "strLac", kCircuitSwitched,
                     &RegStateRecord::lac);
}

void CNetworkInfo::GetCellID(_NETWORK_INFO &rec)
{
    readRegistration(rec.strCellID, {kPath, __func__}, "strCellID", kCircuitSwitched,
                     &RegStateRecord::cellId);
}

void CNetworkInfo::GetLTELac(_NETWORK_INFO &rec)
{
    readRegistration(rec.strLac, {kPath, __func__}, "strLac", kPacketSwitched,
                     &RegStateRecord::lac);
}

void CNetworkInfo::GetLTECellID(_NETWORK_INFO &rec)
{
    // The only one of the four getters that stops if the report mode is already 2. Readers of the
    // report have always seen an empty cell identity then.
    readRegistration(rec.strCellID, {kPath, __func__}, "strCellID", kPacketSwitched,
                     &RegStateRecord::cellId, WhenReporting::Stop);
}

void CNetworkInfo::GetPLMN(_NETWORK_INFO &rec)
{
    const Source source{kPath, __func__};
    rec.strPlmn.clear();
    logCalled(source);
    std::int32_t selection = -1;
    char plmn[ZEPA_PLMN_SIZE] = {};
    logLine(source, "========> %s: %s: %s: calling ZEPA_NetSrv_GetCurPlmn(%d)", selection);
    const long result = ZEPA_NetSrv_GetCurPlmn(&selection, plmn);
    logLine(source, "<======= %s: %s: %s: ZEPA_NetSrv_GetCurPlmn(%d) returned %li:", selection,
            result);
    if (result != 0) {
        logFailure("strPlmn", rec.strPlmn);
        return;
    }
    rec.strPlmn = textOf(plmn);
    logLine(source,
            "%s: %s: %s: Calling ZEPA_NetSrv_GetCurPlmn success: %s, %li:", rec.strPlmn.c_str(),
            result);
    logValue("strPlmn", rec.strPlmn);
}

void CNetworkInfo::GetSID(_NETWORK_INFO &rec)
{
    rec.strSID.clear();
    logCalled({kPath, __func__});
    logValue("strSID", rec.strSID);
}

void CNetworkInfo::GetNID(_NETWORK_INFO &rec)
{
    rec.strNID.clear();
    logValue("strNID", rec.strNID);
}

void CNetworkInfo::GetLongitude(_NETWORK_INFO &rec)
{
    rec.strLongitude.clear();
    logValue("strLongitude", rec.strLongitude);
}

void CNetworkInfo::GetLatitude(_NETWORK_INFO &rec)
{
    rec.strLatitude.clear();
    logValue("strLatitude", rec.strLatitude);
}

void CNetworkInfo::GetIPAddr(_NETWORK_INFO &rec)
{
    rec.strIPAddr.clear();
    logCalled({kPath, __func__});
    const HostNetwork network = hostNetwork();
    rec.strIPAddr = reportedAddress(network.interfaces, network.addresses);
}
