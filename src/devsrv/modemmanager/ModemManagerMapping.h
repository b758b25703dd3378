// SPDX-License-Identifier: MIT
#pragma once

#include "CardBackend.h"

#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtDBus/QDBusObjectPath>

#include <mutex>
#include <optional>
#include <vector>

namespace devsrv {

// Interfaces of the daemon's modem objects, and what of their numbers the mapping turns on.
inline constexpr QLatin1String kModemInterface("org.freedesktop.ModemManager1.Modem");
inline constexpr QLatin1String k3gppInterface("org.freedesktop.ModemManager1.Modem.Modem3gpp");
inline constexpr QLatin1String kCdmaInterface("org.freedesktop.ModemManager1.Modem.ModemCdma");
inline constexpr QLatin1String kLocationInterface("org.freedesktop.ModemManager1.Modem.Location");
inline constexpr QLatin1String kMessagingInterface("org.freedesktop.ModemManager1.Modem.Messaging");

inline constexpr int kStateDisabled = 3;
inline constexpr int kStateEnabled = 6;
inline constexpr int kStateRegistered = 8;
inline constexpr uint kLocation3gpp = 1;

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;

/// Warnings of which each text comes once.
///
/// Any thread may call anything.
class OnceWarnings
{
public:
    void warn(const QString &text);

private:
    std::mutex m_mutex;
    QSet<QString> m_given;
};

/// The properties of one modem, as one call of the daemon gave them.
///
/// A value; refers to the warnings, which are to outlive it.
class ModemObject
{
public:
    ModemObject(QString path, Interfaces interfaces, OnceWarnings &warnings)
        : m_path(std::move(path)), m_interfaces(std::move(interfaces)), m_warnings(&warnings)
    {
    }

    const QString &path() const { return m_path; }
    bool has(QLatin1String interface) const { return m_interfaces.contains(interface); }

    /// Nothing if there is no such property or, with a warning, if it is of another type.
    template <typename Value>
    std::optional<Value> property(QLatin1String interface, QLatin1String name) const
    {
        const QVariant value = m_interfaces.value(interface).value(name);
        if (value.isValid() && typed(value, QMetaType::fromType<Value>(), interface, name))
            return value.value<Value>();
        return std::nullopt;
    }

    /// A text property; nothing also if it is empty, which is how the daemon says "not known".
    std::optional<QString> text(QLatin1String interface, QLatin1String name) const;

    std::optional<QString> imei() const;
    int state() const;

    /// The location as it stands among the properties: empty unless the daemon signals it.
    QString signalledLocation() const;

private:
    bool typed(const QVariant &value, QMetaType type, QLatin1String interface,
               QLatin1String name) const;

    QString m_path;
    Interfaces m_interfaces;
    OnceWarnings *m_warnings;
};

/// The modem of that IMEI, or the one of the lowest number if it is empty. Objects that are no
/// modems are passed over with a warning.
std::optional<ModemObject> chooseModem(const Objects &objects, const QString &imei,
                                       OnceWarnings &warnings);

/// System mode and sub-mode of the best of the access technologies, which are flags.
std::optional<SystemInfo> systemInfoOf(uint accessTechnologies);

/// A place in the network, each in hexadecimal as the daemon writes it; an area may be 0.
struct CellLocation
{
    std::string locationArea;
    std::string cell;
    std::string trackingArea;
};

/// Reads "MCC,MNC,LAC,CI,TAC"; nothing if that is not what the text is.
std::optional<CellLocation> parseLocation(const QString &text);

/// The registration of one domain, with the tracking area in the place of the location area where
/// the domain has that one. Nothing if there is no area for the domain.
std::optional<Registration> registrationOf(const CellLocation &location, Domain domain,
                                           std::int32_t state);

/// The text of a 3GPP location in a dictionary of the daemon's (by source); empty if none.
QString locationText(const QVariant &dictionary);

/// The number of the lock that the modem waits for, else of the first lock that binds it to a
/// network or SIM, else 0. Nothing as long as the daemon does not know.
std::optional<std::uint8_t> lockStateOf(uint unlockRequired, uint enabledFacilityLocks);

std::optional<std::int32_t> productTypeOf(uint capabilities);

/// What the events depend on, as seen at one moment.
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

/// The daemon, by its unique name on the bus, and the chosen modem; both may be missing.
struct Sight
{
    QString daemon;
    std::optional<ModemFacts> modem;
};

/// The events that tell what happened between two looks, in the order in which they are raised.
std::vector<std::int32_t> eventsBetween(const Sight &before, const Sight &after);

} // namespace devsrv
