// SPDX-License-Identifier: MIT
#pragma once

#include "ModemManagerClient.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <QtDBus/QDBusServiceWatcher>

#include <functional>
#include <future>

namespace devsrv {

/// Turns the daemon's signals into events, and makes a modem that appears ready for queries.
///
/// Lives on a thread with an event loop of its own, on which it raises the events; the client is to
/// outlive it. A signal only says that something changed: what it was, one look tells, so that
/// however many changes make one event of each number for each look.
class ModemManagerWatcher : public QObject
{
    Q_OBJECT

public:
    ModemManagerWatcher(ModemManagerClient &client, EventSink raise);

    /// Connects to the signals and takes the first look. On the watcher's thread.
    void open();

    /// Raises events from now on, beginning with what changed since start-up. On the watcher's
    /// thread.
    void begin();

    /// Is ready when the modem needs no more waiting for: it has found its network, or will not
    /// soon, or there is none.
    std::future<void> settled() { return m_settled.get_future(); }

private Q_SLOTS:
    void noteChange();

private:
    void refresh(bool startDaemon);
    void prepare(const ModemObject &modem, const QString &identity);
    void enable(const QString &path);
    void signalLocation(const ModemObject &modem);
    void checkSettled();
    void settle();
    using Failure = std::function<void()>;
    void callLater(const QString &path, QLatin1String interface, QLatin1String method,
                   const QVariantList &arguments, milliseconds timeout, const Failure &failed);

    ModemManagerClient &m_client;
    const EventSink m_raise;
    QDBusServiceWatcher m_daemonWatcher;
    QTimer m_timer;
    Sight m_seen;
    QString m_enabled; // the modem that was asked to switch on, so that a user may switch it off
    QString m_located; // the modem that was asked to signal its location
    std::promise<void> m_settled;
    bool m_isSettled = false;
    bool m_raises = false;
};

} // namespace devsrv
