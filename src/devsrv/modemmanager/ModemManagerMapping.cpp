// SPDX-License-Identifier: MIT
#include "ModemManagerMapping.h"

#include "CardValues.h"

#include <QtCore/QStringList>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusVariant>

#include <algorithm>
#include <tuple>

namespace devsrv {

namespace {

struct Technology
{
    uint flags;
    SystemInfo info;
};

// From the best to the poorest: the first row of which all flags are set counts. A listener takes
// the variants of LTE for machines for LTE.
constexpr Technology kTechnologies[] = {
    {MM_MODEM_ACCESS_TECHNOLOGY_LTE, {SYSTEM_MODE_LTE, SUB_MODE_LTE}},
    {MM_MODEM_ACCESS_TECHNOLOGY_LTE_CAT_M, {SYSTEM_MODE_LTE, SUB_MODE_LTE}},
    {MM_MODEM_ACCESS_TECHNOLOGY_LTE_NB_IOT, {SYSTEM_MODE_LTE, SUB_MODE_LTE}},
    {MM_MODEM_ACCESS_TECHNOLOGY_HSPA_PLUS, {SYSTEM_MODE_WCDMA, SUB_MODE_HSPA_PLUS}},
    {MM_MODEM_ACCESS_TECHNOLOGY_HSPA, {SYSTEM_MODE_WCDMA, SUB_MODE_HSPA}},
    {MM_MODEM_ACCESS_TECHNOLOGY_HSDPA | MM_MODEM_ACCESS_TECHNOLOGY_HSUPA,
     {SYSTEM_MODE_WCDMA, SUB_MODE_HSPA}},
    {MM_MODEM_ACCESS_TECHNOLOGY_HSUPA, {SYSTEM_MODE_WCDMA, SUB_MODE_HSUPA}},
    {MM_MODEM_ACCESS_TECHNOLOGY_HSDPA, {SYSTEM_MODE_WCDMA, SUB_MODE_HSDPA}},
    {MM_MODEM_ACCESS_TECHNOLOGY_UMTS, {SYSTEM_MODE_WCDMA, SUB_MODE_WCDMA}},
    {MM_MODEM_ACCESS_TECHNOLOGY_EVDOB, {SYSTEM_MODE_EVDO, SUB_MODE_EVDO_REV_B}},
    {MM_MODEM_ACCESS_TECHNOLOGY_EVDOA, {SYSTEM_MODE_EVDO, SUB_MODE_EVDO_REV_A}},
    {MM_MODEM_ACCESS_TECHNOLOGY_EVDO0, {SYSTEM_MODE_EVDO, SUB_MODE_EVDO_REV_0}},
    {MM_MODEM_ACCESS_TECHNOLOGY_1XRTT, {SYSTEM_MODE_CDMA, SUB_MODE_CDMA_1X}},
    {MM_MODEM_ACCESS_TECHNOLOGY_EDGE, {SYSTEM_MODE_GSM, SUB_MODE_EDGE}},
    {MM_MODEM_ACCESS_TECHNOLOGY_GPRS, {SYSTEM_MODE_GSM, SUB_MODE_GPRS}},
    {MM_MODEM_ACCESS_TECHNOLOGY_GSM, {SYSTEM_MODE_GSM, SUB_MODE_GSM}},
    {MM_MODEM_ACCESS_TECHNOLOGY_GSM_COMPACT, {SYSTEM_MODE_GSM, SUB_MODE_GSM}},
};

struct MirroredProperty
{
    QLatin1String interface;
    QLatin1String name;
};

constexpr MirroredProperty kMirrored[] = {
    {kModemInterface, QLatin1String("AccessTechnologies")},
    {kModemInterface, QLatin1String("CurrentCapabilities")},
    {kModemInterface, QLatin1String("EquipmentIdentifier")},
    {kModemInterface, QLatin1String("HardwareRevision")},
    {kModemInterface, QLatin1String("Model")},
    {kModemInterface, QLatin1String("OwnNumbers")},
    {kModemInterface, QLatin1String("Revision")},
    {kModemInterface, QLatin1String("Sim")},
    {kModemInterface, QLatin1String("State")},
    {kModemInterface, QLatin1String("UnlockRequired")},
    {k3gppInterface, QLatin1String("EnabledFacilityLocks")},
    {k3gppInterface, QLatin1String("Imei")},
    {k3gppInterface, QLatin1String("OperatorCode")},
    {k3gppInterface, QLatin1String("RegistrationState")},
    {kCdmaInterface, QLatin1String("Esn")},
    {kCdmaInterface, QLatin1String("Meid")},
    {kLocationInterface, QLatin1String("Enabled")},
    {kLocationInterface, QLatin1String("Location")},
    {kLocationInterface, QLatin1String("SignalsLocation")},
    {kSimInterface, QLatin1String("EsimStatus")},
    {kSimInterface, QLatin1String("Imsi")},
};

struct StateName
{
    int state;
    const char *name;
};

constexpr StateName kStateNames[] = {
    {MM_MODEM_STATE_FAILED, "failed"},         {MM_MODEM_STATE_INITIALIZING, "initializing"},
    {MM_MODEM_STATE_LOCKED, "locked"},         {MM_MODEM_STATE_DISABLED, "disabled"},
    {MM_MODEM_STATE_DISABLING, "disabling"},   {MM_MODEM_STATE_ENABLING, "enabling"},
    {MM_MODEM_STATE_ENABLED, "enabled"},       {MM_MODEM_STATE_SEARCHING, "searching"},
    {MM_MODEM_STATE_REGISTERED, "registered"}, {MM_MODEM_STATE_DISCONNECTING, "disconnecting"},
    {MM_MODEM_STATE_CONNECTING, "connecting"}, {MM_MODEM_STATE_CONNECTED, "connected"},
};

QString stateName(std::optional<int> state)
{
    const auto found = std::find_if(std::begin(kStateNames), std::end(kStateNames),
                                    [&](const StateName &row) { return row.state == state; });
    return found == std::end(kStateNames) ? QStringLiteral("in an unknown state")
                                          : QLatin1String(found->name);
}

std::optional<std::string> latin1(const std::optional<QString> &text)
{
    return text ? std::optional(text->toLatin1().toStdString()) : std::nullopt;
}

// The objects that are modems, with a warning of each other one.
std::vector<ModemObject> modemsAmong(const Objects &objects, OnceWarnings &warnings)
{
    std::vector<ModemObject> modems;
    for (auto object = objects.begin(); object != objects.end(); ++object) {
        const ModemObject modem(object.key().path(), object.value(), warnings);
        if (modem.has(kModemInterface))
            modems.push_back(modem);
        else
            warnings.warn(
                QStringLiteral("%1 has no interface %2").arg(modem.path(), kModemInterface));
    }
    std::sort(modems.begin(), modems.end(), [](const ModemObject &left, const ModemObject &right) {
        return modemNumber(left.path()) < modemNumber(right.path());
    });
    return modems;
}

bool isHex(const QString &text)
{
    bool ok = false;
    text.toULongLong(&ok, 16);
    return ok;
}

std::optional<CdmaIdentity> cdmaIdentityOf(const ModemObject &modem)
{
    if (!modem.has(kCdmaInterface))
        return std::nullopt;
    const auto text = [&](QLatin1String name) {
        return latin1(modem.text(kCdmaInterface, name)).value_or(std::string());
    };
    return CdmaIdentity{text(QLatin1String("Esn")), text(QLatin1String("Meid"))};
}

std::optional<Versions> versionsOf(const ModemObject &modem)
{
    return versionsFrom(latin1(modem.text(kModemInterface, QLatin1String("Revision"))),
                        latin1(modem.text(kModemInterface, QLatin1String("HardwareRevision"))));
}

std::optional<std::vector<std::string>> ownNumbersOf(const ModemObject &modem)
{
    const auto listed = modem.property<QStringList>(kModemInterface, QLatin1String("OwnNumbers"));
    if (!listed)
        return std::nullopt;
    std::vector<std::string> numbers;
    for (const QString &number : *listed) {
        if (!number.isEmpty())
            numbers.push_back(number.toLatin1().toStdString());
    }
    return numbers;
}

} // namespace

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

QString ModemObject::simPath() const
{
    const auto sim = property<QDBusObjectPath>(kModemInterface, QLatin1String("Sim"));
    return sim && sim->path() != QLatin1String("/") ? sim->path() : QString();
}

std::optional<QString> ModemObject::imei() const
{
    if (auto imei = text(k3gppInterface, QLatin1String("Imei")))
        return imei;
    // The equipment identifier is known while the SIM is locked. On a CDMA modem it is no IMEI.
    if (has(kCdmaInterface))
        return std::nullopt;
    return equipment();
}

std::optional<QString> ModemObject::equipment() const
{
    return text(kModemInterface, QLatin1String("EquipmentIdentifier"));
}

// An IMEI, a MEID and an ESN have 8 digits or more.
ModemChoice::Kind ModemChoice::kind() const
{
    if (m_text == QLatin1String("any"))
        return Kind::Any;
    if (m_text.startsWith(QLatin1Char('/')))
        return Kind::Path;
    bool isNumber = false;
    m_text.toUInt(&isNumber);
    return isNumber && m_text.size() < 8 ? Kind::Number : Kind::Equipment;
}

bool ModemChoice::takes(const ModemObject &modem) const
{
    switch (kind()) {
    case Kind::Any:
        return true;
    case Kind::Number:
        return modemNumber(modem.path()) == m_text.toInt();
    case Kind::Path:
        return modem.path() == m_text
            || modem.text(kModemInterface, QLatin1String("Device")) == m_text;
    case Kind::Equipment:
        return modem.imei() == m_text || modem.equipment() == m_text;
    }
    return false;
}

QString ModemChoice::absence() const
{
    switch (kind()) {
    case Kind::Any:
        return QStringLiteral("the daemon knows no modem");
    case Kind::Number:
        return QStringLiteral("the daemon knows no modem of number %1").arg(m_text);
    case Kind::Path:
        return QStringLiteral("the daemon knows no modem at %1").arg(m_text);
    case Kind::Equipment:
        break;
    }
    return QStringLiteral("the daemon knows no modem of IMEI %1").arg(m_text);
}

std::optional<ModemObject> chooseModem(const Objects &objects, const ModemChoice &choice,
                                       OnceWarnings &warnings)
{
    for (const ModemObject &modem : modemsAmong(objects, warnings)) {
        if (choice.takes(modem))
            return modem;
    }
    return std::nullopt;
}

std::vector<ModemLine> linesOf(const Objects &objects, OnceWarnings &warnings)
{
    std::vector<ModemLine> lines;
    for (const ModemObject &modem : modemsAmong(objects, warnings)) {
        const auto equipment = modem.equipment();
        const QStringList name{
            modem.text(kModemInterface, QLatin1String("Manufacturer")).value_or(QString()),
            modem.text(kModemInterface, QLatin1String("Model")).value_or(QString())};
        const QStringList parts{
            name.join(QLatin1Char(' ')).trimmed(),
            QStringLiteral("%1 %2").arg(modem.has(kCdmaInterface) ? QStringLiteral("identity")
                                                                  : QStringLiteral("IMEI"),
                                        equipment.value_or(QStringLiteral("unknown"))),
            stateName(modem.property<int>(kModemInterface, QLatin1String("State")))};
        lines.push_back({equipment.value_or(QString::number(modemNumber(modem.path()))),
                         parts.join(QStringLiteral(", "))});
    }
    return lines;
}

int modemNumber(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1).toInt();
}

