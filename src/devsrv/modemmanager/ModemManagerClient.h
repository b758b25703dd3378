// SPDX-License-Identifier: MIT
#pragma once

#include "ModemManagerMapping.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <atomic>
#include <chrono>

namespace devsrv {

inline constexpr QLatin1String kManagerService("org.freedesktop.ModemManager1");
inline constexpr QLatin1String kManagerPath("/org/freedesktop/ModemManager1");
inline constexpr QLatin1String kObjectManagerInterface("org.freedesktop.DBus.ObjectManager");
inline constexpr QLatin1String kPropertiesInterface("org.freedesktop.DBus.Properties");

// Time-outs of calls.
using std::chrono::milliseconds;
inline constexpr milliseconds kQueryTimeout{3'000};   // answered from the daemon's memory
inline constexpr milliseconds kCommandTimeout{6'000}; // one AT command and those queued before it
inline constexpr milliseconds kSendTimeout{60'000};   // a message of several parts
inline constexpr milliseconds kEnableTimeout{20'000}; // switches the radio on

/// Blocking calls to the daemon, each with a time-out, over a connection of its own.
///
/// Owns the connection. Thread-safe. Caches nothing except the time of the last time-out: for 10 s
/// after it, calls fail at once, so that one report does not wait once per field.
class ModemManagerClient
{
public:
    explicit ModemManagerClient(QString imei);
    ~ModemManagerClient();
    Q_DISABLE_COPY_MOVE(ModemManagerClient)

    QDBusConnection &connection() { return m_connection; }
    OnceWarnings &warnings() { return m_warnings; }

    /// Calls a method. On failure it warns and returns the error message.
    QDBusMessage call(const QString &path, QLatin1String interface, QLatin1String method,
                      const QVariantList &arguments, milliseconds timeout);

    /// The chosen modem in its present state.
    std::optional<ModemObject> modem();

    /// All properties of one interface of an object that is not among the managed objects.
    std::optional<QVariantMap> properties(const QString &path, QLatin1String interface);

    struct Snapshot
    {
        QString daemon; ///< its unique name on the bus; empty if it did not answer
        std::optional<ModemObject> modem;
        bool timedOut = false; ///< the daemon runs, but did not answer
    };

    /// Fetches the daemon's name and the chosen modem, also during the back-off after a time-out.
    Snapshot fetchSnapshot(bool startDaemon = false);

private:
    QDBusMessage send(QDBusMessage message, milliseconds timeout);
    bool isBackingOff() const;

    const QString m_imei;
    QDBusConnection m_connection;
    OnceWarnings m_warnings;
    std::atomic<std::chrono::steady_clock::time_point> m_backOffUntil{};
};

} // namespace devsrv
