/* SPDX-License-Identifier: MIT */
#ifndef CALLTAP_CALLTAP_H
#define CALLTAP_CALLTAP_H

/*
 * A library with the soname of the device service. A host that loads it before the plug-in sees all
 * calls of the plug-in: each goes on to a device service, and an observer learns what came of it.
 */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A value that a call wrote. */
typedef struct CallTapValue
{
    const char *field; /* as in a card file: "Identity/IMEI" */
    const char *text;  /* Latin-1, with a NUL behind it; a number is decimal */
    size_t size;       /* of the text, in bytes */
} CallTapValue;

/* One call of a function of DeviceService.h. Everything is valid during the observer's call. */
typedef struct CallTapCall
{
    const char *function;
    int32_t result;
    int64_t nanoseconds;
    const CallTapValue *values; /* none if the call failed */
    size_t count;
} CallTapCall;

/* Called on the thread of each call, before the call returns to the plug-in. */
typedef void (*CallTapObserver)(const CallTapCall *call, void *context);

/*
 * Has all calls go to the device service in that file, and the observer see them. Called once,
 * before the first call. Returns null, or why the file cannot be loaded.
 */
__attribute__((visibility("default"))) const char *
CallTap_Open(const char *file, CallTapObserver observer, void *context);

typedef const char *(*CallTapOpenFunction)(const char *file, CallTapObserver observer,
                                           void *context);

#ifdef __cplusplus
}
#endif

#endif
