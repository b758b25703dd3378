// SPDX-License-Identifier: MIT
#pragma once

#include "ModemManagerClient.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <QtDBus/QDBusServiceWatcher>

#include <functional>
#include <future>

namespace devsrv {

/// Turns the daemon's signals into events, and prepares a modem that appears for queries.
///
/// Lives on a thread with an event loop of its own and raises the events there. The client must
/// outlive it. A signal only schedules a snapshot. The events follow from the differences between
/// two snapshots: many changes between them raise one event of each number.
class ModemManagerWatcher : public QObject
{
    Q_OBJECT

public:
    ModemManagerWatcher(ModemManagerClient &client, EventSink raise);

    /// Connects to the signals and takes the first snapshot. On the watcher's thread.
    void open();

    /// Raises events from now on, and those of the changes since the first snapshot. On the
    /// watcher's thread.
    void begin();

    /// Becomes ready when start-up is finished: the modem is registered, registration has failed,
    /// or there is no modem.
    std::future<void> started() { return m_started.get_future(); }

private Q_SLOTS:
    void noteChange();

private:
    void refresh(bool startDaemon);
    void prepare(const ModemObject &modem, const QString &identity);
    void enable(const QString &path);
    void signalLocation(const ModemObject &modem);
    void checkStarted();
    void finishStart();
    using Failure = std::function<void()>;
    void callLater(const QString &path, QLatin1String interface, QLatin1String method,
                   const QVariantList &arguments, milliseconds timeout, const Failure &failed);

    ModemManagerClient &m_client;
    const EventSink m_raise;
    QDBusServiceWatcher m_daemonWatcher;
    QTimer m_timer;
    EventState m_state;
    QString m_enabled; // the modem that was switched on; a user may switch it off afterwards
    QString m_located; // the modem that was set up to signal its location
    std::promise<void> m_started;
    bool m_isStarted = false;
    bool m_raises = false;
};

} // namespace devsrv
