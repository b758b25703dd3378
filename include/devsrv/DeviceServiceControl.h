/* SPDX-License-Identifier: MIT */
#ifndef DEVSRV_DEVICESERVICECONTROL_H
#define DEVSRV_DEVICESERVICECONTROL_H

/*
 * How a host steers our own device service. A maker's library has no such thing: a host resolves
 * DevSrv_GetControl at run time and does without where it is missing.
 *
 * All texts are UTF-8 unless said otherwise. The functions may be called from any thread but, start
 * and stop excepted, also from inside a callback. Those that return a number return 0 for success
 * and anything else for failure; lastError() then says in one sentence what was wrong, where, and
 * what to do. Texts that are returned stay valid until the same function is called again on the
 * same thread.
 */

#include "DeviceService.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The backend "modemmanager": modems of the ModemManager daemon, over the system message bus
 *
 * It is there where the library was built with Qt's D-Bus module, and starts wherever the bus can
 * be reached. Without a daemon or a modem every query fails, after one warning on Qt's log; the
 * events tell when a modem comes. It takes a QCoreApplication, whose event loop need not run: the
 * events come on a thread of the service.
 *
 * A modem that is found switched off is switched on, at start and when it is plugged in, but not
 * again after somebody switched it off. start() waits for that, and some seconds more for the
 * network; if it is refused there is one warning and only what a modem tells while it is off. The
 * daemon is also asked to signal changes of the cell, which it shows to everybody on the bus; where
 * this is refused, a change of area or cell alone raises no event.
 *
 * Every call returns in bounded time: queries in 6 seconds, AT commands in 6, an SMS in 70,
 * start() in 30. After a query that was not answered, those of the next 10 seconds fail at once.
 *
 *   what the daemon tells                         what is raised
 *   modem added                                   6002, and 6014 if it is initialized
 *   modem initialized, or unlocked                6014
 *   modem switched on                             6602
 *   registration, technology, operator or cell    6614
 *   SIM, or a lock of the SIM or modem            6016
 *   modem removed                                 6601, 6002
 *   daemon gone, or no longer answering           6603, 6002
 *   daemon back                                   as if its modem was added
 *
 * Changes within a quarter of a second are told as one, and what is told is the state after them.
 *
 *   status            3 from the modem state "enabled" on, else 2
 *   lock state        the daemon's number of the lock that it wants a code for, else that of a lock
 *                     that binds the modem to a network or SIM, else 0
 *   area and cell     hexadecimal as the daemon writes it; circuit-switched without tracking area
 *   report mode       always 0; setting it succeeds and changes nothing, since the daemon has the
 *                     modem report every change
 *   own numbers       counted from 1, for the daemon does not tell their places in the phonebook
 *   hardware version  empty where only the firmware version is known, as for AT modems
 *   serial number     always fails
 *   AT commands       fail where the daemon refuses them, as it does unless it runs with --debug
 */

/* A bit each: what a call does besides, or instead of, answering as it should. */
enum DevSrvFaultFlags {
    DEVSRV_FAULT_WRITE_OUTPUTS = 1, /* fill the outputs although the result is a failure */
    DEVSRV_FAULT_NO_TERMINATOR = 2, /* fill every text to the end of its buffer, without a NUL */
    DEVSRV_FAULT_OTHER_THREAD = 4,  /* raise `event` on a thread of its own, which runs on */
    DEVSRV_FAULT_REMOVE_CARD = 8,   /* take the card out before the call is answered */
    DEVSRV_FAULT_HIGH_BYTES = 16    /* put bytes above ASCII in the place of every text */
};

/* What one function of the service is to do wrong. All zero: nothing. */
typedef struct DevSrvFault
{
    int32_t result;  /* what the call returns; 0: what the card gives */
    int32_t delayMs; /* how long the call takes, in milliseconds */
    int32_t event;   /* an event that is raised in the middle of the call; 0: none */
    uint32_t flags;  /* DevSrvFaultFlags */
} DevSrvFault;

/* How the emulated card hands over the answer to an AT command. */
enum DevSrvAnswerMode {
    DEVSRV_ANSWER_AT_ONCE = 0,      /* in one piece, on the caller's thread */
    DEVSRV_ANSWER_OTHER_THREAD = 1, /* bit: on another thread */
    DEVSRV_ANSWER_IN_PIECES = 2,    /* bit: a piece for each line */
    DEVSRV_ANSWER_BEFORE_END = 4    /* bit: not before ZEPA_EndExuceATCmd has been called */
};

typedef struct DeviceServiceControl
{
    /* The size of this table in the library. Members are only ever added at the end. */
    size_t size;

    /*
     * Starts the service on a backend: "emulated" (a card is chosen by loadCard), "modemmanager"
     * (the first modem) or "modemmanager:IMEI"; see below. Without it the first call of any
     * function of the service starts "emulated" with the card "lte". Replaces a backend that runs;
     * registered callbacks stay.
     */
    int32_t (*start)(const char *backend);

    /* Ends the backend. The next call of the service starts the default one. */
    void (*stop)(void);

    /* The last failure on this thread; "" if there was none. */
    const char *(*lastError)(void);

    /* How many callbacks are registered on all channels. */
    int32_t (*callbackCount)(void);

    /* ---- The emulated card: each of these fails on another backend ---- */

    /* The cards that the library brings along: name and one line of description; null at the end.
     */
    const char *(*shippedCard)(int32_t index, const char **description);

    /* The fields of a card description: "Section/Name", its kind; null at the end. */
    const char *(*cardField)(int32_t index, const char **kind);

    /* Takes a shipped card by its name, or a description by its file. Raises no event. */
    int32_t (*loadCard)(const char *nameOrFile);

    /* Puts the loaded card in, or takes it out, and raises the events that go with it. */
    int32_t (*insert)(void);
    int32_t (*remove)(void);

    /*
     * Changes one field of the card and raises the event that goes with it. The field is written
     * as in a card description, with its section, or by its name alone where that is unique.
     */
    int32_t (*setField)(const char *field, const char *value);

    /* Raises any event on this thread, on the channel that it belongs to. */
    int32_t (*raiseEvent)(int32_t event);

    /* Sets what a function, named as in DeviceService.h, does wrong from now on; null: nothing. */
    int32_t (*setFault)(const char *function, const DevSrvFault *fault);

    /* DevSrvAnswerMode, bits together. */
    int32_t (*setAnswerMode)(int32_t mode);

    /*
     * The calls since the last clearJournal(), a line each as "Name(arguments)", in the order in
     * which they came. Texts are Latin-1 with C escapes. A sent message is the line
     * "SMS number text receipt=0|1". Keeps the last 100,000 lines.
     */
    const char *(*journal)(void);
    void (*clearJournal)(void);

    /* The names of the functions of DeviceService.h; null at the end. */
    const char *(*functionName)(int32_t index);
} DeviceServiceControl;

/* The one table. Static storage. */
ZEPA_API const DeviceServiceControl *DevSrv_GetControl(void);
typedef const DeviceServiceControl *(*DevSrvGetControlFunction)(void);

#ifdef __cplusplus
}
#endif

#endif
