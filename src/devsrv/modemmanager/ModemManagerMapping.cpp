// SPDX-License-Identifier: MIT
#include "ModemManagerMapping.h"

#include <QtCore/QDebug>
#include <QtCore/QStringList>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusVariant>

#include <algorithm>
#include <tuple>

namespace devsrv {

namespace {

constexpr std::int32_t kReportModeUnknown = 0;

struct Technology
{
    uint flags;
    SystemInfo info;
};

// From the best to the poorest. The variants of LTE for machines are LTE to a listener.
constexpr Technology kTechnologies[] = {
    {0x4000 | 0x10000 | 0x20000, {6, 101}}, // LTE, LTE-M, NB-IoT
    {0x200, {5, 45}},                       // HSPA+
    {0x100, {5, 44}},                       // HSPA
    {0x80, {5, 43}},                        // HSUPA
    {0x40, {5, 42}},                        // HSDPA
    {0x20, {5, 41}},                        // UMTS
    {0x2000, {4, 26}},                      // EV-DO rev. B
    {0x1000, {4, 25}},                      // EV-DO rev. A
    {0x800, {4, 24}},                       // EV-DO rev. 0
    {0x400, {2, 23}},                       // 1x
    {0x10, {3, 3}},                         // EDGE
    {0x8, {3, 2}},                          // GPRS
    {0x2 | 0x4, {3, 1}},                    // GSM, GSM compact
};

constexpr uint kLockUnknown = 0;
constexpr uint kLockNone = 1;
constexpr uint kLockPin2 = 3;
constexpr uint kLockPuk2 = 5;

struct FacilityLock
{
    uint flag;
    std::uint8_t lock; // the number under which the daemon asks for its code
};

// The locks that bind a modem to a SIM or network. A PIN that was entered binds nothing.
constexpr FacilityLock kFacilityLocks[] = {
    {16, 8},   // network
    {32, 15},  // network subset
    {64, 6},   // service provider
    {128, 11}, // corporate
    {4, 10},   // SIM
    {8, 13},   // first SIM ever
};

constexpr uint kCapabilityCdma = 2;
constexpr uint kCapabilityGsmUmts = 4;
constexpr uint kCapabilityLte = 8;

int modemNumber(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1).toInt();
}

bool isHex(const QString &text)
{
    bool ok = false;
    text.toULongLong(&ok, 16);
    return ok;
}

// 0 and FFFE stand for "no area" on the radio, and the daemon writes 0 for what it does not have.
bool isArea(const std::string &text)
{
    const auto number = std::stoull(text, nullptr, 16);
    return number != 0 && number != 0xFFFE;
}

} // namespace

void OnceWarnings::warn(const QString &text)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_given.contains(text))
            return;
        m_given.insert(text);
    }
    qWarning().noquote() << QStringLiteral("modemmanager: %1").arg(text);
}

bool ModemObject::typed(const QVariant &value, QMetaType type, QLatin1String interface,
                        QLatin1String name) const
{
    if (value.metaType() == type)
        return true;
    m_warnings->warn(
        QStringLiteral("property %1 of %2 is of type %3 where %4 was expected")
            .arg(name, interface, QLatin1String(value.typeName()), QLatin1String(type.name())));
    return false;
}

std::optional<QString> ModemObject::text(QLatin1String interface, QLatin1String name) const
{
    const auto value = property<QString>(interface, name);
    return value && !value->isEmpty() ? value : std::nullopt;
}

std::optional<QString> ModemObject::imei() const
{
    if (auto imei = text(k3gppInterface, QLatin1String("Imei")))
        return imei;
    // Stands there while the SIM is locked, but is no IMEI on a modem that is CDMA only.
    if (has(kCdmaInterface))
        return std::nullopt;
    return text(kModemInterface, QLatin1String("EquipmentIdentifier"));
}

int ModemObject::state() const
{
    return property<int>(kModemInterface, QLatin1String("State")).value_or(0);
}

QString ModemObject::signalledLocation() const
{
    return locationText(m_interfaces.value(kLocationInterface).value(QStringLiteral("Location")));
}

std::optional<ModemObject> chooseModem(const Objects &objects, const QString &imei,
                                       OnceWarnings &warnings)
{
    std::optional<ModemObject> chosen;
    for (auto object = objects.begin(); object != objects.end(); ++object) {
        const ModemObject modem(object.key().path(), object.value(), warnings);
        if (!modem.has(kModemInterface)) {
            warnings.warn(
                QStringLiteral("%1 has no interface %2").arg(modem.path(), kModemInterface));
            continue;
        }
        if (!imei.isEmpty() && modem.imei() != imei)
            continue;
        if (!chosen || modemNumber(modem.path()) < modemNumber(chosen->path()))
            chosen = modem;
    }
    return chosen;
}

std::optional<SystemInfo> systemInfoOf(uint accessTechnologies)
{
    for (const Technology &technology : kTechnologies) {
        if (accessTechnologies & technology.flags)
            return technology.info;
    }
    return std::nullopt;
}

