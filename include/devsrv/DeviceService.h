/* SPDX-License-Identifier: MIT */
#ifndef DEVSRV_DEVICESERVICE_H
#define DEVSRV_DEVICESERVICE_H

/*
 * The device-service library, libsdk.so.1: the plain C interface to the data card.
 *
 * Every function returns 0 for success and any other value for failure; the service does not define
 * the other values. The outputs of a failed call are undefined. Memory belongs to the caller. Texts
 * are 8-bit and end in a NUL within the given size. The functions may be called from any thread,
 * also from inside a callback; they block until the card has answered or the backend's time-out.
 *
 * The service calls callbacks on a thread of its choice, which may be the thread of a call that has
 * not yet returned. When a withdrawal returns, the callback does not run and will not run again. A
 * withdrawal from inside a callback does not wait for callbacks that run on other threads, which
 * may therefore finish later. The one exception: the withdrawal of an AT-channel callback from
 * inside an event callback waits; the AT-channel callback must not wait for event callbacks. A
 * callback that is registered on a channel several times is called once per event, and one
 * withdrawal removes it. A callback must not throw; an exception ends it and is logged as a
 * warning.
 */

#include <assert.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* Marks what the library exports. */
#if defined(_WIN32)
#define ZEPA_API
#else
#define ZEPA_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Device events ------------------------------------------------------------------------- */

/*
 * The name of 6014 is the service's own. The others have no published name; the comments say when
 * our service raises them.
 */
enum {
    DEVSRV_EVENT_CARD_CHANGED = 6002,         /* a card was inserted or removed */
    ZEPA_EVENT_DEV_DEVICE_INIT_FINISH = 6014, /* a card is ready; ask for the device status */
    DEVSRV_EVENT_SIM_CHANGED = 6016,          /* the SIM or its lock changed */
    DEVSRV_EVENT_DEVICE_REMOVED = 6601,       /* the card was removed */
    DEVSRV_EVENT_DEVICE_ENABLED = 6602,       /* the card's radio was switched on */
    DEVSRV_EVENT_DEVICE_LOST = 6603,          /* the card no longer answers */
    DEVSRV_EVENT_NETWORK_CHANGED = 6614       /* registration, technology, operator or cell */
};

/* The device status of a card that is ready for use. */
enum { DEVSRV_STATUS_READY = 3 };

/* `data` belongs to the service. Returns 1 if the event was handled, else 0. */
typedef int (*ZEPA_DevEventCallback)(int event, void *data);

/* Registers for the device-manager channel: every event except ZEPA_EVENT_DEV_DEVICE_INIT_FINISH.
 */
ZEPA_API int32_t ZEPA_DevSrv_RegisterDevMgrCallback(ZEPA_DevEventCallback callback);

/* Withdraws from the device-manager channel. Fails if the callback is not registered. */
ZEPA_API int32_t ZEPA_DevSrv_UnRegisterDevMgrCallback(ZEPA_DevEventCallback callback);

/* Registers for the init-event channel: ZEPA_EVENT_DEV_DEVICE_INIT_FINISH alone. */
ZEPA_API int32_t ZEPA_DevSrv_RegisterDevInitEventCallback(ZEPA_DevEventCallback callback);

/* Withdraws from the init-event channel. Fails if the callback is not registered. */
ZEPA_API int32_t ZEPA_DevSrv_UnRegisterDevInitEventCallback(ZEPA_DevEventCallback callback);

/* ---- Device -------------------------------------------------------------------------------- */

/* The size in bytes, with the closing NUL, of the buffers for IMEI, IMSI, serial number, model. */
enum { ZEPA_TEXT_SIZE = 24 };

/* The card's versions, as the maker writes them. */
typedef struct FirmwareVersionRecord
{
    char firmware[40]; /* version of the firmware */
    char hardware[40]; /* version of the hardware */
} FirmwareVersionRecord;
static_assert(sizeof(FirmwareVersionRecord) == 80, "layout of the service");
static_assert(offsetof(FirmwareVersionRecord, hardware) == 40, "layout of the service");

