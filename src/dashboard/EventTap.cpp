// SPDX-License-Identifier: MIT
#include "EventTap.h"

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
    // None for an event that arrived before the first callback was registered.
    if (const auto handled = std::exchange(t_handled, {}))
        handled();
    return 1;
}

} // namespace

EventTap::EventTap(const DeviceServiceLibrary &library, Heard heard) : m_library(library)
{
    s_heard = std::move(heard);
    callBoth("ZEPA_DevSrv_RegisterDevMgrCallback", "ZEPA_DevSrv_RegisterDevInitEventCallback",
             onEvent);
}

void EventTap::followPlugin() const
{
    callBoth("ZEPA_DevSrv_RegisterDevMgrCallback", "ZEPA_DevSrv_RegisterDevInitEventCallback",
             afterEvent);
}

EventTap::~EventTap()
{
    for (const ZEPA_DevEventCallback callback : {onEvent, afterEvent}) {
        callBoth("ZEPA_DevSrv_UnRegisterDevMgrCallback",
                 "ZEPA_DevSrv_UnRegisterDevInitEventCallback", callback);
    }
}

void EventTap::callBoth(const char *manager, const char *init, ZEPA_DevEventCallback callback) const
{
    if (!m_library.control())
        return;
    for (const char *name : {manager, init})
        m_library.call<decltype(ZEPA_DevSrv_RegisterDevMgrCallback)>(name, callback);
}
