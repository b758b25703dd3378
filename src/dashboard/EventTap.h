// SPDX-License-Identifier: MIT
#pragma once

#include "DeviceServiceLibrary.h"

#include <functional>

namespace shared {
struct EventChannel;
}

/// Hears the device events together with the plug-in: one callback runs before that of the plug-in
/// and one after it.
///
/// There is one object at a time, since the callbacks of the device service carry no context. All
/// calls are made on one thread; the service calls `heard` on its own threads.
class EventTap
{
public:
    /// Called on the same thread when the plug-in has handled the event; may be empty.
    using Handled = std::function<void()>;
    using Heard = std::function<Handled(int event)>;

    /// Registers the first callback. Does nothing with a maker's library, which may take only one
    /// callback. The library must live longer than this object.
    EventTap(const DeviceServiceLibrary &library, Heard heard);

    /// Registers the second callback. To be called after the plug-in has registered its own.
    void followPlugin() const;

    /// Withdraws both callbacks; neither runs afterwards.
    ~EventTap();
    EventTap(const EventTap &) = delete;
    EventTap &operator=(const EventTap &) = delete;

private:
    void callBoth(const char *shared::EventChannel::*function,
                  ZEPA_DevEventCallback callback) const;

    const DeviceServiceLibrary &m_library;
};
