/* SPDX-License-Identifier: MIT */

/*
 * A device service that has no card: a start for libraries of card makers. Every function is there,
 * so that the plug-in can be loaded; each tells that it has failed, so that the report has no
 * values of a card. Replace one function after the other; docs/device-service.md says when each is
 * called and what the plug-in loses while it fails.
 */
#include "devsrv/DeviceService.h"

enum { FAILED = -1 };

/*
 * The one callback of each channel. A library whose card reports events on a thread of its own
 * guards them with a lock, and waits in the withdrawal until the callback no longer runs.
 */
static ZEPA_DevEventCallback managerCallback;
static ZEPA_DevEventCallback initCallback;
static ZEPA_DataRevCallback answerCallback;

int32_t ZEPA_DevSrv_RegisterDevMgrCallback(ZEPA_DevEventCallback callback)
{
    managerCallback = callback;
    return 0;
}

int32_t ZEPA_DevSrv_UnRegisterDevMgrCallback(ZEPA_DevEventCallback callback)
{
    if (callback != managerCallback)
        return FAILED;
    managerCallback = NULL;
    return 0;
}

int32_t ZEPA_DevSrv_RegisterDevInitEventCallback(ZEPA_DevEventCallback callback)
{
    initCallback = callback;
    return 0;
}

int32_t ZEPA_DevSrv_UnRegisterDevInitEventCallback(ZEPA_DevEventCallback callback)
{
    if (callback != initCallback)
        return FAILED;
    initCallback = NULL;
    return 0;
}

int32_t ZEPA_DevSrv_GetDevStatus(int32_t *status)
{
    (void)status;
    return FAILED;
}

int32_t ZEPA_DevSrv_GetImeiInfo(char *imei)
{
    (void)imei;
    return FAILED;
}

int32_t ZEPA_DevSrv_GetImsiInfo(char *imsi)
{
    (void)imsi;
    return FAILED;
}

int32_t ZEPA_DevSrv_GetSN(char *serialNumber)
{
    (void)serialNumber;
    return FAILED;
}

int32_t ZEPA_DevSrv_GetDeviceName(char *model)
{
    (void)model;
    return FAILED;
}

int32_t ZEPA_DevSrv_GetESN(EsnRecord *record)
{
    (void)record;
    return FAILED;
}

int32_t ZEPA_DevSrv_GetFirmwareVersion(FirmwareVersionRecord *record)
{
    (void)record;
    return FAILED;
}

int32_t ZEPA_DevSrv_GetProductType(int32_t *productType)
{
    (void)productType;
    return FAILED;
}

int32_t ZEPA_DevSrv_GetUserNumMemAbility(int32_t *first, int32_t *index, int32_t *count,
                                         int32_t *fourth, int32_t *fifth)
{
    (void)first;
    (void)index;
    (void)count;
    (void)fourth;
    (void)fifth;
    return FAILED;
}

int32_t ZEPA_DevSrv_ReadUserNumItem(int32_t index, UserNumItem *item)
{
    (void)index;
    (void)item;
    return FAILED;
}

int32_t ZEPA_DevSrv_GetCardLockStatus(uint8_t *state, uint8_t *second, int32_t *third)
{
    (void)state;
    (void)second;
    (void)third;
    return FAILED;
}

int32_t ZEPA_NetSrv_GetCSRegState(RegStateRecord *record)
{
    (void)record;
    return FAILED;
}

int32_t ZEPA_NetSrv_SetCSRegReport(int32_t reportMode)
{
    (void)reportMode;
    return FAILED;
}

int32_t ZEPA_NetSrv_GetPSRegState(RegStateRecord *record)
{
    (void)record;
    return FAILED;
}

int32_t ZEPA_NetSrv_SetPSRegReport(int32_t reportMode)
{
    (void)reportMode;
    return FAILED;
}

int32_t ZEPA_NetSrv_GetCurPlmn(int32_t *selection, char *plmn)
{
    (void)selection;
    (void)plmn;
    return FAILED;
}

int32_t ZEPA_NetSrv_GetSysInfoEx(SysInfoRecord *record)
{
    (void)record;
    return FAILED;
}

int32_t ZEPA_SMSSrv_CreateSMSRecord(void **handle, const uint16_t *number, const uint16_t *text)
{
    (void)handle;
    (void)number;
    (void)text;
    return FAILED;
}

int32_t ZEPA_SMSSrv_SendMsg(void *handle)
{
    (void)handle;
    return FAILED;
}

int32_t ZEPA_SMSSrv_ReleaseSMSRecord(void **handle)
{
    (void)handle;
    return FAILED;
}

int32_t ZEPA_SMSSrv_SetSMSReceiptNotify(bool enable)
{
    (void)enable;
    return FAILED;
}

int32_t ZEPA_RegDataRevCallBack(ZEPA_DataRevCallback callback)
{
    answerCallback = callback;
    return 0;
}

int32_t ZEPA_UnRegDataRevCallBack(ZEPA_DataRevCallback callback)
{
    if (callback != answerCallback)
        return FAILED;
    answerCallback = NULL;
    return 0;
}

int32_t ZEPA_ExuceATCmd(const char *command, int32_t length)
{
    (void)command;
    (void)length;
    return FAILED;
}

int32_t ZEPA_EndExuceATCmd(void)
{
    return FAILED;
}
