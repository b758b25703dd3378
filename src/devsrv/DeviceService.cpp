// SPDX-License-Identifier: MIT

// The C boundary, the same for all backends: passes each call to the active backend and copies the
// answer into the caller's memory.

#include "devsrv/DeviceService.h"

#include "Service.h"
#include "TextForm.h"
#include "shared/Guard.h"

#include <QtCore/QtGlobal>

#include <cstring>
#include <mutex>
#include <set>
#include <string>

using namespace devsrv;

namespace {

constexpr std::int32_t kSuccess = 0;
constexpr std::int32_t kFailure = -1;

// What becomes of a text that is longer than the caller's buffer. An identity that lacks its end is
// another identity, so it fails instead.
enum class Excess { Cut, Fail };

// Warns once of each function whose texts are too long.
void warnOfExcess(const char *function, std::size_t length, std::size_t room, Excess excess)
{
    static std::mutex mutex;
    static std::set<std::string> warned;
    const std::lock_guard lock(mutex);
    if (!warned.insert(function).second)
        return;
    qWarning("device service: %s: a text of %zu characters is %s, since %zu fit", function, length,
             excess == Excess::Cut ? "cut" : "left out", room);
}

// Copies texts into the caller's buffers.
class TextWriter
{
public:
    TextWriter(const char *function, TextFill fill) : m_function(function), m_fill(fill) {}

    void operator()(char *buffer, std::size_t size, const std::string &text, Excess excess)
    {
        if (m_fill == TextFill::Whole && text.size() == size) {
            text.copy(buffer, size);
            return;
        }
        const bool fits = text.size() < size;
        if (!fits)
            warnOfExcess(m_function, text.size(), size - 1, excess);
        const bool fails = !fits && excess == Excess::Fail;
        m_failed = m_failed || fails;
        const std::size_t length = fails ? 0 : text.copy(buffer, size - 1);
        std::memset(buffer + length, 0, size - length);
        if (m_fill == TextFill::NoTerminator)
            std::memset(buffer + length, 'x', size - length);
        else if (m_fill == TextFill::HighBytes)
            std::memset(buffer, 0xe9, length);
    }

    template <std::size_t Size>
    void operator()(char (&buffer)[Size], const std::string &text, Excess excess)
    {
        (*this)(buffer, Size, text, excess);
    }

    bool failed() const { return m_failed; }

private:
    const char *const m_function;
    const TextFill m_fill;
    bool m_failed = false;
};

// One call on the active backend, seen by the backend's observer from beginning to end.
class Call
{
public:
    Call(const char *function, const std::string &arguments)
        : m_function(function), m_use(Service::instance().backend())
    {
        if (CallObserver *const observer = m_use.observer())
            m_outcome = observer->enter(function, arguments);
    }

    // The observer also sees the end of a call that an exception ended.
    ~Call()
    {
        shared::guarded(m_function, [this] {
            if (CallObserver *const observer = m_use.observer())
                observer->leave(m_function, m_result);
        });
    }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

    CardBackend &card() const { return m_use.card(); }
    const CallOutcome &outcome() const { return m_outcome; }

