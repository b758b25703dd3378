// SPDX-License-Identifier: MIT
#include "ModemManagerClient.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMetaType>

namespace devsrv {

namespace {

using Clock = std::chrono::steady_clock;

// How long calls fail at once after a time-out.
constexpr std::chrono::seconds kBackOff{10};

// The shared connection to the system bus belongs to the host, and delivers signals only while the
// host's event loop runs.
QDBusConnection openConnection()
{
    static std::atomic<int> count = 0;
    const QString name = QStringLiteral("kestrun-modemmanager-%1").arg(++count);
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
}

bool isAbsence(const QDBusMessage &reply)
{
    const QDBusError error(reply);
    return error.type() == QDBusError::ServiceUnknown
        || reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
}

} // namespace

ModemManagerClient::ModemManagerClient(QString imei)
    : m_imei(std::move(imei)), m_connection(openConnection())
{
    qDBusRegisterMetaType<Interfaces>();
    qDBusRegisterMetaType<Objects>();
    qDBusRegisterMetaType<QMap<uint, QDBusVariant>>();
}

ModemManagerClient::~ModemManagerClient()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

bool ModemManagerClient::isBackingOff() const
{
    return Clock::now() < m_backOffUntil.load();
}

QDBusMessage ModemManagerClient::send(QDBusMessage message, milliseconds timeout)
{
    QDBusMessage reply = m_connection.call(message, QDBus::Block,
                                           static_cast<int>(timeout.count()));
    if (reply.type() != QDBusMessage::ErrorMessage) {
        m_backOffUntil = Clock::time_point();
        return reply;
    }
    if (QDBusError(reply).type() == QDBusError::NoReply)
        m_backOffUntil = Clock::now() + kBackOff;
    if (isAbsence(reply)) {
        m_warnings.warn(QStringLiteral("the daemon does not run"));
        return reply;
    }
    m_warnings.warn(QStringLiteral("%1 failed: %2: %3")
                        .arg(message.member(), reply.errorName(), reply.errorMessage()));
    return reply;
}

QDBusMessage ModemManagerClient::call(const QString &path, QLatin1String interface,
                                      QLatin1String method, const QVariantList &arguments,
                                      milliseconds timeout)
{
    auto message = QDBusMessage::createMethodCall(kManagerService, path, interface, method);
    if (isBackingOff())
        return message.createErrorReply(QDBusError::NoReply,
                                        QStringLiteral("the daemon did not answer a call before"));
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return send(message, timeout);
}

std::optional<ModemObject> ModemManagerClient::modem()
{
    if (isBackingOff())
        return std::nullopt;
    return fetchSnapshot().modem;
}

ModemManagerClient::Snapshot ModemManagerClient::fetchSnapshot(bool startDaemon)
{
    auto message = QDBusMessage::createMethodCall(kManagerService, kManagerPath,
                                                  kObjectManagerInterface,
                                                  QStringLiteral("GetManagedObjects"));
    message.setAutoStartService(startDaemon);
    const QDBusMessage reply = send(message, kQueryTimeout);
    if (reply.type() == QDBusMessage::ErrorMessage)
        return {{}, std::nullopt, !isAbsence(reply)};
    if (reply.signature() != QLatin1String("a{oa{sa{sv}}}")) {
        m_warnings.warn(QStringLiteral("the list of modems is of type %1").arg(reply.signature()));
        return {reply.service(), std::nullopt, false};
    }
    const auto objects = qdbus_cast<Objects>(reply.arguments().constFirst());
    auto chosen = chooseModem(objects, m_imei, m_warnings);
    // chooseModem() has warned of objects that are no modems.
    if (!chosen && (objects.isEmpty() || !m_imei.isEmpty())) {
        m_warnings.warn(m_imei.isEmpty()
                            ? QStringLiteral("the daemon knows no modem")
                            : QStringLiteral("the daemon knows no modem of IMEI %1").arg(m_imei));
    }
    return {reply.service(), std::move(chosen), false};
}

std::optional<QVariantMap> ModemManagerClient::properties(const QString &path,
                                                          QLatin1String interface)
{
    const QDBusMessage reply = call(path, kPropertiesInterface, QLatin1String("GetAll"),
                                    {QString(interface)}, kQueryTimeout);
    if (reply.signature() != QLatin1String("a{sv}"))
        return std::nullopt;
    return qdbus_cast<QVariantMap>(reply.arguments().constFirst());
}

} // namespace devsrv
