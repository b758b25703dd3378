/* SPDX-License-Identifier: MIT */

/* What a library does wrong while it is loaded. */
#include <stdlib.h>
#include <unistd.h>

__attribute__((constructor)) static void misbehave(void)
{
#if defined(CRASHES)
    abort();
#elif defined(HANGS)
    for (;;)
        pause();
#elif defined(EXITS)
    _exit(0);
#endif
}
