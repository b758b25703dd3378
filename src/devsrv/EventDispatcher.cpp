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
    end();
}

void EventQueue::post(std::int32_t event)
{
    const std::lock_guard lock(m_mutex);
    if (m_ending)
        return;
    std::erase(m_pending, event);
    m_pending.push_back(event);
    if (!m_thread.joinable())
        m_thread = std::thread(&EventQueue::run, this);
    m_changed.notify_all();
}

void EventQueue::clear()
{
    const std::lock_guard lock(m_mutex);
    m_pending.clear();
}

void EventQueue::waitForDelivery()
{
    std::unique_lock lock(m_mutex);
    if (m_delivering && !m_ending)
        m_changed.wait(lock, [this, last = m_delivered] { return m_delivered > last; });
}

void EventQueue::end()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        m_pending.clear();
        m_changed.notify_all();
    }
    if (!m_thread.joinable())
        return;
    // A callback that ends the process never returns to this thread's loop.
    if (m_thread.get_id() == std::this_thread::get_id())
        m_thread.detach();
    else
        m_thread.join();
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
        ++m_delivered;
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

void EventDispatcher::waitForDeliveries()
{
    m_presence.waitForDelivery();
    m_changes.waitForDelivery();
}

void EventDispatcher::end()
{
    m_presence.end();
    m_changes.end();
}

} // namespace devsrv