    // Returns the result that the caller gets. The observer's comes first.
    std::int32_t end(bool succeeded)
    {
        const std::int32_t own = succeeded ? kSuccess : kFailure;
        m_result = m_outcome.result != kSuccess ? m_outcome.result : own;
        return m_result;
    }

private:
    const char *const m_function;
    const Service::BackendUse m_use;
    CallOutcome m_outcome;
    std::int32_t m_result = kFailure;
};

// A call that returns a value: `query` asks the backend, `write` stores the answer.
template <typename Query, typename Write>
std::int32_t ask(const char *function, const std::string &arguments, Query query, Write write)
{
    return shared::guarded(function, kFailure, [&] {
        Call call(function, arguments);
        if (call.outcome().result != kSuccess && !call.outcome().writeOutputs)
            return call.end(false);
        const auto value = query(call.card());
        TextWriter writer(function, call.outcome().fill);
        if (value)
            write(*value, writer);
        return call.end(value && !writer.failed());
    });
}

// A call that performs an action.
template <typename Action>
std::int32_t act(const char *function, const std::string &arguments, Action action)
{
    return shared::guarded(function, kFailure, [&] {
        Call call(function, arguments);
        return call.end(call.outcome().result == kSuccess && action(call.card()));
    });
}

using TextQuery = std::optional<std::string> (CardBackend::*)();

std::int32_t askText(const char *function, TextQuery query, char *buffer, Excess excess)
{
    return ask(function, {}, std::mem_fn(query), [=](const std::string &text, TextWriter &write) {
        write(buffer, ZEPA_TEXT_SIZE, text, excess);
    });
}

std::int32_t askNumber(const char *function, std::optional<std::int32_t> (CardBackend::*query)(),
                       std::int32_t *number)
{
    return ask(function, {}, std::mem_fn(query),
               [=](std::int32_t value, TextWriter &) { *number = value; });
}

std::int32_t askRegistration(const char *function, Domain domain, RegStateRecord *record)
{
    return ask(
        function, {}, [=](CardBackend &backend) { return backend.registration(domain); },
        [=](const Registration &registration, TextWriter &write) {
            record->reportMode = registration.reportMode;
            record->state = registration.state;
            write(record->lac, registration.lac, Excess::Fail);
            write(record->cellId, registration.cellId, Excess::Fail);
        });
}

std::int32_t setReportMode(const char *function, Domain domain, std::int32_t mode)
{
    return act(function, std::to_string(mode),
               [=](CardBackend &backend) { return backend.setReportMode(domain, mode); });
}

template <typename Callback>
std::int32_t add(const char *function, CallbackChannel<Callback> &channel, Callback callback)
{
    return act(function, {}, [&](CardBackend &) {
        if (callback)
            channel.add(callback);
        return callback != nullptr;
    });
}

template <typename Callback>
std::int32_t withdraw(const char *function, CallbackChannel<Callback> &channel, Callback callback)
{
    return act(function, {}, [&](CardBackend &) { return channel.remove(callback); });
}

std::u16string toText(const std::uint16_t *units)
{
    std::u16string text;
    for (; *units != 0; ++units)
        text += static_cast<char16_t>(*units);
    return text;
}

} // namespace

int32_t ZEPA_DevSrv_RegisterDevMgrCallback(ZEPA_DevEventCallback callback)
{
    return add(__func__, Service::instance().deviceManager, callback);
}

int32_t ZEPA_DevSrv_UnRegisterDevMgrCallback(ZEPA_DevEventCallback callback)
{
    return withdraw(__func__, Service::instance().deviceManager, callback);
}

int32_t ZEPA_DevSrv_RegisterDevInitEventCallback(ZEPA_DevEventCallback callback)
{
    return add(__func__, Service::instance().deviceInit, callback);
}

int32_t ZEPA_DevSrv_UnRegisterDevInitEventCallback(ZEPA_DevEventCallback callback)
{
    return withdraw(__func__, Service::instance().deviceInit, callback);
}

int32_t ZEPA_DevSrv_GetDevStatus(int32_t *status)
{
    return askNumber(__func__, &CardBackend::status, status);
}

int32_t ZEPA_DevSrv_GetImeiInfo(char *imei)
{
    return askText(__func__, &CardBackend::imei, imei, Excess::Fail);
}

int32_t ZEPA_DevSrv_GetImsiInfo(char *imsi)
{
    return askText(__func__, &CardBackend::imsi, imsi, Excess::Fail);
}

int32_t ZEPA_DevSrv_GetSN(char *serialNumber)
{
    return askText(__func__, &CardBackend::serialNumber, serialNumber, Excess::Fail);
}

int32_t ZEPA_DevSrv_GetDeviceName(char *model)
{
    return askText(__func__, &CardBackend::model, model, Excess::Cut);
}

int32_t ZEPA_DevSrv_GetESN(EsnRecord *record)
{
    return ask(__func__, {}, std::mem_fn(&CardBackend::cdmaIdentity),
               [=](const CdmaIdentity &identity, TextWriter &write) {
                   write(record->esn, identity.esn, Excess::Fail);
                   write(record->meid, identity.meid, Excess::Fail);
               });
}

int32_t ZEPA_DevSrv_GetFirmwareVersion(FirmwareVersionRecord *record)
{
    return ask(__func__, {}, std::mem_fn(&CardBackend::versions),
               [=](const Versions &versions, TextWriter &write) {
                   write(record->firmware, versions.firmware, Excess::Cut);
                   write(record->hardware, versions.hardware, Excess::Cut);
               });
}

int32_t ZEPA_DevSrv_GetProductType(int32_t *productType)
{
    return askNumber(__func__, &CardBackend::productType, productType);
}

int32_t ZEPA_DevSrv_GetUserNumMemAbility(int32_t *first, int32_t *index, int32_t *count,
                                         int32_t *fourth, int32_t *fifth)
{
    return ask(__func__, {}, std::mem_fn(&CardBackend::numberMemory),
               [=](const NumberMemory &memory, TextWriter &) {
                   *index = memory.index;
                   *count = memory.count;
                   *first = *fourth = *fifth = 0;
               });
}

