// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace devsrv {

/// The names of all functions of DeviceService.h.
inline constexpr std::array<std::string_view, 29> kFunctionNames{
    "ZEPA_DevSrv_RegisterDevMgrCallback",
    "ZEPA_DevSrv_UnRegisterDevMgrCallback",
    "ZEPA_DevSrv_RegisterDevInitEventCallback",
    "ZEPA_DevSrv_UnRegisterDevInitEventCallback",
    "ZEPA_DevSrv_GetDevStatus",
    "ZEPA_DevSrv_GetImeiInfo",
    "ZEPA_DevSrv_GetImsiInfo",
    "ZEPA_DevSrv_GetSN",
    "ZEPA_DevSrv_GetDeviceName",
    "ZEPA_DevSrv_GetESN",
    "ZEPA_DevSrv_GetFirmwareVersion",
    "ZEPA_DevSrv_GetProductType",
    "ZEPA_DevSrv_GetUserNumMemAbility",
    "ZEPA_DevSrv_ReadUserNumItem",
    "ZEPA_DevSrv_GetCardLockStatus",
    "ZEPA_NetSrv_GetCSRegState",
    "ZEPA_NetSrv_SetCSRegReport",
    "ZEPA_NetSrv_GetPSRegState",
    "ZEPA_NetSrv_SetPSRegReport",
    "ZEPA_NetSrv_GetCurPlmn",
    "ZEPA_NetSrv_GetSysInfoEx",
    "ZEPA_SMSSrv_CreateSMSRecord",
    "ZEPA_SMSSrv_SendMsg",
    "ZEPA_SMSSrv_ReleaseSMSRecord",
    "ZEPA_SMSSrv_SetSMSReceiptNotify",
    "ZEPA_RegDataRevCallBack",
    "ZEPA_UnRegDataRevCallBack",
    "ZEPA_ExuceATCmd",
    "ZEPA_EndExuceATCmd",
};

inline bool isFunctionName(std::string_view name)
{
    return std::find(kFunctionNames.begin(), kFunctionNames.end(), name) != kFunctionNames.end();
}

} // namespace devsrv
