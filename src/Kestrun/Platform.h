// SPDX-License-Identifier: MIT
#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>

namespace kestrun {

/// A file or directory at a fixed place of the system, e.g. "/usr/local": as it is, or below the
/// directory that the host has named with KestrunSetSystemRoot().
QString systemLocation(const QString &path);

/// The number of the running Mac OS release in Qt 4's enumeration (10.0 is 2, 10.6 is 8, and so
/// on); 0 on other systems.
int macintoshVersion();

/// One network interface, as far as the choice of the host's address depends on it.
struct InterfaceState
{
    bool up = false;
    bool running = false;
};

/// The host's network at one moment, in the system's order.
struct HostNetwork
{
    QList<InterfaceState> interfaces;
    QList<QHostAddress> addresses; ///< of all interfaces that are up, in one list
};

HostNetwork hostNetwork();

} // namespace kestrun
