// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

namespace shared {

/// A function of DeviceService.h, and what a host loses if it fails.
struct DeviceServiceFunction
{
    const char *name;
    const char *loss;
};

/// Every function of DeviceService.h.
inline constexpr DeviceServiceFunction kDeviceServiceFunctions[] = {
    {"ZEPA_DevSrv_RegisterDevMgrCallback", "rewrites and signals on device events"},
    {"ZEPA_DevSrv_UnRegisterDevMgrCallback", "the end of device events at shutdown"},
    {"ZEPA_DevSrv_RegisterDevInitEventCallback", "DeviceAvailable() when a card becomes ready"},
    {"ZEPA_DevSrv_UnRegisterDevInitEventCallback", "the end of init events at shutdown"},
    {"ZEPA_DevSrv_GetDevStatus", "DeviceAvailable() when a card becomes ready"},
    {"ZEPA_DevSrv_GetImeiInfo", "the IMEI"},
    {"ZEPA_DevSrv_GetImsiInfo", "the IMSI"},
    {"ZEPA_DevSrv_GetSN", "the serial number"},
    {"ZEPA_DevSrv_GetDeviceName", "the model"},
    {"ZEPA_DevSrv_GetESN", "ESN and MEID"},
    {"ZEPA_DevSrv_GetFirmwareVersion", "the firmware and hardware versions"},
    {"ZEPA_DevSrv_GetProductType", "the product family"},
    {"ZEPA_DevSrv_GetUserNumMemAbility", "the SIM's own number"},
    {"ZEPA_DevSrv_ReadUserNumItem", "the SIM's own number"},
    {"ZEPA_DevSrv_GetCardLockStatus", "the SIM-lock state in Config.xml"},
    {"ZEPA_NetSrv_GetCSRegState", "location area and cell of the circuit-switched network"},
    {"ZEPA_NetSrv_SetCSRegReport", "location area and cell of the circuit-switched network"},
    {"ZEPA_NetSrv_GetPSRegState", "location area and cell of the packet-switched network"},
    {"ZEPA_NetSrv_SetPSRegReport", "location area and cell of the packet-switched network"},
    {"ZEPA_NetSrv_GetCurPlmn", "the PLMN"},
    {"ZEPA_NetSrv_GetSysInfoEx", "the access technology"},
    {"ZEPA_SMSSrv_CreateSMSRecord", "sending messages"},
    {"ZEPA_SMSSrv_SendMsg", "sending messages"},
    {"ZEPA_SMSSrv_ReleaseSMSRecord", "the memory of each message"},
    {"ZEPA_SMSSrv_SetSMSReceiptNotify", "delivery receipts"},
    {"ZEPA_RegDataRevCallBack", "the SMS trigger"},
    {"ZEPA_UnRegDataRevCallBack", "the end of AT answers at shutdown"},
    {"ZEPA_ExuceATCmd", "the SMS trigger"},
    {"ZEPA_EndExuceATCmd", "the SMS trigger"},
};

/// Whether DeviceService.h has a function of that name.
inline bool isDeviceServiceFunction(std::string_view name)
{
    return std::any_of(
        std::begin(kDeviceServiceFunctions), std::end(kDeviceServiceFunctions),
        [=](const DeviceServiceFunction &function) { return name == function.name; });
}

/// The functions of a channel by which a device service tells events.
struct EventChannel
{
    const char *name;
    const char *registration;
    const char *withdrawal;
};

inline constexpr EventChannel kEventChannels[] = {
    {"device-manager channel", "ZEPA_DevSrv_RegisterDevMgrCallback",
     "ZEPA_DevSrv_UnRegisterDevMgrCallback"},
    {"init-event channel", "ZEPA_DevSrv_RegisterDevInitEventCallback",
     "ZEPA_DevSrv_UnRegisterDevInitEventCallback"},
};

} // namespace shared
