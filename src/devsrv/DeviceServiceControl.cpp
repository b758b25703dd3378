// SPDX-License-Identifier: MIT
#include "devsrv/DeviceServiceControl.h"

#include "Service.h"
#include "emulated/EmulatedCard.h"
#include "serial/ModemFields.h"
#include "shared/DeviceServiceFunctions.h"
#include "shared/Guard.h"

#include <span>

using namespace devsrv;

namespace {

constexpr std::int32_t kSuccess = 0;
constexpr std::int32_t kFailure = 1;

thread_local std::string t_lastError;
thread_local std::string t_journal;
thread_local std::string t_activeCard;

// The result of this thread's last search by device().
struct Found
{
    std::vector<BackendDevice> devices;
    std::string error;
};
thread_local Found t_found;

std::int32_t fail(const QString &what)
{
    t_lastError = what.toStdString();
    return kFailure;
}

// Runs `action` on the emulated card; fails if another backend is active.
template <typename Action>
std::int32_t onCard(Action action)
{
    return shared::guarded(__func__, kFailure, [&] {
        const auto use = Service::instance().backend();
        auto *const card = dynamic_cast<EmulatedCard *>(&use.card());
        if (!card)
            return fail(QStringLiteral("the active backend has no emulated card; start one, for "
                                       "example \"emulated:lte\""));
        return action(*card);
    });
}

std::int32_t start(const char *choice)
{
    return shared::guarded(__func__, kFailure, [=] {
        std::string error;
        const bool started = Service::instance().startBackend(
            [&](EventSink raise, const FreeDevices &freeDevices) {
                return makeBackend(choice, std::move(raise), error, freeDevices);
            });
        return started ? kSuccess : fail(QString::fromStdString(error));
    });
}

void stop()
{
    shared::guarded(__func__, [] { Service::instance().stopBackend(); });
}

const char *lastError()
{
    return t_lastError.c_str();
}

std::int32_t callbackCount()
{
    return static_cast<std::int32_t>(Service::instance().callbackCount());
}

// The element of a list at `index`; null after its end.
template <typename List>
auto *at(const List &list, std::int32_t index)
{
    const bool inside = index >= 0 && index < static_cast<std::int32_t>(std::size(list));
    return inside ? &list[static_cast<std::size_t>(index)] : nullptr;
}

void setEventDelivery(std::int32_t mode)
{
    Service::instance().deliverAtOnce(mode == DEVSRV_EVENTS_AT_ONCE);
}

const DevSrvBackend *backend(std::int32_t index)
{
    const BackendEntry *const entry = at(backendEntries(), index);
    return entry ? &entry->facts : nullptr;
}

Found devicesOf(const std::string &name)
{
    Found found;
    const BackendEntry *const entry = findBackend(name);
    if (!entry)
        found.error = "there is no backend \"" + name + '"';
    else if (entry->list)
        found.devices = entry->list(found.error);
    for (BackendDevice &device : found.devices)
        device.argument = name + ':' + device.argument;
    return found;
}

const char *device(const char *backend, std::int32_t index, const char **description)
{
    return shared::guarded(__func__, static_cast<const char *>(nullptr), [=]() -> const char * {
        if (index == 0)
            t_found = devicesOf(backend);
        const BackendDevice *const found = at(t_found.devices, index);
        if (!found) {
            t_lastError = t_found.error;
            return nullptr;
        }
        *description = found->description.c_str();
        return found->argument.c_str();
    });
}

const char *activeCard()
{
    t_activeCard.clear();
    shared::guarded(__func__,
                    [] { t_activeCard = Service::instance().backend().card().description(); });
    return t_activeCard.c_str();
}

const char *shippedCard(std::int32_t index, const char **description)
{
    const ShippedCard *const card = at(shippedCards(), index);
    if (!card)
        return nullptr;
    *description = card->description;
    return card->name;
}

const char *cardField(std::int32_t index, const char **kind)
{
    const CardField *const field = at(cardFields(), index);
    if (!field)
        return nullptr;
    static CardDescription probe;
    static constexpr const char *kKinds[] = {"true or false", "number", "text"};
    *kind = kKinds[field->in(probe).index()];
    return field->key;
}

const char *modemField(std::int32_t index, const char **help)
{
    const ModemField *const field = at(std::span(kModemFields), index);
    if (!field)
        return nullptr;
    *help = field->help;
    return field->name;
}

std::int32_t loadCard(const char *nameOrFile)
{
    return onCard([=](EmulatedCard &card) {
        QString error;
        const auto description = readCard(QString::fromUtf8(nameOrFile), error);
        if (!description)
            return fail(error);
        card.load(*description);
        return kSuccess;
    });
}

std::int32_t insert()
{
    return onCard([](EmulatedCard &card) {
        card.insert();
        return kSuccess;
    });
}

std::int32_t removeCard()
{
    return onCard([](EmulatedCard &card) {
        card.remove();
        return kSuccess;
    });
}

std::int32_t setField(const char *field, const char *value)
{
    return onCard([=](EmulatedCard &card) {
        const QString wrong = card.set(QString::fromUtf8(field), QString::fromUtf8(value));
        return wrong.isEmpty() ? kSuccess : fail(wrong);
    });
}

std::int32_t raiseEvent(std::int32_t event)
{
    return onCard([=](EmulatedCard &card) {
        card.raise(event);
        return kSuccess;
    });
}

std::int32_t setFault(const char *function, const DevSrvFault *fault)
{
    return onCard([=](EmulatedCard &card) {
        if (!shared::isDeviceServiceFunction(function)) {
            return fail(QStringLiteral("the device service has no function \"%1\"")
                            .arg(QLatin1String(function)));
        }
        card.faults().set(function, fault ? *fault : DevSrvFault{});
        return kSuccess;
    });
}

std::int32_t setAnswerMode(std::int32_t mode)
{
    return onCard([=](EmulatedCard &card) {
        card.setAnswerMode(mode);
        return kSuccess;
    });
}

const char *journal()
{
    t_journal.clear();
    onCard([](EmulatedCard &card) {
        t_journal = card.journal().text();
        return kSuccess;
    });
    return t_journal.c_str();
}

void clearJournal()
{
    onCard([](EmulatedCard &card) {
        card.journal().clear();
        return kSuccess;
    });
}

const char *functionName(std::int32_t index)
{
    const auto *const function = at(shared::kDeviceServiceFunctions, index);
    return function ? function->name : nullptr;
}

constexpr DeviceServiceControl kControl = {
    sizeof(DeviceServiceControl),
    start,
    stop,
    lastError,
    callbackCount,
    shippedCard,
    cardField,
    loadCard,
    insert,
    removeCard,
    setField,
    raiseEvent,
    setFault,
    setAnswerMode,
    journal,
    clearJournal,
    functionName,
    backend,
    setEventDelivery,
    device,
    activeCard,
    modemField,
};

} // namespace

const DeviceServiceControl *DevSrv_GetControl(void)
{
    return &kControl;
}
