// SPDX-License-Identifier: MIT
#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>

namespace kestrun {

/// Returns the path of a file or directory at a fixed place of the system, e.g. "/usr/local",
/// below the directory that the host has set with KestrunSetSystemRoot().
QString systemLocation(const QString &path);

/// Returns the number of the running Mac OS release in Qt 4's enumeration (10.0 is 2, 10.6 is 8,
/// and so on), or 0 on other systems.
int macintoshVersion();

/// The part of a network interface's state that the choice of the host's address depends on.
struct InterfaceState
{
    bool up = false;
    bool running = false;
};

/// A snapshot of the host's network, in the system's order.
struct HostNetwork
{
    QList<InterfaceState> interfaces;
    QList<QHostAddress> addresses; ///< of all interfaces that are up, in one list
};

/// Takes a snapshot of the host's network.
HostNetwork hostNetwork();

} // namespace kestrun
