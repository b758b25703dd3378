/* SPDX-License-Identifier: MIT */

/* Ends while threads of the backend raise events. The sanitizers see what the library does then. */
#include "devsrv/DeviceServiceControl.h"

static int ignoreEvent(int event, void *data)
{
    (void)event;
    (void)data;
    return 1;
}

int main(void)
{
    const DevSrvFault fault = {.event = DEVSRV_EVENT_NETWORK_CHANGED,
                               .flags = DEVSRV_FAULT_OTHER_THREAD};
    char model[ZEPA_TEXT_SIZE];
    ZEPA_DevSrv_RegisterDevMgrCallback(ignoreEvent);
    if (DevSrv_GetControl()->setFault("ZEPA_DevSrv_GetDeviceName", &fault) != 0)
        return 1;
    for (int count = 0; count < 200; ++count)
        ZEPA_DevSrv_GetDeviceName(model);
    return 0;
}
