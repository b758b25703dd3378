// SPDX-License-Identifier: MIT
#include "PlugWatch.h"

#if defined(KESTRUN_HAVE_DBUS)
#include "shared/BusProbe.h"

#include <QDBusConnection>
#endif

PlugWatch::PlugWatch() : m_files({QStringLiteral("/dev")})
{
    // A modem has several device files, which come one after the other.
    constexpr int kSettleMs = 500;
    m_settle.setSingleShot(true);
    m_settle.setInterval(kSettleMs);
    connect(&m_settle, &QTimer::timeout, this, &PlugWatch::changed);
    connect(&m_files, &QFileSystemWatcher::directoryChanged, this, &PlugWatch::onChange);
}

void PlugWatch::onChange()
{
    m_settle.start();
}

#if defined(KESTRUN_HAVE_DBUS)

namespace {

// The connection that Qt shares within a process belongs to whoever opened it first.
QString busName()
{
    return QStringLiteral("kestrun-dashboard");
}

} // namespace

PlugWatch::~PlugWatch()
{
    QDBusConnection::disconnectFromBus(busName());
}

void PlugWatch::followModems()
{
    // Qt waits for a bus that does not answer without a limit.
    constexpr std::chrono::seconds kBusTimeout(3);
    if (QDBusConnection(busName()).isConnected() || !shared::whyNoBus(kBusTimeout).isEmpty())
        return;
    QDBusConnection::disconnectFromBus(busName());
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, busName());
    const QString daemon = QStringLiteral("org.freedesktop.ModemManager1");
    const QString objects = QStringLiteral("org.freedesktop.DBus.ObjectManager");
    const QString path = QStringLiteral("/org/freedesktop/ModemManager1");
    for (const char *const signal : {"InterfacesAdded", "InterfacesRemoved"})
        bus.connect(daemon, path, objects, QLatin1String(signal), this, SLOT(onChange()));
    // A daemon that ends does not signal that its modems are gone.
    bus.connect(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameOwnerChanged"),
                {daemon}, QString(), this, SLOT(onChange()));
}

#else

PlugWatch::~PlugWatch() = default;

void PlugWatch::followModems() {}

#endif