/* The identity of a CDMA card. */
typedef struct EsnRecord
{
    char esn[32];  /* electronic serial number; "" if there is none */
    char meid[32]; /* mobile equipment identifier; "" if there is none */
} EsnRecord;
static_assert(sizeof(EsnRecord) == 64, "layout of the service");
static_assert(offsetof(EsnRecord, meid) == 32, "layout of the service");

/* One entry of the SIM's own-number phonebook. */
typedef struct UserNumItem
{
    char reserved[260]; /* not used here */
    char number[128];   /* the subscriber's number */
} UserNumItem;
static_assert(sizeof(UserNumItem) == 388, "layout of the service");
static_assert(offsetof(UserNumItem, number) == 260, "layout of the service");

/* The product families. Other numbers stand for families without a name here. */
enum {
    ZEPA_PRODUCT_TYPE_WCDMA = 0,   /* GSM, UMTS and LTE */
    ZEPA_PRODUCT_TYPE_CDMA = 1,    /* CDMA 1x and EV-DO */
    ZEPA_PRODUCT_TYPE_TD_SCDMA = 2 /* TD-SCDMA */
};

/* Writes the device status: DEVSRV_STATUS_READY, or another number for a card that is not ready. */
ZEPA_API int32_t ZEPA_DevSrv_GetDevStatus(int32_t *status);

/* Writes the IMEI, the equipment's identity, into ZEPA_TEXT_SIZE bytes. */
ZEPA_API int32_t ZEPA_DevSrv_GetImeiInfo(char *imei);

/* Writes the IMSI, the subscriber's identity, into ZEPA_TEXT_SIZE bytes. */
ZEPA_API int32_t ZEPA_DevSrv_GetImsiInfo(char *imsi);

/* Writes the card's serial number into ZEPA_TEXT_SIZE bytes. */
ZEPA_API int32_t ZEPA_DevSrv_GetSN(char *serialNumber);

/* Writes the card's model into ZEPA_TEXT_SIZE bytes. */
ZEPA_API int32_t ZEPA_DevSrv_GetDeviceName(char *model);

/* Writes the identity of a CDMA card. */
ZEPA_API int32_t ZEPA_DevSrv_GetESN(EsnRecord *record);

/* Writes the versions of firmware and hardware. */
ZEPA_API int32_t ZEPA_DevSrv_GetFirmwareVersion(FirmwareVersionRecord *record);

/* Writes the product family, one of ZEPA_PRODUCT_TYPE_WCDMA and so on. */
ZEPA_API int32_t ZEPA_DevSrv_GetProductType(int32_t *productType);

/*
 * The own-number phonebook: `index` is the entry to read, `count` the number of entries. `first`,
 * `fourth` and `fifth` have no published meaning; our service writes 0.
 */
ZEPA_API int32_t ZEPA_DevSrv_GetUserNumMemAbility(int32_t *first, int32_t *index, int32_t *count,
                                                  int32_t *fourth, int32_t *fifth);

/* Reads the entry with that index of the own-number phonebook. */
ZEPA_API int32_t ZEPA_DevSrv_ReadUserNumItem(int32_t index, UserNumItem *item);

/*
 * The SIM-lock state; 0 is not locked. `second` and `third` have no published meaning; our service
 * writes 0.
 */
ZEPA_API int32_t ZEPA_DevSrv_GetCardLockStatus(uint8_t *state, uint8_t *second, int32_t *third);

/* ---- Network ------------------------------------------------------------------------------- */

/* A registration with the network. */
typedef struct RegStateRecord
{
    int32_t reportMode; /* as in AT+CREG: 2 reports location changes */
    int32_t state;      /* as in AT+CREG: 1 registered at home, 5 roaming */
    char lac[16];       /* location area code; tracking area code on LTE */
    char cellId[24];    /* cell identity */
} RegStateRecord;
static_assert(sizeof(RegStateRecord) == 48, "layout of the service");
static_assert(offsetof(RegStateRecord, lac) == 8, "layout of the service");
static_assert(offsetof(RegStateRecord, cellId) == 24, "layout of the service");

