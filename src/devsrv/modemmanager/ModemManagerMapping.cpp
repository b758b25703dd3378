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

// From the best to the poorest. A listener takes the variants of LTE for machines for LTE.
constexpr Technology kTechnologies[] = {
    {MM_MODEM_ACCESS_TECHNOLOGY_LTE | MM_MODEM_ACCESS_TECHNOLOGY_LTE_CAT_M
         | MM_MODEM_ACCESS_TECHNOLOGY_LTE_NB_IOT,
     {SYSTEM_MODE_LTE, SUB_MODE_LTE}},
    {MM_MODEM_ACCESS_TECHNOLOGY_HSPA_PLUS, {SYSTEM_MODE_WCDMA, SUB_MODE_HSPA_PLUS}},
    {MM_MODEM_ACCESS_TECHNOLOGY_HSPA, {SYSTEM_MODE_WCDMA, SUB_MODE_HSPA}},
    {MM_MODEM_ACCESS_TECHNOLOGY_HSUPA, {SYSTEM_MODE_WCDMA, SUB_MODE_HSUPA}},
    {MM_MODEM_ACCESS_TECHNOLOGY_HSDPA, {SYSTEM_MODE_WCDMA, SUB_MODE_HSDPA}},
    {MM_MODEM_ACCESS_TECHNOLOGY_UMTS, {SYSTEM_MODE_WCDMA, SUB_MODE_WCDMA}},
    {MM_MODEM_ACCESS_TECHNOLOGY_EVDOB, {SYSTEM_MODE_EVDO, SUB_MODE_EVDO_REV_B}},
    {MM_MODEM_ACCESS_TECHNOLOGY_EVDOA, {SYSTEM_MODE_EVDO, SUB_MODE_EVDO_REV_A}},
    {MM_MODEM_ACCESS_TECHNOLOGY_EVDO0, {SYSTEM_MODE_EVDO, SUB_MODE_EVDO_REV_0}},
    {MM_MODEM_ACCESS_TECHNOLOGY_1XRTT, {SYSTEM_MODE_CDMA, SUB_MODE_CDMA_1X}},
    {MM_MODEM_ACCESS_TECHNOLOGY_EDGE, {SYSTEM_MODE_GSM, SUB_MODE_EDGE}},
    {MM_MODEM_ACCESS_TECHNOLOGY_GPRS, {SYSTEM_MODE_GSM, SUB_MODE_GPRS}},
    {MM_MODEM_ACCESS_TECHNOLOGY_GSM | MM_MODEM_ACCESS_TECHNOLOGY_GSM_COMPACT,
     {SYSTEM_MODE_GSM, SUB_MODE_GSM}},
};

struct FacilityLock
{
    uint facility;
    MMModemLock lock; // the number under which the daemon asks for the code
};

// The locks that bind a modem to a network or a SIM. A PIN that was entered binds nothing.
constexpr FacilityLock kFacilityLocks[] = {
    {MM_MODEM_3GPP_FACILITY_NET_PERS, MM_MODEM_LOCK_PH_NET_PIN},
    {MM_MODEM_3GPP_FACILITY_NET_SUB_PERS, MM_MODEM_LOCK_PH_NETSUB_PIN},
    {MM_MODEM_3GPP_FACILITY_PROVIDER_PERS, MM_MODEM_LOCK_PH_SP_PIN},
    {MM_MODEM_3GPP_FACILITY_CORP_PERS, MM_MODEM_LOCK_PH_CORP_PIN},
    {MM_MODEM_3GPP_FACILITY_PH_SIM, MM_MODEM_LOCK_PH_SIM_PIN},
    {MM_MODEM_3GPP_FACILITY_PH_FSIM, MM_MODEM_LOCK_PH_FSIM_PIN},
};

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

// Networks use 0 and FFFE for "no area". The daemon writes 0 for an area that it does not know.
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
    // The equipment identifier is known while the SIM is locked. On a CDMA modem it is no IMEI.
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
    return sources.value(MM_MODEM_LOCATION_SOURCE_3GPP_LAC_CI).variant().toString();
}

std::optional<std::uint8_t> lockStateOf(uint unlockRequired, uint enabledFacilityLocks)
{
    if (unlockRequired == MM_MODEM_LOCK_UNKNOWN)
        return std::nullopt;
    // The second PIN protects some features of the SIM only. The modem works without it.
    const bool locked = unlockRequired != MM_MODEM_LOCK_NONE
        && unlockRequired != MM_MODEM_LOCK_SIM_PIN2 && unlockRequired != MM_MODEM_LOCK_SIM_PUK2;
    if (locked)
        return static_cast<std::uint8_t>(unlockRequired);
    for (const FacilityLock &facility : kFacilityLocks) {
        if (enabledFacilityLocks & facility.facility)
            return static_cast<std::uint8_t>(facility.lock);
    }
    return 0;
}

std::optional<std::int32_t> productTypeOf(uint capabilities)
{
    // A modem of both families is identified by its IMEI.
    if (capabilities & MM_MODEM_CAPABILITY_GSM_UMTS)
        return ZEPA_PRODUCT_TYPE_WCDMA;
    if (capabilities & MM_MODEM_CAPABILITY_CDMA_EVDO)
        return ZEPA_PRODUCT_TYPE_CDMA;
    if (capabilities & MM_MODEM_CAPABILITY_LTE)
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

std::vector<std::int32_t> eventsBetween(const EventState &previous, const EventState &current)
{
    std::vector<std::int32_t> events;
    const bool sameDaemon = previous.daemon == current.daemon;
    const bool sameModem = previous.modem && current.modem && sameDaemon
        && previous.modem->path == current.modem->path;
    if (previous.modem && !sameModem) {
        if (sameDaemon)
            events = {DEVSRV_EVENT_DEVICE_REMOVED, DEVSRV_EVENT_CARD_CHANGED};
        else
            events = {DEVSRV_EVENT_DEVICE_LOST};
        // The report shows the lost modem. A modem that replaced it raises the event itself, below.
        if (!sameDaemon && !current.modem)
            events.push_back(DEVSRV_EVENT_CARD_CHANGED);
    }
    if (!current.modem)
        return events;

    const ModemFacts was = sameModem ? *previous.modem : ModemFacts{};
    const ModemFacts &is = *current.modem;
    if (!sameModem)
        events.push_back(DEVSRV_EVENT_CARD_CHANGED);
    if (was.state < MM_MODEM_STATE_DISABLED && is.state >= MM_MODEM_STATE_DISABLED)
        events.push_back(ZEPA_EVENT_DEV_DEVICE_INIT_FINISH);
    else if (was.state < MM_MODEM_STATE_ENABLED && is.state >= MM_MODEM_STATE_ENABLED)
        events.push_back(DEVSRV_EVENT_DEVICE_ENABLED);
    if (!sameModem)
        return events;

    const auto sim = [](const ModemFacts &facts) {
        return std::tie(facts.sim, facts.unlockRequired, facts.facilityLocks);
    };
    const auto network = [](const ModemFacts &facts) {
        return std::tie(facts.accessTechnologies, facts.registrationState, facts.operatorCode,
                        facts.location);
    };
    const bool registrationChanged = (was.state >= MM_MODEM_STATE_REGISTERED)
        != (is.state >= MM_MODEM_STATE_REGISTERED);
    if (sim(was) != sim(is))
        events.push_back(DEVSRV_EVENT_SIM_CHANGED);
    if (registrationChanged || network(was) != network(is))
        events.push_back(DEVSRV_EVENT_NETWORK_CHANGED);
    return events;
}

} // namespace devsrv
