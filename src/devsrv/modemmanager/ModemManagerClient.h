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

// How long a call may take.
using std::chrono::milliseconds;
inline constexpr milliseconds kQueryTimeout{3'000};   // what the daemon has in its memory
inline constexpr milliseconds kCommandTimeout{6'000}; // one AT command, and those queued before it
inline constexpr milliseconds kSendTimeout{60'000};   // a message of several parts
inline constexpr milliseconds kEnableTimeout{20'000}; // switches the radio on

/// Calls of the daemon that block, each in bounded time, over a connection of its own.
///
/// Owns the connection. Any thread may call anything; nothing is kept between calls but that the
/// daemon did not answer of late, so that a report does not wait anew for every one of its fields.
class ModemManagerClient
{
public:
    explicit ModemManagerClient(QString imei);
    ~ModemManagerClient();
    Q_DISABLE_COPY_MOVE(ModemManagerClient)

    QDBusConnection &connection() { return m_connection; }
    OnceWarnings &warnings() { return m_warnings; }

    /// A call with warning on failure; an error message then.
    QDBusMessage call(const QString &path, QLatin1String interface, QLatin1String method,
                      const QVariantList &arguments, milliseconds timeout);

    /// The chosen modem as it is now.
    std::optional<ModemObject> modem();

    /// All properties of one interface of an object that the daemon does not list with the modems.
    std::optional<QVariantMap> properties(const QString &path, QLatin1String interface);

    /// The daemon and the chosen modem, asked for even if the daemon did not answer of late.
    struct Look
    {
        QString daemon; ///< empty if it did not answer
        std::optional<ModemObject> modem;
        bool silent = false; ///< there is a daemon, but no answer
    };
    Look look(bool startDaemon = false);

private:
    QDBusMessage send(QDBusMessage message, milliseconds timeout);
    bool isSilent() const;

    const QString m_imei;
    QDBusConnection m_connection;
    OnceWarnings m_warnings;
    std::atomic<std::chrono::steady_clock::time_point> m_silentUntil{};
};

} // namespace devsrv
