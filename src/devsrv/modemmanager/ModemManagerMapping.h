// SPDX-License-Identifier: MIT
#pragma once

#include "CardBackend.h"
#include "ModemManagerEnums.h"

#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtDBus/QDBusObjectPath>

#include <mutex>
#include <optional>
#include <vector>

namespace devsrv {

// The interfaces of the daemon's modem objects.
inline constexpr QLatin1String kModemInterface("org.freedesktop.ModemManager1.Modem");
inline constexpr QLatin1String k3gppInterface("org.freedesktop.ModemManager1.Modem.Modem3gpp");
inline constexpr QLatin1String kCdmaInterface("org.freedesktop.ModemManager1.Modem.ModemCdma");
inline constexpr QLatin1String kLocationInterface("org.freedesktop.ModemManager1.Modem.Location");
inline constexpr QLatin1String kMessagingInterface("org.freedesktop.ModemManager1.Modem.Messaging");

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;

/// Warnings, each text of which is written once. Thread-safe.
class OnceWarnings
{
public:
    void warn(const QString &text);

private:
    std::mutex m_mutex;
    QSet<QString> m_given;
};

/// The properties of one modem, as one reply of the daemon had them.
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

    std::optional<QString> imei() const;
    int state() const;

    /// The location among the properties. Empty unless the daemon signals the location.
    QString signalledLocation() const;

private:
    bool typed(const QVariant &value, QMetaType type, QLatin1String interface,
               QLatin1String name) const;

    QString m_path;
    Interfaces m_interfaces;
    OnceWarnings *m_warnings;
};

/// The modem with that IMEI, or, if it is empty, the modem with the lowest number. Ignores objects
/// that are no modems, with a warning.
std::optional<ModemObject> chooseModem(const Objects &objects, const QString &imei,
                                       OnceWarnings &warnings);

/// System mode and sub-mode of the best of these flags of MMModemAccessTechnology.
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

/// The lock whose code the modem waits for, else the first lock that binds it to a network or SIM
/// (both of MMModemLock), else 0. Nothing while the daemon does not know.
std::optional<std::uint8_t> lockStateOf(uint unlockRequired, uint enabledFacilityLocks);

/// One of ZEPA_PRODUCT_TYPE_... for these flags of MMModemCapability.
std::optional<std::int32_t> productTypeOf(uint capabilities);

/// The properties of a modem whose changes raise events.
struct ModemFacts
{
    QString path;
    int state = 0;

    // SIM and lock
    QString sim;
    uint unlockRequired = 0;
    uint facilityLocks = 0;

    // Network
    uint accessTechnologies = 0;
    uint registrationState = 0;
    QString operatorCode;
    QString location;
};
ModemFacts factsOf(const ModemObject &modem);

/// The daemon and the chosen modem at one moment.
struct EventState
{
    QString daemon; ///< its unique name on the bus; empty if it does not run
    std::optional<ModemFacts> modem;
};

/// The events that report the changes from one state to the next, in the order to raise them.
std::vector<std::int32_t> eventsBetween(const EventState &previous, const EventState &current);

} // namespace devsrv
