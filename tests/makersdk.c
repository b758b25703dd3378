/* SPDX-License-Identifier: MIT */

/*
 * A card maker's device service, without a control table. GetImeiInfo succeeds; all other functions
 * fail.
 */
#include <string.h>

#define FAILS(name) \
    int name(void) \
    { \
        return -1; \
    }

#include "failing_functions.h"

int ZEPA_DevSrv_GetImeiInfo(char *imei)
{
    strcpy(imei, "350000000000006");
    return 0;
}
