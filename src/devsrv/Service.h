// SPDX-License-Identifier: MIT
#pragma once

#include "BackendRegistry.h"
#include "CallbackChannel.h"
#include "EventDispatcher.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace devsrv {

/// The library's global state: registered callbacks, SMS records, the receipt switch and the active
/// backend. Thread-safe.
class Service
{
    // Each backend has an identifier of its own, with which its events arrive.
    using BackendId = std::uint64_t;

    struct ActiveBackend
    {
        Backend backend;
        BackendId id;
        int users = 0;
    };

public:
    static Service &instance();
    ~Service();

    /// Keeps the active backend in use for as long as the object lives.
    class BackendUse
    {
    public:
        BackendUse(Service &service, ActiveBackend &active);
        ~BackendUse();
        BackendUse(const BackendUse &) = delete;
        BackendUse &operator=(const BackendUse &) = delete;

        CardBackend &card() const { return *m_active.backend.card; }
        CallObserver *observer() const { return m_active.backend.observer.get(); }

    private:
        Service &m_service;
        ActiveBackend &m_active;
    };

    /// The active backend. Starts the default backend if there is none.
    BackendUse backend();

    /// Makes a backend that raises its events with the sink that it is given. Where it may need the
    /// device of the active backend, it calls `freeDevices` first.
    using MakeBackend = std::function<Backend(EventSink raise, const FreeDevices &freeDevices)>;

    /// Makes a backend the active one and ends the one before it, after its last user and the event
    /// that is being delivered have returned. Returns false if `make` returns a backend without a
    /// card: the active backend then goes on, and has tried to take its device back. Not to be
    /// called from inside a callback.
    bool startBackend(const MakeBackend &make);

    /// Ends the active backend in the same way.
    void stopBackend() { replaceBackend(nullptr); }

    /// Chooses whether events are delivered at once, on the thread that raises them.
    void deliverAtOnce(bool atOnce) { m_deliversAtOnce = atOnce; }

    std::size_t callbackCount() const
    {
        return deviceManager.count() + deviceInit.count() + dataReceive.count();
    }

    /// Keeps a message until drop() is called or the backend ends. Returns its handle.
    void *keep(std::shared_ptr<SmsMessage> message);

    /// The message of a handle; null if there is none.
    std::shared_ptr<SmsMessage> message(void *handle);

    /// Returns whether the handle had a message.
    bool drop(void *handle);

    CallbackChannel<ZEPA_DevEventCallback> deviceManager{CallbackKind::Event};
    CallbackChannel<ZEPA_DevEventCallback> deviceInit{CallbackKind::Event};
    CallbackChannel<ZEPA_DataRevCallback> dataReceive{CallbackKind::Data};
    std::atomic<bool> receipts = false;

private:
    std::unique_ptr<ActiveBackend> makeActive(const std::function<Backend(EventSink)> &make);
    void replaceBackend(std::unique_ptr<ActiveBackend> started);
    void raise(std::int32_t event, BackendId source) noexcept;
    bool post(std::int32_t event, BackendId source);
    void deliver(std::int32_t event);

    std::mutex m_mutex;
    std::condition_variable m_backendUnused;
    std::unique_ptr<ActiveBackend> m_active;
    std::atomic<BackendId> m_lastId = 0;
    std::map<void *, std::shared_ptr<SmsMessage>> m_messages;
    std::atomic<bool> m_deliversAtOnce = false;
    EventDispatcher m_dispatcher{[this](std::int32_t event) { deliver(event); }};
};

} // namespace devsrv
