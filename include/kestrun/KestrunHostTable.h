/* SPDX-License-Identifier: MIT */
#ifndef KESTRUN_KESTRUNHOSTTABLE_H
#define KESTRUN_KESTRUNHOSTTABLE_H

/*
 * The plug-in's functions for a host that loads libKestrun.so at run time, as plain C. The host
 * resolves KestrunGetHostTable and KestrunSetSystemRoot by name; an older plug-in may lack either.
 * The plug-in object itself comes from qt_plugin_instance.
 *
 * All texts are UTF-8 and end in a NUL. A text that is passed in stays the caller's and is not
 * kept. A text that is returned belongs to the library and stays valid until the same function is
 * called again on the same thread.
 */

#include <stddef.h>
#include <stdint.h>

/* Marks what the library exports. */
#if defined(_WIN32)
#define KESTRUN_API
#else
#define KESTRUN_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The version that this header describes. It changes only if a member changes its meaning. */
enum { KESTRUN_HOST_TABLE_VERSION = 1 };

/* The results of sendSms and setReceipts. */
enum KestrunResult {
    KESTRUN_ACCEPTED = 0, /* the device service accepted the message or the setting */
    KESTRUN_REFUSED = 1,  /* the device service refused it; the log has its answer */
    KESTRUN_BAD_TEXT = 2  /* nothing was sent: a text is null, not UTF-8, or not Latin-1 */
};

/* The functions of the table. */
typedef struct KestrunHostTable
{
    /* The size of this table in the library. Members are only ever added at the end. */
    size_t size;

    /* KESTRUN_HOST_TABLE_VERSION of the library. */
    uint32_t version;

    /*
     * The controller: a QObject * with the signals DeviceAvailable() and DeviceUnavailable(), which
     * are emitted on the thread of the device event. It is created if there is none; null if there
     * is no memory for it. The library owns it: it is valid until destroy(), and the host must not
     * delete it. Any thread.
     */
    void *(*controller)(void);

    /*
     * The directory of "UpdateRule.dat" and "Config.xml", ending in "/". Creates the controller if
     * there is none, as controller() does. Any thread.
     */
    const char *(*dataDirectory)(void);

    /*
     * Collects all values and writes both files. Blocks until card, shell and disk have answered;
     * a call from inside a device event that was raised by such a run returns at once. Failures are
     * logged. Any thread, between the first call of controller() or Init() and destroy().
     */
    void (*writeReport)(void);

    /*
     * Sends one message. The card gets both texts as Latin-1: a text with another character is not
     * sent. Returns a KestrunResult. Blocks until the device service has answered. Any thread,
     * within the same period as writeReport().
     */
    int32_t (*sendSms)(const char *number, const char *text);

    /*
     * Switches delivery receipts on (any value except 0) or off (0). Returns a KestrunResult. Any
     * thread, within the same period as writeReport().
     */
    int32_t (*setReceipts)(int32_t enable);

    /*
     * Deletes the controller after the calls that other threads have begun have returned. The host
     * calls it last: first OnDestroy(), which withdraws the registration for device events, then it
     * deletes the plug-in object. From inside a slot of the controller's signals it returns at
     * once, and the controller is deleted when the signal's emission has ended. Any thread for
     * which no slot waits.
     */
    void (*destroy)(void);
} KestrunHostTable;

/* Returns the one table, which has static storage. Any thread. */
KESTRUN_API const KestrunHostTable *KestrunGetHostTable(void);

/* The type of KestrunGetHostTable(). */
typedef const KestrunHostTable *(*KestrunGetHostTableFunction)(void);

/*
 * Moves all fixed locations ("/usr/local/...", "/Library/...", "/Applications/...") from "/" to
 * `directory`, for a host that runs in a sandbox. Null or an empty text restores "/"; slashes at
 * the end are ignored. Paths that are relative to the working directory, and paths that settings
 * files name, do not move. Call it on the host's thread before IBasePlugin::Init().
 */
KESTRUN_API void KestrunSetSystemRoot(const char *directory);

/* The type of KestrunSetSystemRoot(). */
typedef void (*KestrunSetSystemRootFunction)(const char *directory);

#ifdef __cplusplus
}
#endif

#endif
