// SPDX-License-Identifier: MIT
#pragma once

#include "ScriptedModem.h"

#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusContext>
#include <QtDBus/QDBusMessage>

#include <atomic>
#include <memory>
#include <vector>

/// Says yes or no to whoever asks for a right, in the place of the system's authority.
class Authority : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PolicyKit1.Authority")

public:
    std::atomic<bool> grants = true;

public Q_SLOTS:
    Q_SCRIPTABLE void CheckAuthorization(const QDBusMessage &message);
};

/// A message bus of a test's own, and the peers on it: the real daemon, modems, an authority.
///
/// Everything is in one temporary folder and ends with the object, by process id. The peers run on
/// a thread of their own: a test may block on a query that they are to answer.
class TestBed
{
public:
    TestBed();
    ~TestBed();

    /// Starts the bus and puts its address where the product looks for the system's.
    bool startBus();
    void stopBus();

    /// Starts the daemon; raw AT commands are allowed to it only if `rawCommands`.
    bool startDaemon(bool rawCommands = false);
    void killDaemon();
    QByteArray daemonLog() const;

    /// Makes a modem and hands it to the daemon.
    ScriptedModem *plug(const Script &script);

    /// Waits until the daemon lists that many modems.
    bool waitForModems(int count);

    /// Hands a modem to the daemon, which may have been started anew.
    bool plugAgain(const ScriptedModem &modem);

    /// Takes a modem from the daemon, or gives it back.
    bool inhibit(const ScriptedModem &modem, bool inhibited);

    /// A call of the daemon that a test makes for itself.
    QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                      const QVariantList &arguments = {});

    /// What the daemon's command-line client says of the only modem, by its keys.
    QHash<QString, QString> witness(const QStringList &what = {});

    /// Moves an object to the thread of the peers, which is to delete it.
    template <typename Object>
    Object *adopt(std::unique_ptr<Object> object)
    {
        object->moveToThread(&m_peers);
        QObject::connect(&m_peers, &QThread::finished, object.get(), &QObject::deleteLater);
        return object.release();
    }

    Authority &authority() { return *m_authority; }
    QDBusConnection &connection() { return m_connection; }

private:
    QTemporaryDir m_folder;
    QThread m_peers;
    QProcess m_bus;
    QProcess m_daemon;
    QDBusConnection m_connection;
    Authority *m_authority = nullptr;
    int m_modems = 0;
};

/// Runs `action` on the thread of `object` and waits for its result.
template <typename Action>
auto onThreadOf(QObject *object, Action action)
{
    decltype(action()) result{};
    QMetaObject::invokeMethod(
        object, [&] { result = action(); }, Qt::BlockingQueuedConnection);
    return result;
}
