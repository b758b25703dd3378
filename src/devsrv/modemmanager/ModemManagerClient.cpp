// SPDX-License-Identifier: MIT
#include "ModemManagerClient.h"

#include "shared/BusProbe.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>

#include <atomic>

namespace devsrv {

namespace {

// The rights that the daemon asks the system's authority for, by the interfaces that take them.
struct Right
{
    QLatin1String interface;
    const char *action;
};

constexpr Right kRights[] = {
    {kModemInterface, "org.freedesktop.ModemManager1.Device.Control"},
    {kLocationInterface, "org.freedesktop.ModemManager1.Location"},
    {kMessagingInterface, "org.freedesktop.ModemManager1.Messaging"},
    {kSmsInterface, "org.freedesktop.ModemManager1.Messaging"},
};

constexpr QLatin1String kUnauthorized("org.freedesktop.ModemManager1.Error.Core.Unauthorized");

QString adviceFor(const QDBusMessage &call, const QDBusError &error)
{
    // A daemon that was not started for AT commands refuses them with the same error.
    if (error.message().contains(kDebugMode))
        return {};
    const bool isRefused = error.name() == kUnauthorized
        || error.message().contains(QLatin1String("PolicyKit"));
    for (const Right &right : kRights) {
        if (isRefused && call.interface() == right.interface) {
            return QStringLiteral("; use an active local session, or a polkit rule that grants %1")
                .arg(QLatin1String(right.action));
        }
    }
    return {};
}

} // namespace

ModemManagerClient::ModemManagerClient() : m_connection(QString())
{
    qDBusRegisterMetaType<Interfaces>();
    qDBusRegisterMetaType<Objects>();
    qDBusRegisterMetaType<QMap<uint, QDBusVariant>>();
}

ModemManagerClient::~ModemManagerClient()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

QString ModemManagerClient::open()
{
    if (QString why = shared::whyNoBus(kBusTimeout); !why.isEmpty())
        return why;
    // The shared connection to the system bus belongs to the host, and delivers signals only while
    // the host's event loop runs.
    static std::atomic<int> count = 0;
    const QString name = QStringLiteral("kestrun-modemmanager-%1").arg(++count);
    QDBusConnection connection = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
    QString why = connection.isConnected() ? QString() : connection.lastError().message();
    {
        const std::lock_guard lock(m_mutex);
        std::swap(m_connection, connection);
    }
    QDBusConnection::disconnectFromBus(connection.name());
    return why;
}

QDBusConnection ModemManagerClient::connection() const
{
    const std::lock_guard lock(m_mutex);
    return m_connection;
}

QDBusMessage ModemManagerClient::message(const QString &path, QLatin1String interface,
                                         QLatin1String method, const QVariantList &arguments)
{
    auto message = QDBusMessage::createMethodCall(kManagerService, path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}

QDBusMessage ModemManagerClient::call(const QString &path, QLatin1String interface,
                                      QLatin1String method, const QVariantList &arguments,
                                      milliseconds timeout)
{
    const QDBusMessage call = message(path, interface, method, arguments);
    QDBusMessage reply = connection().call(call, QDBus::Block, static_cast<int>(timeout.count()));
    if (reply.type() == QDBusMessage::ErrorMessage)
        warn(call, QDBusError(reply));
    return reply;
}

void ModemManagerClient::warn(const QDBusMessage &call, const QDBusError &error)
{
    if (isAbsence(error)) {
        m_warnings.warn(QStringLiteral("the daemon does not run"));
        return;
    }
    m_warnings.warn(QStringLiteral("%1 failed: %2: %3%4")
                        .arg(call.member(), error.name(), error.message(), adviceFor(call, error)));
}

bool isAbsence(const QDBusError &error)
{
    return error.type() == QDBusError::ServiceUnknown
        || error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
}

std::optional<Objects> objectsIn(const QDBusMessage &reply, OnceWarnings &warnings)
{
    if (reply.signature() == QLatin1String("a{oa{sa{sv}}}"))
        return qdbus_cast<Objects>(reply.arguments().constFirst());
    warnings.warn(QStringLiteral("the list of modems is of type %1").arg(reply.signature()));
    return std::nullopt;
}

} // namespace devsrv