QVariantMap mirrored(const QString &interface, const QVariantMap &properties)
{
    QVariantMap kept;
    for (const MirroredProperty &property : kMirrored) {
        if (property.interface != interface)
            continue;
        const auto found = properties.find(property.name);
        if (found == properties.end())
            continue;
        const bool isLocation = property.name == QLatin1String("Location");
        kept.insert(property.name, isLocation ? QVariant(locationText(*found)) : *found);
    }
    return kept;
}

std::optional<SystemInfo> systemInfoOf(uint accessTechnologies)
{
    for (const Technology &technology : kTechnologies) {
        if ((accessTechnologies & technology.flags) == technology.flags)
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
    // The daemon writes 0 for an area that it does not know.
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

std::optional<std::int32_t> productTypeOf(uint capabilities)
{
    if (capabilities & MM_MODEM_CAPABILITY_TDS)
        return ZEPA_PRODUCT_TYPE_TD_SCDMA;
    // A modem of both families is identified by its IMEI.
    if (capabilities & MM_MODEM_CAPABILITY_GSM_UMTS)
        return ZEPA_PRODUCT_TYPE_WCDMA;
    if (capabilities & MM_MODEM_CAPABILITY_CDMA_EVDO)
        return ZEPA_PRODUCT_TYPE_CDMA;
    if (capabilities & (MM_MODEM_CAPABILITY_LTE | MM_MODEM_CAPABILITY_5GNR))
        return ZEPA_PRODUCT_TYPE_WCDMA;
    return std::nullopt;
}

ModemValues valuesOf(const ModemObject &modem, const QVariantMap &sim, OnceWarnings &warnings)
{
    const auto number = [&](QLatin1String interface, QLatin1String name) {
        return modem.property<uint>(interface, name).value_or(0);
    };
    const ModemObject simObject(modem.simPath(), {{kSimInterface, sim}}, warnings);
    // A SIM that is soldered in and has no profile yet is none.
    const bool hasSim = simObject.property<uint>(kSimInterface, QLatin1String("EsimStatus"))
        != MM_SIM_ESIM_STATUS_NO_PROFILES;

    ModemValues values;
    values.path = modem.path();
    values.state = modem.property<int>(kModemInterface, QLatin1String("State"));
    values.imei = latin1(modem.imei());
    values.model = latin1(modem.text(kModemInterface, QLatin1String("Model")));
    values.versions = versionsOf(modem);
    values.cdma = cdmaIdentityOf(modem);
    if (const uint flags = number(kModemInterface, QLatin1String("CurrentCapabilities")))
        values.productType = productTypeOf(flags);
    values.ownNumbers = ownNumbersOf(modem);
    if (hasSim) {
        values.sim = modem.simPath();
        values.imsi = latin1(simObject.text(kSimInterface, QLatin1String("Imsi")));
    }
    values.unlockRequired = number(kModemInterface, QLatin1String("UnlockRequired"));
    values.facilityLocks = number(k3gppInterface, QLatin1String("EnabledFacilityLocks"));
    values.accessTechnologies = number(kModemInterface, QLatin1String("AccessTechnologies"));
    values.registrationState = modem.property<uint>(k3gppInterface,
                                                    QLatin1String("RegistrationState"));
    values.plmn = latin1(modem.text(k3gppInterface, QLatin1String("OperatorCode")));
    values.locationSources = number(kLocationInterface, QLatin1String("Enabled"));
    values.signalsLocation = modem
                                 .property<bool>(kLocationInterface,
                                                 QLatin1String("SignalsLocation"))
                                 .value_or(false);
    values.location = modem.text(kLocationInterface, QLatin1String("Location")).value_or(QString());
    return values;
}

std::vector<std::int32_t> eventsBetween(const ModemSnapshot &previous, const ModemSnapshot &current)
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

    const ModemValues was = sameModem ? *previous.modem : ModemValues{};
    const ModemValues &is = *current.modem;
    if (!sameModem)
        events.push_back(DEVSRV_EVENT_CARD_CHANGED);
    if (!was.isAtLeast(MM_MODEM_STATE_DISABLED) && is.isAtLeast(MM_MODEM_STATE_DISABLED))
        events.push_back(ZEPA_EVENT_DEV_DEVICE_INIT_FINISH);
    else if (!was.isAtLeast(MM_MODEM_STATE_ENABLED) && is.isAtLeast(MM_MODEM_STATE_ENABLED))
        events.push_back(DEVSRV_EVENT_DEVICE_ENABLED);
    if (!sameModem)
        return events;

    const auto sim = [](const ModemValues &values) {
        return std::tie(values.sim, values.imsi, values.ownNumbers, values.unlockRequired,
                        values.facilityLocks);
    };
    const auto network = [](const ModemValues &values) {
        return std::tie(values.accessTechnologies, values.registrationState, values.plmn,
                        values.location);
    };
    const bool registrationChanged = was.isAtLeast(MM_MODEM_STATE_REGISTERED)
        != is.isAtLeast(MM_MODEM_STATE_REGISTERED);
    if (sim(was) != sim(is))
        events.push_back(DEVSRV_EVENT_SIM_CHANGED);
    if (registrationChanged || network(was) != network(is))
        events.push_back(DEVSRV_EVENT_NETWORK_CHANGED);
    return events;
}

} // namespace devsrv
