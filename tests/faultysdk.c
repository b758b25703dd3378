/* SPDX-License-Identifier: MIT */

/*
 * A device service that breaks the rules of "kestrun check". ANSWER_LENGTH is the length of its AT
 * answers as it tells them; 2 is right, and 0 means that there is none.
 */
#include "devsrv/DeviceService.h"

#include <stdlib.h>
#include <string.h>

int32_t ZEPA_DevSrv_GetImeiInfo(char *imei)
{
    memset(imei, '4', ZEPA_TEXT_SIZE);
    return 0;
}

int32_t ZEPA_DevSrv_GetImsiInfo(char *imsi)
{
    strcpy(imsi, "001010123456789001010123");
    return 0;
}

int32_t ZEPA_DevSrv_GetSN(char *serialNumber)
{
    (void)serialNumber;
    abort();
}

int32_t ZEPA_DevSrv_GetProductType(int32_t *productType)
{
    /* Takes it for 64 bits. */
    memset(productType, 0, 8);
    return 0;
}

int32_t ZEPA_NetSrv_GetCurPlmn(int32_t *selection, char *plmn)
{
    *selection = 0;
    strcpy(plmn, "262-01");
    return 0;
}

int32_t ZEPA_DevSrv_ReadUserNumItem(int32_t index, UserNumItem *item)
{
    (void)index;
    strcpy(item->number, "1");
    return 0;
}

int32_t ZEPA_DevSrv_UnRegisterDevMgrCallback(ZEPA_DevEventCallback callback)
{
    (void)callback;
    return 0;
}

/* Keeps one registration for each call. */
static _Atomic int initCallbacks;

int32_t ZEPA_DevSrv_RegisterDevInitEventCallback(ZEPA_DevEventCallback callback)
{
    (void)callback;
    ++initCallbacks;
    return 0;
}

int32_t ZEPA_DevSrv_UnRegisterDevInitEventCallback(ZEPA_DevEventCallback callback)
{
    (void)callback;
    return initCallbacks > 0 && initCallbacks-- > 0 ? 0 : -1;
}

static _Atomic ZEPA_DataRevCallback answerCallback;

int32_t ZEPA_RegDataRevCallBack(ZEPA_DataRevCallback callback)
{
    answerCallback = callback;
    return 0;
}

/* Says that it withdraws the callback, and keeps it. */
int32_t ZEPA_UnRegDataRevCallBack(ZEPA_DataRevCallback callback)
{
    return callback == answerCallback ? 0 : -1;
}

int32_t ZEPA_ExuceATCmd(const char *command, int32_t length)
{
    char answer[] = "OK";
    (void)command;
    (void)length;
    if (ANSWER_LENGTH > 0)
        answerCallback(answer, ANSWER_LENGTH);
    return 0;
}

int32_t ZEPA_SMSSrv_CreateSMSRecord(void **handle, const uint16_t *number, const uint16_t *text)
{
    (void)handle;
    (void)number;
    (void)text;
    return 0;
}
