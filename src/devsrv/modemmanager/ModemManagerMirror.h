// SPDX-License-Identifier: MIT
#pragma once

#include "ModemManagerClient.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <QtDBus/QDBusServiceWatcher>

#include <functional>
#include <future>
#include <memory>

namespace devsrv {

/// A mirror of the chosen modem and its SIM, kept current by the daemon's signals, which also turns
/// its changes into events, and prepares a modem that appears for queries.
///
/// Lives on a thread with an event loop of its own and raises the events there. The client must
/// outlive it. The daemon's answers and signals reach that thread in the order in which the daemon
/// sent them. An event is raised at most 250 ms after the mirror shows the change, so that many
/// changes raise one event of each number. Of other modems nothing is kept.
class ModemManagerMirror : public QObject
{
    Q_OBJECT

public:
    struct Settings
    {
        ModemChoice choice;
        bool enable = true; ///< switch the modem on, and have its location signalled
    };

    ModemManagerMirror(ModemManagerClient &client, Settings settings, EventSink raise);

    /// The present state, which does not change. On any thread.
    std::shared_ptr<const ModemSnapshot> snapshot() const;

    /// Connects to the signals and asks for the first state. On the mirror's thread.
    void open();

    /// Raises events from now on, and those of the changes since start-up was finished. On the
    /// mirror's thread.
    void begin();

    /// Becomes ready when start-up is finished: the modem is registered, registration has failed,
    /// the daemon did not answer, or there is no modem.
    std::future<void> started() { return m_started.get_future(); }

private Q_SLOTS:
    void noteAdded(const QDBusObjectPath &object);
    void noteRemoved(const QDBusObjectPath &object, const QStringList &interfaces);
    void noteProperties(const QString &interface, const QVariantMap &changed,
                        const QStringList &invalidated, const QDBusMessage &signal);
    void noteOwner(const QString &service, const QString &before, const QString &after);
    void noteLostBus();

private:
    using Answer = std::function<void(const QDBusMessage &reply)>;
    using Failure = std::function<void(const QDBusError &error)>;

    void subscribe();
    void openAgain();
    void fetch();
    void take(const QDBusMessage &reply);
    void update();
    void failToFetch(const QDBusError &error);
    void readAll(const QString &path, const QString &interface);
    QString nextDaemon();
    void forget();
    void publish();
    void prepare(const ModemValues &modem);
    void checkStarted();
    void finishStart();
    void raiseEvents();
    void ask(const QDBusMessage &call, milliseconds timeout, const Answer &answer,
             const Failure &failure = {});

    ModemManagerClient &m_client;
    const Settings m_settings;
    const EventSink m_raise;
    QDBusServiceWatcher m_daemonWatcher;
    QTimer m_mergeTimer;
    QTimer m_fetchTimer;
    QTimer m_busTimer;
    milliseconds m_busPause{};

    // The mirror itself, in the daemon's terms.
    QString m_daemon; // as in ModemSnapshot
    int m_daemons = 0;
    QString m_path; // of the modem; empty if there is none
    QString m_simPath;
    Interfaces m_interfaces; // the SIM's, too
    int m_life = 0;          // counts the modems: an answer about an earlier one is ignored

    int m_reading = 0; // answers that the first state waits for
    bool m_fetching = false;
    bool m_fetchAgain = false;

    mutable std::mutex m_mutex;
    std::shared_ptr<const ModemSnapshot> m_snapshot;
    std::shared_ptr<const ModemSnapshot> m_raised; // what the events have reported

    QString m_enabled; // the modem that was switched on; a user may switch it off afterwards
    QString m_located; // the modem that was set up to signal its location
    std::promise<void> m_started;
    bool m_isStarted = false;
    bool m_raises = false;
};

} // namespace devsrv
