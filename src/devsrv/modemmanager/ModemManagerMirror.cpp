// SPDX-License-Identifier: MIT
#include "ModemManagerWatcher.h"

#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>

namespace devsrv {

namespace {

// From the first change to the snapshot that covers it and the changes after it.
constexpr milliseconds kMergeTime{250};

// From a time-out to the next snapshot.
constexpr milliseconds kRetryTime{2'000};

// How long start-up waits for the registration of a modem that it switched on.
constexpr milliseconds kSearchTime{5'000};

struct Signal
{
    QLatin1String path; // null: of any object
    QLatin1String interface;
    QLatin1String name;
};

constexpr Signal kSignals[] = {
    {kManagerPath, kObjectManagerInterface, QLatin1String("InterfacesAdded")},
    {kManagerPath, kObjectManagerInterface, QLatin1String("InterfacesRemoved")},
    {QLatin1String(), kPropertiesInterface, QLatin1String("PropertiesChanged")},
};

} // namespace

ModemManagerWatcher::ModemManagerWatcher(ModemManagerClient &client, EventSink raise)
    : m_client(client), m_raise(std::move(raise)), m_daemonWatcher(this), m_timer(this)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { refresh(false); });
    connect(&m_daemonWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &ModemManagerWatcher::noteChange);
}

void ModemManagerWatcher::open()
{
    m_daemonWatcher.setConnection(m_client.connection());
    m_daemonWatcher.addWatchedService(kManagerService);
    for (const Signal &signal : kSignals) {
        if (!m_client.connection().connect(kManagerService, signal.path, signal.interface,
                                           signal.name, this, SLOT(noteChange()))) {
            m_client.warnings().warn(QStringLiteral("cannot listen to %1").arg(signal.name));
        }
    }
    refresh(true);
}

void ModemManagerWatcher::begin()
{
    m_raises = true;
    noteChange();
}

void ModemManagerWatcher::noteChange()
{
    // A change does not restart the timer: a flood of changes would defer the snapshot without end.
    if (!m_timer.isActive() || m_timer.intervalAsDuration() > kMergeTime)
        m_timer.start(kMergeTime);
}

void ModemManagerWatcher::refresh(bool startDaemon)
{
    const auto snapshot = m_client.fetchSnapshot(startDaemon);
    if (snapshot.timedOut)
        m_timer.start(kRetryTime);

    EventState state{snapshot.daemon,
                     snapshot.modem ? std::optional(factsOf(*snapshot.modem)) : std::nullopt};
    const auto events = m_raises ? eventsBetween(m_state, state) : std::vector<std::int32_t>();
    m_state = std::move(state);
    if (snapshot.modem)
        prepare(*snapshot.modem, snapshot.daemon + snapshot.modem->path());
    checkStarted();
    for (const std::int32_t event : events)
        m_raise(event);
}

void ModemManagerWatcher::prepare(const ModemObject &modem, const QString &identity)
{
    if (modem.state() == MM_MODEM_STATE_DISABLED && m_enabled != identity) {
        m_enabled = identity;
        enable(modem.path());
    }
    if (modem.state() >= MM_MODEM_STATE_ENABLED && m_located != identity) {
        m_located = identity;
        signalLocation(modem);
    }
}

void ModemManagerWatcher::enable(const QString &path)
{
    callLater(path, kModemInterface, QLatin1String("Enable"), {true}, kEnableTimeout,
              [this] { finishStart(); });
}

void ModemManagerWatcher::signalLocation(const ModemObject &modem)
{
    const uint sources = modem.property<uint>(kLocationInterface, QLatin1String("Enabled"))
                             .value_or(0);
    const bool signalled = modem
                               .property<bool>(kLocationInterface, QLatin1String("SignalsLocation"))
                               .value_or(false);
    if (signalled && (sources & MM_MODEM_LOCATION_SOURCE_3GPP_LAC_CI))
        return;
    callLater(modem.path(), kLocationInterface, QLatin1String("Setup"),
              {sources | MM_MODEM_LOCATION_SOURCE_3GPP_LAC_CI, true}, kQueryTimeout, {});
}

void ModemManagerWatcher::callLater(const QString &path, QLatin1String interface,
                                    QLatin1String method, const QVariantList &arguments,
                                    milliseconds timeout, const Failure &failed)
{
    auto message = QDBusMessage::createMethodCall(kManagerService, path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    const auto pending = m_client.connection().asyncCall(message,
                                                         static_cast<int>(timeout.count()));
    auto *watcher = new QDBusPendingCallWatcher(pending, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [=, this] {
        watcher->deleteLater();
        if (!watcher->isError())
            return;
        m_client.warnings().warn(
            QStringLiteral("%1 failed: %2: %3")
                .arg(method, watcher->error().name(), watcher->error().message()));
        if (failed)
            failed();
    });
}

void ModemManagerWatcher::checkStarted()
{
    const bool searches = m_state.modem && m_state.modem->state >= MM_MODEM_STATE_DISABLED
        && m_state.modem->state < MM_MODEM_STATE_REGISTERED;
    // A modem that was on before is not waited for.
    if (!searches || m_enabled.isEmpty())
        finishStart();
    else if (m_state.modem->state >= MM_MODEM_STATE_ENABLED)
        QTimer::singleShot(kSearchTime, this, &ModemManagerWatcher::finishStart);
}

void ModemManagerWatcher::finishStart()
{
    if (!m_isStarted)
        m_started.set_value();
    m_isStarted = true;
}

} // namespace devsrv
