// SPDX-License-Identifier: MIT
#pragma once

#include "ModemManagerMapping.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>

#include <chrono>

namespace devsrv {

inline constexpr QLatin1String kManagerService("org.freedesktop.ModemManager1");
inline constexpr QLatin1String kManagerPath("/org/freedesktop/ModemManager1");
inline constexpr QLatin1String kObjectManagerInterface("org.freedesktop.DBus.ObjectManager");
inline constexpr QLatin1String kPropertiesInterface("org.freedesktop.DBus.Properties");
inline constexpr QLatin1String kSmsInterface("org.freedesktop.ModemManager1.Sms");

// What the daemon says of AT commands that it never passes on.
inline constexpr QLatin1String kDebugMode("debug mode");

// Time-outs of calls.
using std::chrono::milliseconds;
inline constexpr milliseconds kBusTimeout{3'000};     // the bus takes the process in
inline constexpr milliseconds kQueryTimeout{3'000};   // answered from the daemon's memory
inline constexpr milliseconds kSendTimeout{60'000};   // a message of several parts
inline constexpr milliseconds kEnableTimeout{20'000}; // switches the radio on

/// Calls to the daemon, each with a time-out, over a connection to the system bus of its own.
///
/// Owns the connection. Thread-safe. A call that fails concerns no other one.
class ModemManagerClient
{
public:
    ModemManagerClient();
    ~ModemManagerClient();
    Q_DISABLE_COPY_MOVE(ModemManagerClient)

    /// Connects to the bus and drops the connection before it. Returns the reason on failure,
    /// after 3 s at most.
    QString open();

    QDBusConnection connection() const;
    OnceWarnings &warnings() { return m_warnings; }

    /// Calls a method of the daemon. On failure it warns and returns the error message.
    QDBusMessage call(const QString &path, QLatin1String interface, QLatin1String method,
                      const QVariantList &arguments, milliseconds timeout);

    /// Warns that a call failed, and says what gives the right to it where that is missing.
    void warn(const QDBusMessage &call, const QDBusError &error);

    static QDBusMessage message(const QString &path, QLatin1String interface, QLatin1String method,
                                const QVariantList &arguments = {});

private:
    mutable std::mutex m_mutex;
    QDBusConnection m_connection;
    OnceWarnings m_warnings{"modemmanager"};
};

/// Whether an error says that no daemon runs.
bool isAbsence(const QDBusError &error);

/// The objects in an answer to GetManagedObjects. Nothing, with a warning, if it is of another
/// type.
std::optional<Objects> objectsIn(const QDBusMessage &reply, OnceWarnings &warnings);

} // namespace devsrv
