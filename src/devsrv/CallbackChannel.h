// SPDX-License-Identifier: MIT
#pragma once

#include "shared/Guard.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

namespace devsrv {

/// The kinds of callbacks. A callback may wait for the end of callbacks of a later kind only, so
/// that two of them never wait for each other.
enum class CallbackKind { None, Event, Data };

/// The latest kind among the callbacks that this thread is running.
inline thread_local CallbackKind t_runningKind = CallbackKind::None;

/// The callbacks of one channel. A callback that is added several times is called once.
///
/// Thread-safe. No lock is held while a callback runs: it may add and remove callbacks and raise
/// further events. An exception ends only the callback that threw it, and is logged as a warning.
template <typename Callback>
class CallbackChannel
{
public:
    explicit CallbackChannel(CallbackKind kind) : m_kind(kind) {}

    void add(Callback callback)
    {
        const std::lock_guard lock(m_mutex);
        if (!contains(callback))
            m_callbacks.push_back(callback);
    }

    /// Removes the callback and waits until it no longer runs; does not wait if it is called from
    /// inside a callback of the same or a later kind. Returns whether the callback was found.
    bool remove(Callback callback)
    {
        std::unique_lock lock(m_mutex);
        const bool found = std::erase(m_callbacks, callback) > 0;
        if (t_runningKind < m_kind)
            m_ended.wait(lock, [&] { return !isRunning(callback); });
        return found;
    }

    std::size_t count() const
    {
        const std::lock_guard lock(m_mutex);
        return m_callbacks.size();
    }

    template <typename... Arguments>
    void call(Arguments... arguments)
    {
        std::unique_lock lock(m_mutex);
        const std::vector<Callback> callbacks = m_callbacks;
        for (const Callback callback : callbacks) {
            // A callback before it may have removed it.
            if (!contains(callback))
                continue;
            m_running.push_back(callback);
            lock.unlock();
            const CallbackKind outer = t_runningKind;
            t_runningKind = std::max(outer, m_kind);
            shared::guarded("a callback", [&] { callback(arguments...); });
            t_runningKind = outer;
            lock.lock();
            m_running.erase(std::find(m_running.begin(), m_running.end(), callback));
            m_ended.notify_all();
        }
    }

private:
    bool contains(Callback callback) const
    {
        return std::find(m_callbacks.begin(), m_callbacks.end(), callback) != m_callbacks.end();
    }

    bool isRunning(Callback callback) const
    {
        return std::find(m_running.begin(), m_running.end(), callback) != m_running.end();
    }

    const CallbackKind m_kind;
    mutable std::mutex m_mutex;
    std::condition_variable m_ended;
    std::vector<Callback> m_callbacks;
    std::vector<Callback> m_running; // an entry for each thread that runs it
};

} // namespace devsrv
