// SPDX-License-Identifier: MIT
#include "EventTap.h"

#include <QElapsedTimer>

#include <utility>

namespace {

EventTap::Heard s_heard;
EventTap::Handled s_handled;
thread_local QElapsedTimer t_begin;

int onEvent(int event, void *)
{
    s_heard(event);
    t_begin.start();
    return 1;
}

int afterEvent(int event, void *)
{
    // Not valid for an event that the plug-in handled while it was registering.
    if (t_begin.isValid())
        s_handled(event, t_begin.elapsed());
    t_begin.invalidate();
    return 1;
}

} // namespace

EventTap::EventTap(const DeviceServiceLibrary &library, Heard heard, Handled handled)
    : m_library(library)
{
    s_heard = std::move(heard);
    s_handled = std::move(handled);
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
