// SPDX-License-Identifier: MIT
#include "CallTap.h"

#include "devsrv/DeviceService.h"

#include <chrono>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <string_view>
#include <vector>

namespace {

void *s_service = nullptr;
CallTapObserver s_observer = nullptr;
void *s_context = nullptr;

// The values of one call.
class Values
{
public:
    // Reserves room, so that the texts do not move.
    Values() { m_texts.reserve(kMost); }

    template <std::size_t Size>
    void add(const char *field, const char (&text)[Size])
    {
        addText(field, text, Size);
    }
    void addText(const char *field, const char *text, std::size_t room)
    {
        addBytes(field, {text, strnlen(text, room)});
    }
    void addNumber(const char *field, std::int32_t number)
    {
        addBytes(field, std::to_string(number));
    }
    const std::vector<CallTapValue> &list() const { return m_list; }

private:
    static constexpr std::size_t kMost = 4;

    void addBytes(const char *field, std::string_view bytes)
    {
        m_texts.emplace_back(bytes);
        m_list.push_back({field, m_texts.back().c_str(), bytes.size()});
    }

    std::vector<std::string> m_texts;
    std::vector<CallTapValue> m_list;
};

// Passes the call on, and shows it to the observer. `outputs` adds what a successful call wrote.
template <auto *Function, typename Outputs, typename... Arguments>
std::int32_t ask(const char *name, Outputs outputs, Arguments... arguments)
{
    static auto *const function = reinterpret_cast<decltype(Function)>(dlsym(s_service, name));
    if (!function)
        return -1;
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    const std::int32_t result = function(arguments...);
    const std::chrono::nanoseconds duration = Clock::now() - begin;
    Values values;
    if (result == 0)
        outputs(values);
    const CallTapCall call{name, result, duration.count(), values.list().data(),
                           values.list().size()};
    s_observer(&call, s_context);
    return result;
}

// A call without outputs of interest.
template <auto *Function, typename... Arguments>
std::int32_t act(const char *name, Arguments... arguments)
{
    return ask<Function>(
        name, [](Values &) {}, arguments...);
}

template <auto *Function>
std::int32_t askText(const char *name, const char *field, char *text)
{
    return ask<Function>(
        name, [=](Values &values) { values.addText(field, text, ZEPA_TEXT_SIZE); }, text);
}

template <auto *Function>
std::int32_t askNumber(const char *name, const char *field, std::int32_t *number)
{
    return ask<Function>(
        name, [=](Values &values) { values.addNumber(field, *number); }, number);
}

struct RegistrationFields
{
    const char *reportMode;
    const char *state;
    const char *lac;
    const char *cellId;
};

template <auto *Function>
std::int32_t askRegistration(const char *name, const RegistrationFields &fields,
                             RegStateRecord *record)
{
    return ask<Function>(
        name,
        [=](Values &values) {
            values.addNumber(fields.reportMode, record->reportMode);
            values.addNumber(fields.state, record->state);
            values.add(fields.lac, record->lac);
            values.add(fields.cellId, record->cellId);
        },
        record);
}

} // namespace

const char *CallTap_Open(const char *file, CallTapObserver observer, void *context)
{
    s_observer = observer;
    s_context = context;
    s_service = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (!s_service)
        return dlerror();
    // This library would pass each call on to itself.
    return dlsym(s_service, "CallTap_Open") ? "it is not a device service" : nullptr;
}

int32_t ZEPA_DevSrv_RegisterDevMgrCallback(ZEPA_DevEventCallback callback)
{
    return act<ZEPA_DevSrv_RegisterDevMgrCallback>(__func__, callback);
}

int32_t ZEPA_DevSrv_UnRegisterDevMgrCallback(ZEPA_DevEventCallback callback)
{
    return act<ZEPA_DevSrv_UnRegisterDevMgrCallback>(__func__, callback);
}

int32_t ZEPA_DevSrv_RegisterDevInitEventCallback(ZEPA_DevEventCallback callback)
{
    return act<ZEPA_DevSrv_RegisterDevInitEventCallback>(__func__, callback);
}

int32_t ZEPA_DevSrv_UnRegisterDevInitEventCallback(ZEPA_DevEventCallback callback)
{
    return act<ZEPA_DevSrv_UnRegisterDevInitEventCallback>(__func__, callback);
}

int32_t ZEPA_DevSrv_GetDevStatus(int32_t *status)
{
    return askNumber<ZEPA_DevSrv_GetDevStatus>(__func__, "Card/Status", status);
}

int32_t ZEPA_DevSrv_GetImeiInfo(char *imei)
{
    return askText<ZEPA_DevSrv_GetImeiInfo>(__func__, "Identity/IMEI", imei);
}

int32_t ZEPA_DevSrv_GetImsiInfo(char *imsi)
{
    return askText<ZEPA_DevSrv_GetImsiInfo>(__func__, "Identity/IMSI", imsi);
}

int32_t ZEPA_DevSrv_GetSN(char *serialNumber)
{
    return askText<ZEPA_DevSrv_GetSN>(__func__, "Identity/SN", serialNumber);
}

