// SPDX-License-Identifier: MIT
#include "ModemManagerMirror.h"

#include "CardValues.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>

#include <algorithm>

namespace devsrv {

namespace {

// From an answer that may be out of date, or that did not come, to the next question.
constexpr milliseconds kRetryTime{250};
constexpr milliseconds kSilenceTime{2'000};

// From the loss of the bus to the next attempts, each pause twice the one before.
constexpr milliseconds kFirstBusPause{1'000};
constexpr milliseconds kLastBusPause{30'000};

// How long start-up waits for the registration of a modem that it switched on, and then for its
// operator, technology and location, which the daemon tells later than the registration.
constexpr milliseconds kSearchTime{5'000};
constexpr milliseconds kCompletionTime{2'000};

// From then on: the daemon asks for the place in each kind of network.
constexpr milliseconds kSettleTime{250};

bool isComplete(const ModemValues &modem)
{
    const bool hasPlace = modem.plmn && !modem.location.isEmpty();
    return modem.accessTechnologies != 0 && (hasPlace || !modem.registrationState);
}

struct Signal
{
    QLatin1String service; // null: the bus itself
    QLatin1String path;    // null: of any object
    QLatin1String interface;
    QLatin1String name;
    const char *slot;
};

// Not constexpr: SLOT() is none in a debug build.
const Signal kSignals[] = {
    {kManagerService, kManagerPath, kObjectManagerInterface, QLatin1String("InterfacesAdded"),
     SLOT(noteAdded(QDBusObjectPath))},
    {kManagerService, kManagerPath, kObjectManagerInterface, QLatin1String("InterfacesRemoved"),
     SLOT(noteRemoved(QDBusObjectPath, QStringList))},
    {kManagerService, QLatin1String(), kPropertiesInterface, QLatin1String("PropertiesChanged"),
     SLOT(noteProperties(QString, QVariantMap, QStringList, QDBusMessage))},
    {QLatin1String(), QLatin1String("/org/freedesktop/DBus/Local"),
     QLatin1String("org.freedesktop.DBus.Local"), QLatin1String("Disconnected"),
     SLOT(noteLostBus())},
};

} // namespace

ModemManagerMirror::ModemManagerMirror(ModemManagerClient &client, Settings settings,
                                       EventSink raise)
    : m_client(client), m_settings(std::move(settings)), m_raise(std::move(raise)),
      m_daemonWatcher(this), m_mergeTimer(this), m_fetchTimer(this), m_busTimer(this),
      m_snapshot(std::make_shared<const ModemSnapshot>()), m_raised(m_snapshot)
{
    qRegisterMetaType<QDBusObjectPath>();
    const auto setUp = [this](QTimer &timer, auto timeout) {
        timer.setSingleShot(true);
        connect(&timer, &QTimer::timeout, this, timeout);
    };
    setUp(m_mergeTimer, &ModemManagerMirror::raiseEvents);
    setUp(m_fetchTimer, &ModemManagerMirror::fetch);
    setUp(m_busTimer, &ModemManagerMirror::openAgain);
    connect(&m_daemonWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &ModemManagerMirror::noteOwner);
}

std::shared_ptr<const ModemSnapshot> ModemManagerMirror::snapshot() const
{
    const std::lock_guard lock(m_mutex);
    return m_snapshot;
}

void ModemManagerMirror::open()
{
    subscribe();
    m_daemonWatcher.addWatchedService(kManagerService);
    fetch();
}

void ModemManagerMirror::begin()
{
    m_raises = true;
    m_mergeTimer.start(kMergeTime);
}

// Before the first question: a change that its answer lacks comes as a signal.
void ModemManagerMirror::subscribe()
{
    QDBusConnection connection = m_client.connection();
    m_daemonWatcher.setConnection(connection);
    for (const Signal &signal : kSignals) {
        if (!connection.connect(signal.service, signal.path, signal.interface, signal.name, this,
                                signal.slot)) {
            m_client.warnings().warn(QStringLiteral("cannot listen to %1").arg(signal.name));
        }
    }
}

void ModemManagerMirror::noteLostBus()
{
    m_client.warnings().warn(QStringLiteral("the system message bus is lost; it is tried again"));
    forget();
    m_daemon.clear();
    publish();
    m_busPause = kFirstBusPause;
    m_busTimer.start(m_busPause);
}

void ModemManagerMirror::openAgain()
{
    if (!m_client.open().isEmpty()) {
        m_busPause = std::min(2 * m_busPause, kLastBusPause);
        m_busTimer.start(m_busPause);
        return;
    }
    subscribe();
    fetch();
}

// Newer versions of Qt do not tell who sent a reply, so the daemons are counted.
QString ModemManagerMirror::nextDaemon()
{
    return QString::number(++m_daemons);
}

void ModemManagerMirror::noteOwner(const QString &, const QString &, const QString &after)
{
    forget();
    m_daemon = after.isEmpty() ? QString() : nextDaemon();
    publish();
    if (!after.isEmpty())
        fetch();
}

// Fetches the list of modems, which has the content of the signal and the changes since then.
void ModemManagerMirror::noteAdded(const QDBusObjectPath &object)
{
    if (m_path.isEmpty() || object.path() == m_path)
        fetch();
}

void ModemManagerMirror::noteRemoved(const QDBusObjectPath &object, const QStringList &interfaces)
{
    if (m_path.isEmpty() || object.path() != m_path)
        return;
    if (interfaces.contains(kModemInterface)) {
        forget();
        publish();
    }
    fetch();
}

void ModemManagerMirror::noteProperties(const QString &interface, const QVariantMap &changed,
                                        const QStringList &invalidated, const QDBusMessage &signal)
{
    if (m_path.isEmpty()) {
        // It may be of the modem that the answer brings, or make a modem the chosen one.
        if (m_fetching || changed.contains(QStringLiteral("EquipmentIdentifier")))
            fetch();
        return;
    }
    if (signal.path() != (interface == kSimInterface ? m_simPath : m_path))
        return;
    m_fetchAgain = m_fetching;
    const QVariantMap news = mirrored(interface, changed);
    for (auto property = news.begin(); property != news.end(); ++property)
        m_interfaces[interface][property.key()] = property.value();
    if (!invalidated.isEmpty())
        readAll(signal.path(), interface);
    if (!news.isEmpty())
        update();
}

void ModemManagerMirror::fetch()
{
    if (m_fetching) {
        m_fetchAgain = true;
        return;
    }
    m_fetching = true;
    m_fetchAgain = false;
    ++m_reading;
    auto call = ModemManagerClient::message(kManagerPath, kObjectManagerInterface,
                                            QLatin1String("GetManagedObjects"));
    call.setAutoStartService(!m_isStarted);
    const auto ended = [this] {
        m_fetching = false;
        --m_reading;
        // What was signalled meanwhile may be older or newer than the answer.
        if (m_fetchAgain)
            m_fetchTimer.start(kRetryTime);
    };
    ask(
        call, kQueryTimeout,
        [=, this](const QDBusMessage &reply) {
            ended();
            take(reply);
        },
        [=, this](const QDBusError &error) {
            ended();
            failToFetch(error);
        });
}

void ModemManagerMirror::take(const QDBusMessage &reply)
{
    // The bus tells which daemon comes and goes, and not which one was there before.
    if (m_daemon.isEmpty())
        m_daemon = nextDaemon();
    const auto objects = objectsIn(reply, m_client.warnings());
    const auto modem = objects ? chooseModem(*objects, m_settings.choice, m_client.warnings())
                               : std::nullopt;
    if (!modem || modem->path() != m_path)
        forget();
    // chooseModem() has warned of objects that are no modems.
    if (objects && !modem && (objects->isEmpty() || !m_settings.choice.isAny()))
        m_client.warnings().warn(m_settings.choice.absence());
    if (!modem)
        return publish();
    m_path = modem->path();
    Interfaces kept;
    for (auto interface = modem->interfaces().begin(); interface != modem->interfaces().end();
         ++interface)
        kept[interface.key()] = mirrored(interface.key(), interface.value());
    kept[kSimInterface] = m_interfaces.value(kSimInterface);
    m_interfaces = kept;
    update();
}

// Reads the SIM if it is another one, and publishes what is known until then.
void ModemManagerMirror::update()
{
    const QString simPath = ModemObject(m_path, m_interfaces, m_client.warnings()).simPath();
    if (simPath != m_simPath) {
        m_interfaces.remove(kSimInterface);
        m_simPath = simPath;
        if (!simPath.isEmpty())
            readAll(simPath, kSimInterface);
    }
    publish();
}

// The daemon does not answer, or does not run. What is known of a modem stays.
void ModemManagerMirror::failToFetch(const QDBusError &error)
{
    if (isAbsence(error)) {
        forget();
        m_daemon.clear();
    } else if (m_client.connection().isConnected()) {
        m_fetchTimer.start(kSilenceTime);
    }
    publish();
    if (!m_snapshot->modem)
        finishStart();
}

// Replaces what is mirrored of one interface of the modem or its SIM.
void ModemManagerMirror::readAll(const QString &path, const QString &interface)
{
    ++m_reading;
    ask(
        ModemManagerClient::message(path, kPropertiesInterface, QLatin1String("GetAll"),
                                    {interface}),
        kQueryTimeout,
        [=, this, life = m_life](const QDBusMessage &reply) {
            --m_reading;
            const bool isCurrent = life == m_life
                && path == (interface == kSimInterface ? m_simPath : m_path);
            if (isCurrent && reply.signature() == QLatin1String("a{sv}")) {
                m_interfaces[interface] = mirrored(
                    interface, qdbus_cast<QVariantMap>(reply.arguments().constFirst()));
                update();
            } else {
                publish();
            }
        },
        [=, this, life = m_life](const QDBusError &error) {
            --m_reading;
            if (life == m_life && error.type() == QDBusError::NoReply) {
                m_fetchTimer.start(kSilenceTime);
                if (path == m_simPath)
                    m_simPath.clear();
            }
            publish();
        });
}

void ModemManagerMirror::forget()
{
    ++m_life;
    m_path.clear();
    m_simPath.clear();
    m_interfaces.clear();
}

void ModemManagerMirror::publish()
{
    auto snapshot = std::make_shared<ModemSnapshot>();
    snapshot->daemon = m_daemon;
    if (!m_path.isEmpty()) {
        snapshot->modem = valuesOf(ModemObject(m_path, m_interfaces, m_client.warnings()),
                                   m_interfaces.value(kSimInterface), m_client.warnings());
    }
    {
        const std::lock_guard lock(m_mutex);
        m_snapshot = snapshot;
    }
    if (snapshot->modem)
        prepare(*snapshot->modem);
    checkStarted();
    if (m_raises && !m_mergeTimer.isActive())
        m_mergeTimer.start(kMergeTime);
}

void ModemManagerMirror::raiseEvents()
{
    const auto events = eventsBetween(*m_raised, *m_snapshot);
    m_raised = m_snapshot;
    for (const std::int32_t event : events)
        m_raise(event);
}

void ModemManagerMirror::prepare(const ModemValues &modem)
{
    if (!m_settings.enable)
        return;
    const QString identity = m_daemon + modem.path;
    if (modem.state == MM_MODEM_STATE_DISABLED && m_enabled != identity) {
        m_enabled = identity;
        m_client.warnings().warn(
            QStringLiteral("the modem was off and is switched on; \"modemmanager?enable=no\" "
                           "leaves it as it is"));
        ask(ModemManagerClient::message(modem.path, kModemInterface, QLatin1String("Enable"),
                                        {true}),
            kEnableTimeout, {}, [this](const QDBusError &) { finishStart(); });
    }
    if (modem.isAtLeast(MM_MODEM_STATE_ENABLED) && !modem.isLocationSignalled()
        && m_located != identity) {
        m_located = identity;
        ask(ModemManagerClient::message(
                modem.path, kLocationInterface, QLatin1String("Setup"),
                {modem.locationSources | MM_MODEM_LOCATION_SOURCE_3GPP_LAC_CI, true}),
            kQueryTimeout, {});
    }
}

// Calls the daemon, and `answer` or `failure` with what it says.
void ModemManagerMirror::ask(const QDBusMessage &call, milliseconds timeout, const Answer &answer,
                             const Failure &failure)
{
    const auto pending = m_client.connection().asyncCall(call, static_cast<int>(timeout.count()));
    auto *const watcher = new QDBusPendingCallWatcher(pending, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [=, this] {
        watcher->deleteLater();
        if (watcher->isError()) {
            m_client.warn(call, watcher->error());
            if (failure)
                failure(watcher->error());
        } else if (answer) {
            answer(watcher->reply());
        }
    });
}

void ModemManagerMirror::checkStarted()
{
    if (m_isStarted || m_reading > 0)
        return;
    const auto &modem = m_snapshot->modem;
    // A modem that was on before is not waited for.
    if (m_enabled.isEmpty() || !modem || !modem->isAtLeast(MM_MODEM_STATE_DISABLED))
        finishStart();
    else if (modem->isAtLeast(MM_MODEM_STATE_REGISTERED))
        QTimer::singleShot(isComplete(*modem) ? kSettleTime : kCompletionTime, this,
                           &ModemManagerMirror::finishStart);
    else if (modem->isAtLeast(MM_MODEM_STATE_ENABLED))
        QTimer::singleShot(kSearchTime, this, &ModemManagerMirror::finishStart);
}

void ModemManagerMirror::finishStart()
{
    if (m_isStarted)
        return;
    m_isStarted = true;
    m_raised = m_snapshot;
    m_started.set_value();
}

} // namespace devsrv
