/* SPDX-License-Identifier: MIT */
#ifndef DEVSRV_DEVICESERVICECONTROL_H
#define DEVSRV_DEVICESERVICECONTROL_H

/*
 * The control interface of our own device service. A maker's library has none: a host resolves
 * DevSrv_GetControl at run time and works without it if it is missing.
 *
 * Texts are UTF-8 unless a comment says otherwise. The functions may be called from any thread and,
 * except start() and stop(), from inside a callback. Those that return a number return 0 for
 * success and any other value for failure; lastError() then says in one sentence what is wrong,
 * where, and what to do. A returned text stays valid until the same thread calls the same function
 * again; that of lastError() until the next call of any function on the same thread.
 */

#include "DeviceService.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A way to reach a card. */
typedef struct DevSrvBackend
{
    const char *name;     /* as start() takes it */
    const char *argument; /* the syntax of what may follow the name, for example "[:IMEI]" */
    const char *help;     /* one line for a list of backends */
    const char *option;   /* the CMake option that builds it; "" if it is always built */
    int32_t built;        /* 1, or 0 if this library was built without it */
} DevSrvBackend;

/* Bits: what a call does in addition to, or instead of, its answer. */
enum DevSrvFaultFlags {
    DEVSRV_FAULT_WRITE_OUTPUTS = 1, /* fill the outputs although the result is a failure */
    DEVSRV_FAULT_NO_TERMINATOR = 2, /* fill every text to the end of its buffer, without a NUL */
    DEVSRV_FAULT_OTHER_THREAD = 4,  /* raise `event` on another thread and do not wait for it */
    DEVSRV_FAULT_REMOVE_CARD = 8,   /* remove the card before the call is answered */
    DEVSRV_FAULT_HIGH_BYTES = 16    /* replace each character of a text by a byte above ASCII */
};

/* The fault of one function of the service. All members 0: no fault. */
typedef struct DevSrvFault
{
    int32_t result;  /* what the call returns; 0: the card's own result */
    int32_t delayMs; /* how long the call takes, in milliseconds */
    int32_t event;   /* an event that is raised in the middle of the call; 0: none */
    uint32_t flags;  /* DevSrvFaultFlags */
} DevSrvFault;

/* How the emulated card delivers the answer to an AT command. */
enum DevSrvAnswerMode {
    DEVSRV_ANSWER_AT_ONCE = 0,      /* in one piece, on the caller's thread */
    DEVSRV_ANSWER_OTHER_THREAD = 1, /* bit: on another thread */
    DEVSRV_ANSWER_IN_PIECES = 2,    /* bit: a piece for each line */
    DEVSRV_ANSWER_BEFORE_END = 4    /* bit: not before ZEPA_EndExuceATCmd has been called */
};

/* On which thread the service calls the event callbacks. */
enum DevSrvEventDelivery {
    /*
     * On two threads of the service: one for events that tell that a card is ready or gone (6014,
     * 6601, 6602, 6603), one for all others. Pending events with the same number are delivered as
     * one event.
     */
    DEVSRV_EVENTS_ON_THREADS = 0,

    /* On the thread that raises the event, before raising returns: for tests that need an order. */
    DEVSRV_EVENTS_AT_ONCE = 1
};

/* The functions of the control interface. */
typedef struct DeviceServiceControl
{
    /* The size of this table in bytes. New members are only added at the end. */
    size_t size;

    /*
     * Starts a backend in place of the active one, which ends after the calls that use it, and the
     * event that is being delivered, have returned. Registered callbacks stay; events of the old
     * backend that are not delivered yet are dropped. `backend` is "NAME" or "NAME:ARGUMENT" with a
     * name from backend(). A backend with options takes them after a "?":
     * "NAME?KEY=VALUE&KEY=VALUE". Any other text is an argument of the default backend: "lte" means
     * "emulated:lte". On failure the active backend stays. A card on a serial port lets go of it
     * while the other one is tried, and does not answer meanwhile; if it does not come back, 6603
     * and 6002 are raised. The backends "modemmanager" and "serial" need a
     * QCoreApplication. If nobody calls start(), the first call of any function of the service
     * starts the default backend.
     */
    int32_t (*start)(const char *backend);

    /*
     * Ends the active backend, as start() does. The next call of the service starts the default
     * one.
     */
    void (*stop)(void);

    /* The reason of the last failure on this thread; "" if there was none. */
    const char *(*lastError)(void);

    /* How many callbacks are registered on all channels. */
    int32_t (*callbackCount)(void);

    /* ---- The emulated card: these functions fail on another backend ---- */

    /* The shipped cards: name and one line of description; null after the last one. */
    const char *(*shippedCard)(int32_t index, const char **description);

    /* The fields of a card description: "Section/Name" and kind; null after the last one. */
    const char *(*cardField)(int32_t index, const char **kind);

    /* Loads a shipped card by its name, or a card file. Raises no event. */
    int32_t (*loadCard)(const char *nameOrFile);

    /* Inserts the loaded card and raises 6002 and 6014. */
    int32_t (*insert)(void);

    /* Removes the card and raises 6601 and 6002. */
    int32_t (*remove)(void);

    /*
     * Changes one field of the card and raises the event of the change. The field is
     * "Section/Name", or its name alone if that is unique.
     */
    int32_t (*setField)(const char *field, const char *value);

    /* Raises any event, on the channel of that event. */
    int32_t (*raiseEvent)(int32_t event);

    /* Sets the fault of a function of DeviceService.h; null: no fault. */
    int32_t (*setFault)(const char *function, const DevSrvFault *fault);

    /* Bits of DevSrvAnswerMode. */
    int32_t (*setAnswerMode)(int32_t mode);

    /*
     * The calls since the last clearJournal(), in order, each as a line "Name(arguments)". Texts
     * are Latin-1 with C escapes. A sent message is the line "SMS number text receipt=0|1". The
     * journal keeps the latest 100,000 lines.
     */
    const char *(*journal)(void);

    /* Empties the journal. */
    void (*clearJournal)(void);

    /* The names of the functions of DeviceService.h; null after the last one. */
    const char *(*functionName)(int32_t index);

    /* ---- Since 1.1: check `size` first ---- */

    /* The backends, the default one first; null after the last one. Static storage. */
    const DevSrvBackend *(*backend)(int32_t index);

    /* Chooses the event delivery, one of DevSrvEventDelivery; at first DEVSRV_EVENTS_ON_THREADS. */
    void (*setEventDelivery)(int32_t mode);

    /*
     * The devices that the backend of that name can use, each as start() takes it, with one line of
     * description; null after the last one. Index 0 searches for devices, for a few seconds at
     * most. Higher indexes read the result of that search, which each thread has for itself. When
     * null is returned, lastError() says why devices may be missing; it is "" if none are.
     */
    const char *(*device)(const char *backend, int32_t index, const char **description);

    /*
     * One line that names the card of the active backend for people: "emulated card lte", "modem
     * 352099001761481 by ModemManager". Starts the default backend if there is none. "" on failure.
     */
    const char *(*activeCard)(void);

    /* The fields of a modem file, which the backend "serial" reads; null after the last one. */
    const char *(*modemField)(int32_t index, const char **help);
} DeviceServiceControl;

/* The table. Static storage. */
ZEPA_API const DeviceServiceControl *DevSrv_GetControl(void);

/* The type of DevSrv_GetControl(). */
typedef const DeviceServiceControl *(*DevSrvGetControlFunction)(void);

#ifdef __cplusplus
}
#endif

#endif
