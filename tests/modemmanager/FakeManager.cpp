// SPDX-License-Identifier: MIT
#include "FakeManager.h"

#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>

FakeInterfaces FakeManager::modem()
{
    const QString modem = QStringLiteral("org.freedesktop.ModemManager1.Modem");
    const QString imei = QStringLiteral("490154203237518");
    return {{modem,
             {{QStringLiteral("State"), 8},
              {QStringLiteral("Model"), QStringLiteral("FR210")},
              {QStringLiteral("Revision"), QStringLiteral("B07")},
              {QStringLiteral("EquipmentIdentifier"), imei},
              {QStringLiteral("Sim"),
               QVariant::fromValue(
                   QDBusObjectPath(QStringLiteral("/org/freedesktop/ModemManager1/SIM/0")))},
              {QStringLiteral("OwnNumbers"), QStringList{QStringLiteral("+34600123456")}},
              {QStringLiteral("CurrentCapabilities"), 4u},
              {QStringLiteral("AccessTechnologies"), 32u},
              {QStringLiteral("UnlockRequired"), 1u}}},
            {modem + QStringLiteral(".Modem3gpp"),
             {{QStringLiteral("RegistrationState"), 1u},
              {QStringLiteral("OperatorCode"), QStringLiteral("21407")}}},
            {modem + QStringLiteral(".Location"),
             {{QStringLiteral("Enabled"), 1u}, {QStringLiteral("SignalsLocation"), true}}}};
}

void FakeManager::answer(const QString &method, const QVariant &value)
{
    const QMutexLocker lock(&m_mutex);
    m_answers[method] = value;
}

void FakeManager::setSilent(bool silent)
{
    const QMutexLocker lock(&m_mutex);
    m_silent = silent;
    m_lastCall = 0;
}

void FakeManager::fallSilentAfter(int calls)
{
    const QMutexLocker lock(&m_mutex);
    m_lastCall = m_calls + calls;
}

int FakeManager::callCount() const
{
    const QMutexLocker lock(&m_mutex);
    return m_calls;
}

QString FakeManager::introspect(const QString &) const
{
    return {};
}

bool FakeManager::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    const QMutexLocker lock(&m_mutex);
    ++m_calls;
    if (m_silent || (m_lastCall != 0 && m_calls > m_lastCall))
        return true;
    const QVariant answer = m_answers.value(message.member());
    return connection.send(
        answer.isValid() ? message.createReply(answer)
                         : message.createErrorReply(QDBusError::UnknownMethod, message.member()));
}
