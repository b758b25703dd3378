// SPDX-License-Identifier: MIT
#pragma once

#include "CardBackend.h"
#include "ModemManagerEnums.h"
#include "OnceWarnings.h"
#include "SimLock.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtDBus/QDBusObjectPath>

#include <optional>
#include <vector>

namespace devsrv {

// The interfaces of the daemon's modem and SIM objects.
inline constexpr QLatin1String kModemInterface("org.freedesktop.ModemManager1.Modem");
inline constexpr QLatin1String k3gppInterface("org.freedesktop.ModemManager1.Modem.Modem3gpp");
inline constexpr QLatin1String kCdmaInterface("org.freedesktop.ModemManager1.Modem.ModemCdma");
inline constexpr QLatin1String kLocationInterface("org.freedesktop.ModemManager1.Modem.Location");
inline constexpr QLatin1String kMessagingInterface("org.freedesktop.ModemManager1.Modem.Messaging");

inline constexpr QLatin1String kSimInterface("org.freedesktop.ModemManager1.Sim");

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;

/// The properties of one object of the daemon.
///
/// A value. The warnings must outlive it.
class ModemObject
{
public:
    ModemObject(QString path, Interfaces interfaces, OnceWarnings &warnings)
        : m_path(std::move(path)), m_interfaces(std::move(interfaces)), m_warnings(&warnings)
    {
    }

    const QString &path() const { return m_path; }
    const Interfaces &interfaces() const { return m_interfaces; }
    bool has(QLatin1String interface) const { return m_interfaces.contains(interface); }

    /// The value of a property. Nothing if it is missing or, with a warning, if its type is
    /// another.
    template <typename Value>
    std::optional<Value> property(QLatin1String interface, QLatin1String name) const
    {
        const QVariant value = m_interfaces.value(interface).value(name);
        if (value.isValid() && typed(value, QMetaType::fromType<Value>(), interface, name))
            return value.value<Value>();
        return std::nullopt;
    }

    /// The value of a text property. Nothing also if it is empty, the daemon's form of "not known".
    std::optional<QString> text(QLatin1String interface, QLatin1String name) const;

    /// The path of the SIM in use; empty if there is none.
    QString simPath() const;

    std::optional<QString> imei() const;

    /// What names the modem among others: the IMEI or, of a CDMA modem, the MEID or ESN.
    std::optional<QString> equipment() const;

private:
    bool typed(const QVariant &value, QMetaType type, QLatin1String interface,
               QLatin1String name) const;

    QString m_path;
    Interfaces m_interfaces;
    OnceWarnings *m_warnings;
};

/// Which modem of the daemon is meant: "any", which is the one with the lowest number, a number, a
/// path of the daemon or of the machine's devices, or an IMEI, MEID or ESN.
class ModemChoice
{
public:
    explicit ModemChoice(QString text = QStringLiteral("any")) : m_text(std::move(text)) {}

    bool isAny() const { return kind() == Kind::Any; }
    bool takes(const ModemObject &modem) const;

    /// Says that the daemon knows no such modem.
    QString absence() const;

private:
    enum class Kind { Any, Number, Path, Equipment };
    Kind kind() const;

    QString m_text;
};

/// The modem of the lowest number that the choice takes. Ignores objects that are no modems, with a
/// warning.
std::optional<ModemObject> chooseModem(const Objects &objects, const ModemChoice &choice,
                                       OnceWarnings &warnings);

/// A modem as a user chooses it, and one line with its maker, model, identity and state.
struct ModemLine
{
    QString choice;
    QString description;
};

/// A line for each modem, by their numbers.
std::vector<ModemLine> linesOf(const Objects &objects, OnceWarnings &warnings);

/// The number at the end of a modem's path.
int modemNumber(const QString &path);

/// The properties that are mirrored, of those of an interface. The location is replaced by its
/// text, so that no value refers to the message that it came with.
QVariantMap mirrored(const QString &interface, const QVariantMap &properties);

/// System mode and sub-mode of the best of these flags of MMModemAccessTechnology. Nothing for 5G
/// without LTE, which the device service has no number for.
std::optional<SystemInfo> systemInfoOf(uint accessTechnologies);

/// A place in the network, in hexadecimal as the daemon writes it. An unknown area is 0.
struct CellLocation
{
    std::string locationArea;
    std::string cell;
    std::string trackingArea;
};

/// Reads "MCC,MNC,LAC,CI,TAC". Nothing if the text has another form.
std::optional<CellLocation> parseLocation(const QString &text);

/// The registration of one domain. The packet-switched one has the tracking area, where it is
/// known, instead of the location area. Nothing if no area of the domain is known.
std::optional<Registration> registrationOf(const CellLocation &location, Domain domain,
                                           std::int32_t state);

/// The 3GPP location in the daemon's dictionary of locations by source; empty if there is none.
QString locationText(const QVariant &dictionary);

/// One of ZEPA_PRODUCT_TYPE_... for these flags of MMModemCapability.
std::optional<std::int32_t> productTypeOf(uint capabilities);

/// What the device service tells of a modem. Texts are Latin-1.
struct ModemValues
{
    QString path;
    std::optional<int> state;

    std::optional<std::string> imei;
    std::optional<std::string> model;
    std::optional<Versions> versions;
    std::optional<CdmaIdentity> cdma;
    std::optional<std::int32_t> productType;
    std::optional<std::vector<std::string>> ownNumbers; ///< none of them is empty

    // SIM and lock
    QString sim; ///< the path of the SIM; empty if there is none
    std::optional<std::string> imsi;
    uint unlockRequired = 0;
    uint facilityLocks = 0;

    // Network
    uint accessTechnologies = 0;
    std::optional<uint> registrationState;
    std::optional<std::string> plmn;
    uint locationSources = 0;
    bool signalsLocation = false;
    QString location; ///< empty unless the daemon signals it

    bool isAtLeast(int least) const { return state.value_or(0) >= least; }
    bool isLocationSignalled() const
    {
        return signalsLocation && (locationSources & MM_MODEM_LOCATION_SOURCE_3GPP_LAC_CI);
    }
};

/// `sim` has the properties of the modem's SIM; it is empty as long as they are not known.
ModemValues valuesOf(const ModemObject &modem, const QVariantMap &sim, OnceWarnings &warnings);

/// The daemon and the chosen modem at one moment.
struct ModemSnapshot
{
    QString daemon; ///< differs for each daemon that was seen; empty if none runs
    std::optional<ModemValues> modem;
};

/// The events that report the changes from one snapshot to the next, in the order to raise them.
std::vector<std::int32_t> eventsBetween(const ModemSnapshot &previous,
                                        const ModemSnapshot &current);

} // namespace devsrv