std::optional<CellLocation> parseLocation(const QString &text)
{
    const QStringList fields = text.split(QLatin1Char(','));
    if (fields.size() != 5 || !std::all_of(fields.begin() + 2, fields.end(), isHex))
        return std::nullopt;
    return CellLocation{fields[2].toStdString(), fields[3].toStdString(), fields[4].toStdString()};
}

std::optional<Registration> registrationOf(const CellLocation &location, Domain domain,
                                           std::int32_t state)
{
    const bool tracked = domain == Domain::PacketSwitched && isArea(location.trackingArea);
    const std::string &area = tracked ? location.trackingArea : location.locationArea;
    if (!isArea(area))
        return std::nullopt;
    return Registration{kReportModeUnknown, state, area, location.cell};
}

QString locationText(const QVariant &dictionary)
{
    if (dictionary.metaType() != QMetaType::fromType<QDBusArgument>())
        return {};
    const auto argument = dictionary.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("a{uv}"))
        return {};
    const auto sources = qdbus_cast<QMap<uint, QDBusVariant>>(argument);
    return sources.value(kLocation3gpp).variant().toString();
}

std::optional<std::uint8_t> lockStateOf(uint unlockRequired, uint enabledFacilityLocks)
{
    if (unlockRequired == kLockUnknown)
        return std::nullopt;
    // The second PIN guards some features of the SIM only: the modem works without it.
    const bool waits = unlockRequired != kLockNone && unlockRequired != kLockPin2
        && unlockRequired != kLockPuk2;
    if (waits)
        return static_cast<std::uint8_t>(unlockRequired);
    for (const FacilityLock &facility : kFacilityLocks) {
        if (enabledFacilityLocks & facility.flag)
            return facility.lock;
    }
    return 0;
}

std::optional<std::int32_t> productTypeOf(uint capabilities)
{
    // A modem for both families goes by the SIM, hence by its IMEI.
    if (capabilities & kCapabilityGsmUmts)
        return ZEPA_PRODUCT_TYPE_WCDMA;
    if (capabilities & kCapabilityCdma)
        return ZEPA_PRODUCT_TYPE_CDMA;
    if (capabilities & kCapabilityLte)
        return ZEPA_PRODUCT_TYPE_WCDMA;
    return std::nullopt;
}

ModemFacts factsOf(const ModemObject &modem)
{
    const auto number = [&](QLatin1String interface, QLatin1String name) {
        return modem.property<uint>(interface, name).value_or(0);
    };
    ModemFacts facts;
    facts.path = modem.path();
    facts.state = modem.state();
    facts.sim = modem.property<QDBusObjectPath>(kModemInterface, QLatin1String("Sim"))
                    .value_or(QDBusObjectPath())
                    .path();
    facts.unlockRequired = number(kModemInterface, QLatin1String("UnlockRequired"));
    facts.facilityLocks = number(k3gppInterface, QLatin1String("EnabledFacilityLocks"));
    facts.accessTechnologies = number(kModemInterface, QLatin1String("AccessTechnologies"));
    facts.registrationState = number(k3gppInterface, QLatin1String("RegistrationState"));
    facts.operatorCode = modem.text(k3gppInterface, QLatin1String("OperatorCode"))
                             .value_or(QString());
    facts.location = modem.signalledLocation();
    return facts;
}

std::vector<std::int32_t> eventsBetween(const Sight &before, const Sight &after)
{
    std::vector<std::int32_t> events;
    const bool daemonStayed = before.daemon == after.daemon;
    const bool same = before.modem && after.modem && daemonStayed
        && before.modem->path == after.modem->path;
    if (before.modem && !same) {
        if (daemonStayed)
            events = {DEVSRV_EVENT_DEVICE_REMOVED, DEVSRV_EVENT_CARD_CHANGED};
        else
            events = {DEVSRV_EVENT_DEVICE_LOST};
        // What the report says of the modem is out of date; one that took its place says so itself.
        if (!daemonStayed && !after.modem)
            events.push_back(DEVSRV_EVENT_CARD_CHANGED);
    }
    if (!after.modem)
        return events;

    const ModemFacts was = same ? *before.modem : ModemFacts{};
    const ModemFacts &is = *after.modem;
    if (!same)
        events.push_back(DEVSRV_EVENT_CARD_CHANGED);
    if (was.state < kStateDisabled && is.state >= kStateDisabled)
        events.push_back(ZEPA_EVENT_DEV_DEVICE_INIT_FINISH);
    else if (was.state < kStateEnabled && is.state >= kStateEnabled)
        events.push_back(DEVSRV_EVENT_DEVICE_ENABLED);
    if (!same)
        return events;

    const auto sim = [](const ModemFacts &facts) {
        return std::tie(facts.sim, facts.unlockRequired, facts.facilityLocks);
    };
    const auto network = [](const ModemFacts &facts) {
        return std::tie(facts.accessTechnologies, facts.registrationState, facts.operatorCode,
                        facts.location);
    };
    const bool registrationChanged = (was.state >= kStateRegistered)
        != (is.state >= kStateRegistered);
    if (sim(was) != sim(is))
        events.push_back(DEVSRV_EVENT_SIM_CHANGED);
    if (registrationChanged || network(was) != network(is))
        events.push_back(DEVSRV_EVENT_NETWORK_CHANGED);
    return events;
}

} // namespace devsrv