/* The radio system. What is reserved is not used here. */
typedef struct SysInfoRecord
{
    int32_t reserved0;    /* reserved */
    int32_t sysMode;      /* the system, for example 3 for GSM and 6 for LTE */
    int32_t reserved8[3]; /* reserved */
    int32_t subMode;      /* the access technology within it, for example 42 for HSDPA */
    int32_t reserved24;   /* reserved */
    char reserved28[64];  /* reserved */
    char reserved92[64];  /* reserved */
} SysInfoRecord;
static_assert(sizeof(SysInfoRecord) == 156, "layout of the service");
static_assert(offsetof(SysInfoRecord, sysMode) == 4, "layout of the service");
static_assert(offsetof(SysInfoRecord, subMode) == 20, "layout of the service");

/* The size in bytes, with the closing NUL, of the buffer for the PLMN. */
enum { ZEPA_PLMN_SIZE = 8 };

/* Writes the circuit-switched registration. */
ZEPA_API int32_t ZEPA_NetSrv_GetCSRegState(RegStateRecord *record);

/* Sets the report mode of the circuit-switched registration. */
ZEPA_API int32_t ZEPA_NetSrv_SetCSRegReport(int32_t reportMode);

/* Writes the packet-switched registration. */
ZEPA_API int32_t ZEPA_NetSrv_GetPSRegState(RegStateRecord *record);

/* Sets the report mode of the packet-switched registration. */
ZEPA_API int32_t ZEPA_NetSrv_SetPSRegReport(int32_t reportMode);

/* Writes MCC and MNC as digits to `plmn`, ZEPA_PLMN_SIZE bytes. Ours writes 0 to `selection`. */
ZEPA_API int32_t ZEPA_NetSrv_GetCurPlmn(int32_t *selection, char *plmn);

/* Writes system mode and sub-mode. The caller zeroes the record before the call. */
ZEPA_API int32_t ZEPA_NetSrv_GetSysInfoEx(SysInfoRecord *record);

/* ---- SMS ----------------------------------------------------------------------------------- */

/*
 * Creates a message from two NUL-terminated UTF-16 texts. If `*handle` is not null afterwards, also
 * after a failure, the caller must release it with ZEPA_SMSSrv_ReleaseSMSRecord.
 */
ZEPA_API int32_t ZEPA_SMSSrv_CreateSMSRecord(void **handle, const uint16_t *number,
                                             const uint16_t *text);

/* Sends a message. The handle stays valid. */
ZEPA_API int32_t ZEPA_SMSSrv_SendMsg(void *handle);

/*
 * Frees the message and sets `*handle` to null. Our service also frees it when the backend ends,
 * and fails for a handle that it does not know.
 */
ZEPA_API int32_t ZEPA_SMSSrv_ReleaseSMSRecord(void **handle);

/* Switches delivery receipts on or off for the messages that are sent from now on. */
ZEPA_API int32_t ZEPA_SMSSrv_SetSMSReceiptNotify(bool enable);

/* ---- AT command channel -------------------------------------------------------------------- */

/*
 * Receives one piece of the card's answer: `data` is NUL-terminated text of `length` bytes, valid
 * during the call. Returns 0 if the piece ends the query, else 1; our service delivers the pieces
 * that follow in both cases.
 */
typedef int (*ZEPA_DataRevCallback)(void *data, int length);

/* Registers for the pieces of answers. */
ZEPA_API int32_t ZEPA_RegDataRevCallBack(ZEPA_DataRevCallback callback);

/* Withdraws from the pieces of answers. Fails if the callback is not registered. */
ZEPA_API int32_t ZEPA_UnRegDataRevCallBack(ZEPA_DataRevCallback callback);

/*
 * Sends `length` bytes to the card. The registered callbacks receive the answer before this call or
 * the ZEPA_EndExuceATCmd after it returns.
 */
ZEPA_API int32_t ZEPA_ExuceATCmd(const char *command, int32_t length);

/* Ends the command: waits until its answer is delivered, except from inside that delivery. */
ZEPA_API int32_t ZEPA_EndExuceATCmd(void);

#ifdef __cplusplus
}
#endif

#endif
