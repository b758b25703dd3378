// SPDX-License-Identifier: MIT
#include "EventDispatcher.h"

#include "shared/Guard.h"

#include <utility>

namespace devsrv {

namespace {

bool isPresenceEvent(std::int32_t event)
{
    return event == ZEPA_EVENT_DEV_DEVICE_INIT_FINISH || event == DEVSRV_EVENT_DEVICE_REMOVED
        || event == DEVSRV_EVENT_DEVICE_ENABLED || event == DEVSRV_EVENT_DEVICE_LOST;
}

} // namespace

EventQueue::EventQueue(EventSink deliver) : m_deliver(std::move(deliver)) {}

EventQueue::~EventQueue()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        m_changed.notify_all();
    }
    // A callback that ends the program runs on this thread, which does not return.
    if (m_thread.get_id() == std::this_thread::get_id())
        m_thread.detach();
    else if (m_thread.joinable())
        m_thread.join();
}

void EventQueue::post(std::int32_t event)
{
    const std::lock_guard lock(m_mutex);
    std::erase(m_pending, event);
    m_pending.push_back(event);
    if (!m_thread.joinable())
        m_thread = std::thread(&EventQueue::run, this);
    m_changed.notify_all();
}

void EventQueue::clear()
{
    std::unique_lock lock(m_mutex);
    m_pending.clear();
    m_changed.wait(lock, [this] { return !m_delivering; });
}

void EventQueue::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_ending || !m_pending.empty(); });
        if (m_ending)
            return;
        const std::int32_t event = m_pending.front();
        m_pending.pop_front();
        m_delivering = true;
        lock.unlock();
        shared::guarded("the delivery of an event", [&] { m_deliver(event); });
        lock.lock();
        m_delivering = false;
        m_changed.notify_all();
    }
}

void EventDispatcher::post(std::int32_t event)
{
    (isPresenceEvent(event) ? m_presence : m_changes).post(event);
}

void EventDispatcher::clear()
{
    m_presence.clear();
    m_changes.clear();
}

} // namespace devsrv
