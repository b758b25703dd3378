// SPDX-License-Identifier: MIT
#include "EventTap.h"

#include "shared/DeviceServiceFunctions.h"

#include <utility>

namespace {

EventTap::Heard s_heard;
thread_local EventTap::Handled t_handled;

int onEvent(int event, void *)
{
    t_handled = s_heard(event);
    return 1;
}

int afterEvent(int, void *)
{
    // None for an event that asks for no report.
    if (const auto handled = std::exchange(t_handled, {}))
        handled();
    return 1;
}

} // namespace

EventTap::EventTap(const DeviceServiceLibrary &library, Heard heard) : m_library(library)
{
    s_heard = std::move(heard);
    callBoth(&shared::EventChannel::registration, onEvent);
}

void EventTap::followPlugin() const
{
    callBoth(&shared::EventChannel::registration, afterEvent);
}

EventTap::~EventTap()
{
    for (const ZEPA_DevEventCallback callback : {onEvent, afterEvent})
        callBoth(&shared::EventChannel::withdrawal, callback);
}

void EventTap::callBoth(const char *shared::EventChannel::*function,
                        ZEPA_DevEventCallback callback) const
{
    if (!m_library.control())
        return;
    for (const auto &channel : shared::kEventChannels)
        m_library.call<decltype(ZEPA_DevSrv_RegisterDevMgrCallback)>(channel.*function, callback);
}
