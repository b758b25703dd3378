// SPDX-License-Identifier: MIT
#pragma once

#include "CallbackChannel.h"
#include "CardBackend.h"

#include <atomic>
#include <map>
#include <memory>

namespace devsrv {

/// What lives as long as the library: the callbacks, the messages, the receipt switch and
/// the running backend.
///
/// Any thread may call anything.
class Service
{
public:
    static Service &instance();

    /// The running backend; starts the emulated card "lte" if there is none.
    std::shared_ptr<CardBackend> backend();

    /// Puts another backend in the place of the one that runs; null only ends that one.
    void replaceBackend(std::shared_ptr<CardBackend> backend);

    /// Calls the callbacks of the channel that the event belongs to.
    void raise(std::int32_t event);

    std::size_t callbackCount() const
    {
        return deviceManager.count() + deviceInit.count() + dataReceive.count();
    }

    /// Keeps a message until it is dropped or the backend ends; gives the caller's handle of it.
    void *keep(std::shared_ptr<SmsMessage> message);

    /// The message of a handle; null if there is none.
    std::shared_ptr<SmsMessage> message(void *handle);

    /// Returns whether the handle had a message.
    bool drop(void *handle);

    CallbackChannel<ZEPA_DevEventCallback> deviceManager;
    CallbackChannel<ZEPA_DevEventCallback> deviceInit;
    CallbackChannel<ZEPA_DataRevCallback> dataReceive;
    std::atomic<bool> receipts = false;

private:
    std::mutex m_mutex;
    std::shared_ptr<CardBackend> m_backend;
    std::map<void *, std::shared_ptr<SmsMessage>> m_messages;
};

/// A backend by its name, as DeviceServiceControl::start takes it; nothing and a sentence in
/// `error` if there is none of that name or it cannot run.
std::shared_ptr<CardBackend> makeBackend(const std::string &name, EventSink raise,
                                         std::string &error);

} // namespace devsrv