int32_t ZEPA_DevSrv_ReadUserNumItem(int32_t index, UserNumItem *item)
{
    return ask(
        __func__, std::to_string(index),
        [=](CardBackend &backend) { return backend.ownNumber(index); },
        [=](const std::string &number, TextWriter &write) {
            write(item->number, number, Excess::Fail);
        });
}

int32_t ZEPA_DevSrv_GetCardLockStatus(uint8_t *state, uint8_t *second, int32_t *third)
{
    return ask(__func__, {}, std::mem_fn(&CardBackend::lockState),
               [=](std::uint8_t lockState, TextWriter &) {
                   *state = lockState;
                   *second = 0;
                   *third = 0;
               });
}

int32_t ZEPA_NetSrv_GetCSRegState(RegStateRecord *record)
{
    return askRegistration(__func__, Domain::CircuitSwitched, record);
}

int32_t ZEPA_NetSrv_SetCSRegReport(int32_t reportMode)
{
    return setReportMode(__func__, Domain::CircuitSwitched, reportMode);
}

int32_t ZEPA_NetSrv_GetPSRegState(RegStateRecord *record)
{
    return askRegistration(__func__, Domain::PacketSwitched, record);
}

int32_t ZEPA_NetSrv_SetPSRegReport(int32_t reportMode)
{
    return setReportMode(__func__, Domain::PacketSwitched, reportMode);
}

int32_t ZEPA_NetSrv_GetCurPlmn(int32_t *selection, char *plmn)
{
    return ask(__func__, {}, std::mem_fn(&CardBackend::plmn),
               [=](const std::string &text, TextWriter &write) {
                   *selection = 0;
                   write(plmn, ZEPA_PLMN_SIZE, text, Excess::Fail);
               });
}

int32_t ZEPA_NetSrv_GetSysInfoEx(SysInfoRecord *record)
{
    return ask(__func__, {}, std::mem_fn(&CardBackend::systemInfo),
               [=](const SystemInfo &info, TextWriter &) {
                   record->sysMode = info.mode;
                   record->subMode = info.subMode;
               });
}

int32_t ZEPA_SMSSrv_CreateSMSRecord(void **handle, const uint16_t *number, const uint16_t *text)
{
    const char *const function = __func__;
    return shared::guarded(function, kFailure, [&] {
        auto message = std::make_shared<SmsMessage>();
        message->number = toText(number);
        message->text = toText(text);
        const std::string arguments = inQuotes(message->number) + ", " + inQuotes(message->text);
        return ask(
            function, arguments, [&](CardBackend &) { return std::optional(message); },
            [=](const std::shared_ptr<SmsMessage> &created, TextWriter &) {
                *handle = Service::instance().keep(created);
            });
    });
}

int32_t ZEPA_SMSSrv_SendMsg(void *handle)
{
    return act(__func__, {}, [=](CardBackend &backend) {
        const auto message = Service::instance().message(handle);
        if (!message)
            return false;
        message->receipt = Service::instance().receipts;
        return backend.sendSms(*message);
    });
}

int32_t ZEPA_SMSSrv_ReleaseSMSRecord(void **handle)
{
    return act(__func__, {}, [=](CardBackend &) {
        const bool known = Service::instance().drop(*handle);
        *handle = nullptr;
        return known;
    });
}

int32_t ZEPA_SMSSrv_SetSMSReceiptNotify(bool enable)
{
    return act(__func__, enable ? "1" : "0", [=](CardBackend &) {
        Service::instance().receipts = enable;
        return true;
    });
}

int32_t ZEPA_RegDataRevCallBack(ZEPA_DataRevCallback callback)
{
    return add(__func__, Service::instance().dataReceive, callback);
}

int32_t ZEPA_UnRegDataRevCallBack(ZEPA_DataRevCallback callback)
{
    return withdraw(__func__, Service::instance().dataReceive, callback);
}

int32_t ZEPA_ExuceATCmd(const char *command, int32_t length)
{
    if (length < 0)
        return kFailure;
    const char *const function = __func__;
    return shared::guarded(function, kFailure, [=] {
        const std::string bytes(command, static_cast<std::size_t>(length));
        const auto deliver = [](std::string piece) {
            Service::instance().dataReceive.call(piece.data(), static_cast<int>(piece.size()));
        };
        return act(function, inQuotes(bytes) + ", " + std::to_string(length),
                   [&](CardBackend &card) { return card.execute(bytes, deliver); });
    });
}

int32_t ZEPA_EndExuceATCmd(void)
{
    return act(__func__, {}, std::mem_fn(&CardBackend::endCommand));
}
