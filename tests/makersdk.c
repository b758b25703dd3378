/* SPDX-License-Identifier: MIT */

/*
 * A card maker's device service, without a control table. GetImeiInfo succeeds; all other functions
 * fail.
 */
#include <string.h>

/* Weak: tests link other ones. */
#define FAILS(name) \
    __attribute__((weak)) int name(void) \
    { \
        return -1; \
    }

#include "failing_functions.h"

__attribute__((weak)) int ZEPA_DevSrv_GetImeiInfo(char *imei)
{
    strcpy(imei, "350000000000006");
    return 0;
}
