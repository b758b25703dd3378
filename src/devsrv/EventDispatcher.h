// SPDX-License-Identifier: MIT
#pragma once

#include "CardBackend.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace devsrv {

/// Delivers events one after the other on a thread of its own, which the first event starts.
///
/// Thread-safe. An event that is posted while the same one is pending moves to the end of the
/// queue: each is pending at most once, and the last one tells the latest state. The destructor
/// calls end().
class EventQueue
{
public:
    explicit EventQueue(EventSink deliver);
    ~EventQueue();

    void post(std::int32_t event);

    /// Drops the pending events.
    void clear();

    /// Waits for the present delivery, however many follow it. After end() there is nothing to wait
    /// for. Must not be called from inside a delivery before that.
    void waitForDelivery();

    /// Drops the pending events and those that are posted from now on, and waits for the present
    /// delivery, unless it is called from inside it.
    void end();

private:
    void run();

    const EventSink m_deliver;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::int32_t> m_pending;
    bool m_delivering = false;
    std::uint64_t m_delivered = 0;
    bool m_ending = false;
    std::thread m_thread;
};

/// Delivers events on two threads, so that an event that tells whether a card is usable does not
/// wait for a rewrite of the report.
///
/// Thread-safe. One thread delivers the events that tell whether a card is usable, in their order.
/// The other thread delivers all other events; they make a listener read the card again, which
/// takes time.
class EventDispatcher
{
public:
    explicit EventDispatcher(const EventSink &deliver) : m_presence(deliver), m_changes(deliver) {}

    void post(std::int32_t event);

    /// As the functions of EventQueue, for both threads.
    void clear();
    void waitForDeliveries();
    void end();

private:
    EventQueue m_presence;
    EventQueue m_changes;
};

} // namespace devsrv
