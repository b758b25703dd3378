// SPDX-License-Identifier: MIT
#include "ModemManagerCard.h"

#include "BackendFactories.h"
#include "CardValues.h"
#include "EventDelivery.h"

#include <QtDBus/QDBusArgument>

#include <atomic>

namespace devsrv {

namespace {

// The errors that come from the modem itself. Others are the daemon's.
constexpr QLatin1String kModemErrors("org.freedesktop.ModemManager1.Error.MobileEquipment.");

// The daemon's time-out for the modem's answer is shorter by this than that of the call, so that
// the daemon reports a modem that does not answer.
constexpr milliseconds kDaemonTime{5'000};

// How long an answer with the location counts.
constexpr milliseconds kLocationTime{1'000};

// The bound of start-up: the radio is switched on, and the modem registers.
constexpr auto kStartTimeout = kEnableTimeout + milliseconds(10'000);

bool isError(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ErrorMessage;
}

QString unreachable(const QString &why)
{
    return QStringLiteral("the system message bus cannot be reached: %1; start it, or choose an "
                          "emulated card")
        .arg(why);
}

} // namespace

ModemManagerCard::ModemManagerCard(const Settings &settings, EventSink raise)
    : m_settings(settings), m_number([] {
          static std::atomic<std::uint64_t> count = 0;
          return ++count;
      }())
{
    if (const QString why = m_client.open(); !why.isEmpty()) {
        m_startError = unreachable(why);
        return;
    }
    m_mirror = std::make_unique<ModemManagerMirror>(m_client, settings.mirror, std::move(raise));
    m_mirror->moveToThread(&m_thread);
    m_thread.setObjectName(QStringLiteral("modemmanager"));
    m_thread.start();
    auto started = m_mirror->started();
    QMetaObject::invokeMethod(m_mirror.get(), &ModemManagerMirror::open, Qt::QueuedConnection);
    started.wait_for(kStartTimeout);
}

ModemManagerCard::~ModemManagerCard()
{
    if (!m_mirror)
        return;
    // The mirror's timers and pending calls must end on the thread that they belong to.
    QObject::connect(&m_thread, &QThread::finished, m_mirror.release(), &QObject::deleteLater);
    m_thread.quit();
    m_thread.wait();
}

void ModemManagerCard::begin()
{
    QMetaObject::invokeMethod(m_mirror.get(), &ModemManagerMirror::begin, Qt::QueuedConnection);
}

SnapshotPin &ModemManagerCard::pin()
{
    struct OwnedPin
    {
        std::uint64_t owner = 0;
        SnapshotPin pin;
    };
    thread_local OwnedPin owned;
    if (owned.owner != m_number)
        owned = {m_number, SnapshotPin()};
    return owned.pin;
}

SnapshotPin::Snapshot ModemManagerCard::snapshot(const char *query)
{
    return pin().hold(query, m_mirror->snapshot(), t_deliveredEvents, SnapshotPin::Clock::now());
}

template <typename Value>
std::optional<Value> ModemManagerCard::read(const char *query,
                                            std::optional<Value> ModemValues::*value)
{
    const auto held = snapshot(query);
    return held->modem ? (*held->modem).*value : std::nullopt;
}

std::string ModemManagerCard::description()
{
    const auto latest = m_mirror->snapshot();
    if (!latest->modem)
        return "no usable modem of ModemManager";
    return "modem " + latest->modem->imei.value_or(latest->modem->path.toStdString())
        + " by ModemManager";
}

std::optional<std::int32_t> ModemManagerCard::status()
{
    const auto latest = m_mirror->snapshot();
    if (!latest->modem || !latest->modem->state)
        return std::nullopt;
    return latest->modem->isAtLeast(MM_MODEM_STATE_ENABLED) ? DEVSRV_STATUS_READY : kStatusNotReady;
}

std::optional<std::string> ModemManagerCard::imei()
{
    return read(__func__, &ModemValues::imei);
}

std::optional<std::string> ModemManagerCard::imsi()
{
    return read(__func__, &ModemValues::imsi);
}

std::optional<std::string> ModemManagerCard::serialNumber()
{
    // The daemon does not know it.
    return std::nullopt;
}

std::optional<std::string> ModemManagerCard::model()
{
    return read(__func__, &ModemValues::model);
}

std::optional<CdmaIdentity> ModemManagerCard::cdmaIdentity()
{
    return read(__func__, &ModemValues::cdma);
}

std::optional<Versions> ModemManagerCard::versions()
{
    return read(__func__, &ModemValues::versions);
}

std::optional<std::int32_t> ModemManagerCard::productType()
{
    return read(__func__, &ModemValues::productType);
}

std::optional<NumberMemory> ModemManagerCard::numberMemory()
{
    return numberMemoryOf(read(__func__, &ModemValues::ownNumbers));
}

std::optional<std::string> ModemManagerCard::ownNumber(std::int32_t index)
{
    return ownNumberOf(read(__func__, &ModemValues::ownNumbers), index);
}

std::optional<std::uint8_t> ModemManagerCard::lockState()
{
    const auto held = snapshot(__func__);
    if (!held->modem)
        return std::nullopt;
    return lockStateOf(held->modem->unlockRequired, held->modem->facilityLocks);
}

std::optional<Registration> ModemManagerCard::registration(Domain domain)
{
    const auto held = snapshot(__func__);
    if (!held->modem || !held->modem->registrationState)
        return std::nullopt;
    const QString text = held->modem->isLocationSignalled() ? held->modem->location
                                                            : askedLocation(held);
    if (text.isEmpty())
        return std::nullopt;
    const auto location = parseLocation(text);
    if (!location) {
        m_client.warnings().warn(QStringLiteral("the location that the daemon gives is malformed"));
        return std::nullopt;
    }
    return registrationOf(*location, domain,
                          static_cast<std::int32_t>(*held->modem->registrationState));
}

QString ModemManagerCard::askedLocation(const SnapshotPin::Snapshot &snapshot)
{
    // Held during the call, so that threads that ask at the same time share one answer.
    const std::lock_guard lock(m_mutex);
    const auto now = SnapshotPin::Clock::now();
    if (m_location.snapshot == snapshot && now - m_location.time < kLocationTime)
        return m_location.text;
    const QDBusMessage reply = m_client.call(snapshot->modem->path, kLocationInterface,
                                             QLatin1String("GetLocation"), {}, kQueryTimeout);
    QString text;
    if (reply.signature() == QLatin1String("a{uv}")) {
        text = locationText(reply.arguments().constFirst());
    } else if (!isError(reply)) {
        m_client.warnings().warn(
            QStringLiteral("the location is of type %1").arg(reply.signature()));
    }
    m_location = {snapshot, SnapshotPin::Clock::now(), text};
    return text;
}

bool ModemManagerCard::setReportMode(Domain, std::int32_t)
{
    // The daemon always has the modem report its location, and offers no choice.
    return true;
}

std::optional<std::string> ModemManagerCard::plmn()
{
    return read(__func__, &ModemValues::plmn);
}

std::optional<SystemInfo> ModemManagerCard::systemInfo()
{
    const auto held = snapshot(__func__);
    return held->modem ? systemInfoOf(held->modem->accessTechnologies) : std::nullopt;
}

bool ModemManagerCard::sendSms(const SmsMessage &message)
{
    const auto latest = m_mirror->snapshot();
    if (!latest->modem)
        return false;
    const QString &modem = latest->modem->path;
    const QVariantMap properties{
        {QStringLiteral("number"), QString::fromStdU16String(message.number)},
        {QStringLiteral("text"), QString::fromStdU16String(message.text)},
        {QStringLiteral("delivery-report-request"), message.receipt}};
    const QDBusMessage created = m_client.call(modem, kMessagingInterface, QLatin1String("Create"),
                                               {properties}, kQueryTimeout);
    if (created.signature() != QLatin1String("o"))
        return false;
    const auto path = created.arguments().constFirst().value<QDBusObjectPath>();
    const QDBusMessage sent = m_client.call(path.path(), kSmsInterface, QLatin1String("Send"), {},
                                            m_settings.sendTime);
    // The daemon keeps messages until they are deleted, sent or not.
    m_client.call(modem, kMessagingInterface, QLatin1String("Delete"), {QVariant::fromValue(path)},
                  kQueryTimeout);
    return !isError(sent);
}

bool ModemManagerCard::execute(const std::string &command, const AnswerSink &answer)
{
    const auto latest = m_mirror->snapshot();
    {
        const std::lock_guard lock(m_mutex);
        if (!latest->modem || m_noCommands == latest->daemon)
            return false;
    }
    const auto began = SnapshotPin::Clock::now();
    const QString line = QString::fromLatin1(command).trimmed();
    const QDBusMessage reply = m_client.call(
        latest->modem->path, kModemInterface, QLatin1String("Command"),
        {line, static_cast<uint>(m_settings.commandTime.count())},
        m_settings.commandTime + kDaemonTime);
    pin().skip(SnapshotPin::Clock::now() - began);
    // The daemon removes the final result from the answer, or turns it into an error.
    if (isError(reply)) {
        // A daemon that passes on no commands at all does not change its mind.
        if (reply.errorMessage().contains(kDebugMode)) {
            const std::lock_guard lock(m_mutex);
            m_noCommands = latest->daemon;
        }
        const bool answered = reply.errorName().startsWith(kModemErrors);
        if (answered)
            answer("\r\nERROR\r\n");
        return answered;
    }
    const std::string text = reply.arguments().value(0).toString().toLatin1().toStdString();
    answer((text.empty() ? std::string() : "\r\n" + text + "\r\n") + "\r\nOK\r\n");
    return true;
}

Backend makeModemManagerCard(const BackendArgument &argument, const BackendOptions &options,
                             EventSink raise, std::string &error, const FreeDevices &freeDevices)
{
    if (argument == "") {
        error = "\"modemmanager:\" does not say which modem; write modemmanager:IMEI, or "
                "modemmanager for the first modem";
        return {};
    }
    const auto enable = options.flag("enable", true, error);
    const auto commandTime = enable
        ? options.number("at-timeout", ModemManagerCard::kCommandTime.count(), 1, 600, error)
        : std::nullopt;
    if (!commandTime)
        return {};
    freeDevices();
    const ModemChoice choice(QString::fromStdString(argument.value_or("any")));
    auto card = std::make_shared<ModemManagerCard>(
        ModemManagerCard::Settings{{choice, *enable}, std::chrono::seconds(*commandTime)},
        std::move(raise));
    if (card->startError().isEmpty())
        return {std::move(card), nullptr};
    error = card->startError().toStdString();
    return {};
}

std::vector<BackendDevice> listModemManagerCards(std::string &error)
{
    ModemManagerClient client;
    if (const QString why = client.open(); !why.isEmpty()) {
        error = "modems are not listed: " + unreachable(why).toStdString();
        return {};
    }
    const QDBusMessage reply = client.call(kManagerPath, kObjectManagerInterface,
                                           QLatin1String("GetManagedObjects"), {}, kQueryTimeout);
    const auto objects = isError(reply) ? std::nullopt : objectsIn(reply, client.warnings());
    if (!objects) {
        error = "modems are not listed: the daemon ModemManager does not run, or does not answer; "
                "start it, or choose an emulated card";
        return {};
    }
    std::vector<BackendDevice> devices;
    for (const ModemLine &line : linesOf(*objects, client.warnings()))
        devices.push_back({line.choice.toStdString(), line.description.toStdString()});
    return devices;
}

} // namespace devsrv
