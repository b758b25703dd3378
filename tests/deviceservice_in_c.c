/* SPDX-License-Identifier: MIT */
#include "devsrv/DeviceServiceControl.h"

/* What a C program gets for the model, to see that the headers are C. */
int32_t modelInC(char *model)
{
    return DevSrv_GetControl()->size == sizeof(DeviceServiceControl)
        ? ZEPA_DevSrv_GetDeviceName(model)
        : -1;
}
