/* SPDX-License-Identifier: MIT */

/*
 * A device service of somebody else: the functions, nothing to steer them. It knows an IMEI and
 * fails in everything else.
 */
#include <string.h>

#define ZEPA_API __attribute__((visibility("default")))
#define FAILS(name) \
    ZEPA_API int name(void); \
    ZEPA_API int name(void) \
    { \
        return -1; \
    }

FAILS(ZEPA_DevSrv_RegisterDevMgrCallback)
FAILS(ZEPA_DevSrv_UnRegisterDevMgrCallback)
FAILS(ZEPA_DevSrv_RegisterDevInitEventCallback)
FAILS(ZEPA_DevSrv_UnRegisterDevInitEventCallback)
FAILS(ZEPA_DevSrv_GetDevStatus)
FAILS(ZEPA_DevSrv_GetImsiInfo)
FAILS(ZEPA_DevSrv_GetSN)
FAILS(ZEPA_DevSrv_GetDeviceName)
FAILS(ZEPA_DevSrv_GetESN)
FAILS(ZEPA_DevSrv_GetFirmwareVersion)
FAILS(ZEPA_DevSrv_GetProductType)
FAILS(ZEPA_DevSrv_GetUserNumMemAbility)
FAILS(ZEPA_DevSrv_ReadUserNumItem)
FAILS(ZEPA_DevSrv_GetCardLockStatus)
FAILS(ZEPA_NetSrv_GetCSRegState)
FAILS(ZEPA_NetSrv_SetCSRegReport)
FAILS(ZEPA_NetSrv_GetPSRegState)
FAILS(ZEPA_NetSrv_SetPSRegReport)
FAILS(ZEPA_NetSrv_GetCurPlmn)
FAILS(ZEPA_NetSrv_GetSysInfoEx)
FAILS(ZEPA_SMSSrv_CreateSMSRecord)
FAILS(ZEPA_SMSSrv_SendMsg)
FAILS(ZEPA_SMSSrv_ReleaseSMSRecord)
FAILS(ZEPA_SMSSrv_SetSMSReceiptNotify)
FAILS(ZEPA_RegDataRevCallBack)
FAILS(ZEPA_UnRegDataRevCallBack)
FAILS(ZEPA_ExuceATCmd)
FAILS(ZEPA_EndExuceATCmd)

ZEPA_API int ZEPA_DevSrv_GetImeiInfo(char *imei);
ZEPA_API int ZEPA_DevSrv_GetImeiInfo(char *imei)
{
    strcpy(imei, "350000000000006");
    return 0;
}
