// SPDX-License-Identifier: MIT
#include "ModemManagerWatcher.h"

#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>

namespace devsrv {

namespace {

// From the first change to the look that tells of it and of those that came meanwhile.
constexpr milliseconds kMergeTime{250};

// Until a daemon that did not answer is looked at again.
constexpr milliseconds kRetryTime{2'000};

// How long start-up waits for a modem that it switched on to find its network.
constexpr milliseconds kSearchTime{5'000};

struct Signal
{
    QLatin1String path; // of any object if null
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
    // Not started anew by each change: a flood would put the look off for ever.
    if (!m_timer.isActive() || m_timer.intervalAsDuration() > kMergeTime)
        m_timer.start(kMergeTime);
}

void ModemManagerWatcher::refresh(bool startDaemon)
{
    const auto look = m_client.look(startDaemon);
    if (look.silent)
        m_timer.start(kRetryTime);

    // Before begin() the first look stays what the later ones are compared with.
    Sight sight{look.daemon, look.modem ? std::optional(factsOf(*look.modem)) : std::nullopt};
    const auto events = m_raises ? eventsBetween(m_seen, sight) : std::vector<std::int32_t>();
    m_seen = std::move(sight);
    if (look.modem)
        prepare(*look.modem, look.daemon + look.modem->path());
    checkSettled();
    for (const std::int32_t event : events)
        m_raise(event);
}

void ModemManagerWatcher::prepare(const ModemObject &modem, const QString &identity)
{
    if (modem.state() == kStateDisabled && m_enabled != identity) {
        m_enabled = identity;
        enable(modem.path());
    }
    if (modem.state() >= kStateEnabled && m_located != identity) {
        m_located = identity;
        signalLocation(modem);
    }
}

void ModemManagerWatcher::enable(const QString &path)
{
    callLater(path, kModemInterface, QLatin1String("Enable"), {true}, kEnableTimeout,
              [this] { settle(); });
}

void ModemManagerWatcher::signalLocation(const ModemObject &modem)
{
    const uint sources = modem.property<uint>(kLocationInterface, QLatin1String("Enabled"))
                             .value_or(0);
    const bool signalled = modem
                               .property<bool>(kLocationInterface, QLatin1String("SignalsLocation"))
                               .value_or(false);
    if (signalled && (sources & kLocation3gpp))
        return;
    callLater(modem.path(), kLocationInterface, QLatin1String("Setup"),
              {sources | kLocation3gpp, true}, kQueryTimeout, {});
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

void ModemManagerWatcher::checkSettled()
{
    const bool searches = m_seen.modem && m_seen.modem->state >= kStateDisabled
        && m_seen.modem->state < kStateRegistered;
    // A modem that was on already had its time.
    if (!searches || m_enabled.isEmpty())
        settle();
    else if (m_seen.modem->state >= kStateEnabled)
        QTimer::singleShot(kSearchTime, this, &ModemManagerWatcher::settle);
}

void ModemManagerWatcher::settle()
{
    if (!m_isSettled)
        m_settled.set_value();
    m_isSettled = true;
}

} // namespace devsrv
