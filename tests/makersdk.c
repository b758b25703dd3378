/* SPDX-License-Identifier: MIT */

/*
 * A card maker's device service, without a control table. GetImeiInfo succeeds; all other functions
 * fail.
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
