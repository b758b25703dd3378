/* SPDX-License-Identifier: MIT */
#include "devsrv/DeviceServiceControl.h"

/* Reads the model from C, which shows that the headers compile as C. */
int32_t modelInC(char *model)
{
    return DevSrv_GetControl()->size == sizeof(DeviceServiceControl)
        ? ZEPA_DevSrv_GetDeviceName(model)
        : -1;
}
