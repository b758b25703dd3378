/* SPDX-License-Identifier: MIT */

/*
 * Ends without stopping the service: while threads of the backend raise events, where the
 * sanitizers see what the library does, or with an argument from inside a callback.
 */
#include "devsrv/DeviceServiceControl.h"

#include <stdlib.h>
#include <unistd.h>

static int ignoreEvent(int event, void *data)
{
    (void)event;
    (void)data;
    return 1;
}

static int endProgram(int event, void *data)
{
    (void)event;
    (void)data;
    exit(0);
}

int main(int argc, char **argv)
{
    (void)argv;
    const DeviceServiceControl *control = DevSrv_GetControl();
    if (argc > 1) {
        ZEPA_DevSrv_RegisterDevMgrCallback(endProgram);
        control->raiseEvent(DEVSRV_EVENT_NETWORK_CHANGED);
        sleep(60);
        return 1;
    }
    const DevSrvFault fault = {.event = DEVSRV_EVENT_NETWORK_CHANGED,
                               .flags = DEVSRV_FAULT_OTHER_THREAD};
    char model[ZEPA_TEXT_SIZE];
    ZEPA_DevSrv_RegisterDevMgrCallback(ignoreEvent);
    if (control->setFault("ZEPA_DevSrv_GetDeviceName", &fault) != 0)
        return 1;
    for (int count = 0; count < 200; ++count)
        ZEPA_DevSrv_GetDeviceName(model);
    return 0;
}