int32_t ZEPA_DevSrv_GetDeviceName(char *model)
{
    return askText<ZEPA_DevSrv_GetDeviceName>(__func__, "Identity/Model", model);
}

int32_t ZEPA_DevSrv_GetESN(EsnRecord *record)
{
    return ask<ZEPA_DevSrv_GetESN>(
        __func__,
        [=](Values &values) {
            values.add("Identity/ESN", record->esn);
            values.add("Identity/MEID", record->meid);
        },
        record);
}

int32_t ZEPA_DevSrv_GetFirmwareVersion(FirmwareVersionRecord *record)
{
    return ask<ZEPA_DevSrv_GetFirmwareVersion>(
        __func__,
        [=](Values &values) {
            values.add("Versions/Firmware", record->firmware);
            values.add("Versions/Hardware", record->hardware);
        },
        record);
}

int32_t ZEPA_DevSrv_GetProductType(int32_t *productType)
{
    return askNumber<ZEPA_DevSrv_GetProductType>(__func__, "Card/ProductType", productType);
}

int32_t ZEPA_DevSrv_GetUserNumMemAbility(int32_t *first, int32_t *index, int32_t *count,
                                         int32_t *fourth, int32_t *fifth)
{
    return ask<ZEPA_DevSrv_GetUserNumMemAbility>(
        __func__,
        [=](Values &values) {
            values.addNumber("Phonebook/Index", *index);
            values.addNumber("Phonebook/Count", *count);
        },
        first, index, count, fourth, fifth);
}

int32_t ZEPA_DevSrv_ReadUserNumItem(int32_t index, UserNumItem *item)
{
    return ask<ZEPA_DevSrv_ReadUserNumItem>(
        __func__, [=](Values &values) { values.add("Phonebook/Number", item->number); }, index,
        item);
}

int32_t ZEPA_DevSrv_GetCardLockStatus(uint8_t *state, uint8_t *second, int32_t *third)
{
    return ask<ZEPA_DevSrv_GetCardLockStatus>(
        __func__, [=](Values &values) { values.addNumber("Lock/State", *state); }, state, second,
        third);
}

int32_t ZEPA_NetSrv_GetCSRegState(RegStateRecord *record)
{
    return askRegistration<ZEPA_NetSrv_GetCSRegState>(
        __func__, {"CS/ReportMode", "CS/State", "CS/LAC", "CS/CellID"}, record);
}

int32_t ZEPA_NetSrv_SetCSRegReport(int32_t reportMode)
{
    return act<ZEPA_NetSrv_SetCSRegReport>(__func__, reportMode);
}

int32_t ZEPA_NetSrv_GetPSRegState(RegStateRecord *record)
{
    return askRegistration<ZEPA_NetSrv_GetPSRegState>(
        __func__, {"PS/ReportMode", "PS/State", "PS/LAC", "PS/CellID"}, record);
}

int32_t ZEPA_NetSrv_SetPSRegReport(int32_t reportMode)
{
    return act<ZEPA_NetSrv_SetPSRegReport>(__func__, reportMode);
}

int32_t ZEPA_NetSrv_GetCurPlmn(int32_t *selection, char *plmn)
{
    return ask<ZEPA_NetSrv_GetCurPlmn>(
        __func__, [=](Values &values) { values.addText("Network/PLMN", plmn, ZEPA_PLMN_SIZE); },
        selection, plmn);
}

int32_t ZEPA_NetSrv_GetSysInfoEx(SysInfoRecord *record)
{
    return ask<ZEPA_NetSrv_GetSysInfoEx>(
        __func__,
        [=](Values &values) {
            values.addNumber("Network/SystemMode", record->sysMode);
            values.addNumber("Network/SubMode", record->subMode);
        },
        record);
}

int32_t ZEPA_SMSSrv_CreateSMSRecord(void **handle, const uint16_t *number, const uint16_t *text)
{
    return act<ZEPA_SMSSrv_CreateSMSRecord>(__func__, handle, number, text);
}

int32_t ZEPA_SMSSrv_SendMsg(void *handle)
{
    return act<ZEPA_SMSSrv_SendMsg>(__func__, handle);
}

int32_t ZEPA_SMSSrv_ReleaseSMSRecord(void **handle)
{
    return act<ZEPA_SMSSrv_ReleaseSMSRecord>(__func__, handle);
}

int32_t ZEPA_SMSSrv_SetSMSReceiptNotify(bool enable)
{
    return act<ZEPA_SMSSrv_SetSMSReceiptNotify>(__func__, enable);
}

int32_t ZEPA_RegDataRevCallBack(ZEPA_DataRevCallback callback)
{
    return act<ZEPA_RegDataRevCallBack>(__func__, callback);
}

int32_t ZEPA_UnRegDataRevCallBack(ZEPA_DataRevCallback callback)
{
    return act<ZEPA_UnRegDataRevCallBack>(__func__, callback);
}

int32_t ZEPA_ExuceATCmd(const char *command, int32_t length)
{
    return act<ZEPA_ExuceATCmd>(__func__, command, length);
}

int32_t ZEPA_EndExuceATCmd(void)
{
    return act<ZEPA_EndExuceATCmd>(__func__);
}
