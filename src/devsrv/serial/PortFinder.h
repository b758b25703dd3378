// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QList>
#include <QtCore/QString>

#include <chrono>

namespace devsrv {

/// A serial port of this machine.
struct PortFacts
{
    QString path; ///< the name that stays when the card is plugged in again, if it has one
    QString maker;
    QString model;
    bool isUsb = false;
};

/// The machine's ports, those of USB devices first, each device's in the order of its interfaces.
QList<PortFacts> serialPorts();

/// The link in `directory` that leads to the port; the path itself if there is none.
QString lastingName(const QString &path,
                    const QString &directory = QStringLiteral("/dev/serial/by-id"));

/// A search through the ports tries no other one after this time.
inline constexpr std::chrono::milliseconds kPortSearchTime{4'000};

/// Whether a card answers AT commands on the port, within about a second. If not, `reason` says
/// why.
bool answersOn(const QString &path, int baud, QString &reason);

/// The first port on which a card answers, within 5 s. Returns an empty path and one sentence in
/// `error` if there is none.
QString findPort(int baud, QString &error);

} // namespace devsrv
