// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtCore/QSet>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusVirtualObject>

using FakeInterfaces = QMap<QString, QVariantMap>;
using FakeObjects = QMap<QDBusObjectPath, FakeInterfaces>;

/// A daemon that says what no real one says: answers of other types, or none.
///
/// Answers by the name of the method, whatever the object. Any thread may set the answers.
class FakeManager : public QDBusVirtualObject
{
public:
    /// What GetManagedObjects tells of one registered modem of 3G.
    static FakeInterfaces modem();

    void answer(const QString &method, const QVariant &value);
    void setSilent(bool silent);

    /// Answers that many calls more, and then none.
    void fallSilentAfter(int calls);
    int callCount() const;

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    mutable QMutex m_mutex;
    QHash<QString, QVariant> m_answers;
    bool m_silent = false;
    int m_calls = 0;
    int m_lastCall = 0; // 0: no last one
};
