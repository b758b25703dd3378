// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace devsrv {

/// The callbacks of one channel. A callback that is added several times is called once.
///
/// Thread-safe. No lock is held while a callback runs: it may add and remove callbacks and raise
/// further events.
template <typename Callback>
class CallbackChannel
{
public:
    void add(Callback callback)
    {
        const std::lock_guard lock(m_mutex);
        if (!contains(callback))
            m_callbacks.push_back(callback);
    }

    /// Removes the callback and waits until no other thread runs it. Returns whether it was found.
    bool remove(Callback callback)
    {
        std::unique_lock lock(m_mutex);
        const bool found = std::erase(m_callbacks, callback) > 0;
        m_ended.wait(lock, [&] { return !runsElsewhere(callback); });
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
            const Run run{callback, std::this_thread::get_id()};
            m_runs.push_back(run);
            lock.unlock();
            callback(arguments...);
            lock.lock();
            m_runs.erase(std::find(m_runs.begin(), m_runs.end(), run));
            m_ended.notify_all();
        }
    }

private:
    struct Run
    {
        Callback callback;
        std::thread::id thread;
        bool operator==(const Run &) const = default;
    };

    bool contains(Callback callback) const
    {
        return std::find(m_callbacks.begin(), m_callbacks.end(), callback) != m_callbacks.end();
    }

    bool runsElsewhere(Callback callback) const
    {
        const auto self = std::this_thread::get_id();
        return std::any_of(m_runs.begin(), m_runs.end(), [&](const Run &run) {
            return run.callback == callback && run.thread != self;
        });
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_ended;
    std::vector<Callback> m_callbacks;
    std::vector<Run> m_runs;
};

} // namespace devsrv
