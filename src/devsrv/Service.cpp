// SPDX-License-Identifier: MIT
#include "Service.h"

#include "EventDelivery.h"

#include <utility>

namespace devsrv {

Service &Service::instance()
{
    static Service service;
    return service;
}

Service::~Service()
{
    // The backend's threads raise events until it has ended: it must end before the dispatcher
    // does. A callback that ends the program would wait for itself.
    if (t_runningKind == CallbackKind::None)
        replaceBackend({});
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

Service::BackendUse Service::backend()
{
    const std::lock_guard lock(m_mutex);
    if (!m_active) {
        m_active = std::make_unique<ActiveBackend>();
        m_active->backend = makeDefaultBackend([this](std::int32_t event) { raise(event); });
    }
    return {*this, *m_active};
}

void Service::replaceBackend(Backend backend)
{
    const std::shared_ptr<CardBackend> started = backend.card;
    std::unique_ptr<ActiveBackend> replaced;
    if (started)
        replaced = std::make_unique<ActiveBackend>(ActiveBackend{std::move(backend)});
    {
        std::unique_lock lock(m_mutex);
        m_active.swap(replaced);
        m_messages.clear();
        receipts = false;
    }
    // Events of the old backend do not describe the new one.
    m_dispatcher.clear();
    if (started)
        started->begin();
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

void Service::raise(std::int32_t event) noexcept
{
    shared::guarded(__func__, [&] {
        if (m_deliversAtOnce)
            deliver(event);
        else
            m_dispatcher.post(event);
    });
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
