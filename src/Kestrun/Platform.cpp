// SPDX-License-Identifier: MIT
#include "Platform.h"

#include "kestrun/KestrunHostTable.h"
#include "shared/Guard.h"

#include <QNetworkInterface>
#include <QOperatingSystemVersion>

namespace {

QString &systemRoot()
{
    static QString root;
    return root;
}

} // namespace

void KestrunSetSystemRoot(const char *directory)
{
    shared::guarded("KestrunSetSystemRoot", [=] {
        QString root = QString::fromUtf8(directory);
        while (root.endsWith(QLatin1Char('/')))
            root.chop(1);
        systemRoot() = root;
    });
}

namespace kestrun {

QString systemLocation(const QString &path)
{
    return systemRoot() + path;
}

int macintoshVersion()
{
    const auto system = QOperatingSystemVersion::current();
    // Later releases of Qt have two types of this name.
    using Type = decltype(system.type());
    if (system.type() != Type::MacOS)
        return 0;
    constexpr int kNumberOfRelease0 = 2;
    constexpr int kAfterRelease10 = 100;
    return system.majorVersion() == 10 ? system.minorVersion() + kNumberOfRelease0
                                       : kAfterRelease10;
}

HostNetwork hostNetwork()
{
    // The addresses equal those of QNetworkInterface::allAddresses(), which would query the system
    // a second time.
    HostNetwork network;
    for (const QNetworkInterface &interface : QNetworkInterface::allInterfaces()) {
        const bool up = interface.flags().testFlag(QNetworkInterface::IsUp);
        network.interfaces.append({up, interface.flags().testFlag(QNetworkInterface::IsRunning)});
        if (!up)
            continue;
        for (const QNetworkAddressEntry &entry : interface.addressEntries())
            network.addresses.append(entry.ip());
    }
    return network;
}

} // namespace kestrun
