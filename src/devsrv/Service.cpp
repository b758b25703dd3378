// SPDX-License-Identifier: MIT
#include "Service.h"

#include "EventDelivery.h"

#include <QScopeGuard>

#include <utility>

namespace devsrv {

Service &Service::instance()
{
    static Service service;
    return service;
}

Service::BackendUse::BackendUse(Service &service, ActiveBackend &active)
    : m_service(service), m_active(active)
{
    ++m_active.users;
}

Service::BackendUse::~BackendUse()
{
    const std::lock_guard lock(m_service.m_mutex);
    if (--m_active.users == 0)
        m_service.m_backendUnused.notify_all();
}

Service::~Service()
{
    // A delivery may ask the backend, and the backend's threads may raise events until it has
    // ended.
    m_dispatcher.end();
    if (t_runningKind == CallbackKind::None) {
        stopBackend();
    } else {
        // A callback that ends the program is inside a call, or on a thread of the backend, that
        // the end of the backend would wait for. Leak checkers find it here.
        [[maybe_unused]] static const ActiveBackend *const s_left = m_active.release();
    }
}

Service::BackendUse Service::backend()
{
    const std::lock_guard lock(m_mutex);
    if (!m_active)
        m_active = makeActive(makeDefaultBackend);
    return {*this, *m_active};
}

bool Service::startBackend(const MakeBackend &make)
{
    std::shared_ptr<CardBackend> released;
    const FreeDevices freeDevices = [&] {
        {
            const std::lock_guard lock(m_mutex);
            if (m_active)
                released = m_active->backend.card;
        }
        if (released)
            released->release();
    };
    // Also if `make` throws.
    const auto takeBack = qScopeGuard([&] {
        if (released)
            released->takeBack();
    });
    auto started = makeActive([&](EventSink raise) { return make(std::move(raise), freeDevices); });
    if (!started->backend.card)
        return false;
    released.reset();
    replaceBackend(std::move(started));
    return true;
}

std::unique_ptr<Service::ActiveBackend>
Service::makeActive(const std::function<Backend(EventSink)> &make)
{
    const BackendId id = ++m_lastId;
    Backend backend = make([this, id](std::int32_t event) { raise(event, id); });
    return std::make_unique<ActiveBackend>(ActiveBackend{std::move(backend), id});
}

void Service::replaceBackend(std::unique_ptr<ActiveBackend> started)
{
    // Another thread may replace it, too.
    const auto card = started ? started->backend.card : nullptr;
    std::unique_ptr<ActiveBackend> replaced = std::move(started);
    {
        const std::lock_guard lock(m_mutex);
        m_active.swap(replaced);
        m_messages.clear();
        receipts = false;
        // Events of the old backend do not describe the new one.
        m_dispatcher.clear();
    }
    m_dispatcher.waitForDeliveries();
    if (card)
        card->begin();
    if (!replaced)
        return;
    std::unique_lock lock(m_mutex);
    m_backendUnused.wait(lock, [&] { return replaced->users == 0; });
    lock.unlock();
    // No lock is held while the old backend ends, since its threads may call the service.
    replaced.reset();
}

void *Service::keep(std::shared_ptr<SmsMessage> message)
{
    const std::lock_guard lock(m_mutex);
    void *const handle = message.get();
    m_messages.emplace(handle, std::move(message));
    return handle;
}

std::shared_ptr<SmsMessage> Service::message(void *handle)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_messages.find(handle);
    return found == m_messages.end() ? nullptr : found->second;
}

bool Service::drop(void *handle)
{
    const std::lock_guard lock(m_mutex);
    return m_messages.erase(handle) > 0;
}

// Has the callbacks of the event's channel called: on the dispatcher's threads, or at once on this
// thread if that was chosen. An event of a backend that is not active has no effect.
void Service::raise(std::int32_t event, BackendId source) noexcept
{
    shared::guarded(__func__, [&] {
        if (post(event, source))
            deliver(event);
    });
}

// Posts the event unless it is to be delivered at once. Returns true if it is.
bool Service::post(std::int32_t event, BackendId source)
{
    // Until the lock is released, no other backend becomes active.
    const std::lock_guard lock(m_mutex);
    if (!m_active || m_active->id != source)
        return false;
    const bool atOnce = m_deliversAtOnce;
    if (!atOnce)
        m_dispatcher.post(event);
    return atOnce;
}

void Service::deliver(std::int32_t event)
{
    ++t_deliveredEvents;
    if (event == ZEPA_EVENT_DEV_DEVICE_INIT_FINISH)
        deviceInit.call(event, nullptr);
    else
        deviceManager.call(event, nullptr);
}

} // namespace devsrv
