/* SPDX-License-Identifier: MIT */

/*
 * A device service of somebody else: the functions, nothing to steer them. It knows an IMEI and
 * fails in everything else.
 */
#include <string.h>

#define ZEPA_API __attribute__((visibility("default")))
#define FAILS(name) \
    ZEPA_API int name(void); \
    ZEPA_API int name(void) \
    { \
        return -1; \
    }

#include "failing_functions.h"

ZEPA_API int ZEPA_DevSrv_GetImeiInfo(char *imei);
ZEPA_API int ZEPA_DevSrv_GetImeiInfo(char *imei)
{
    strcpy(imei, "350000000000006");
    return 0;
}
