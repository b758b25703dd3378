// SPDX-License-Identifier: MIT
#include "PortFinder.h"

#include "AtChannel.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QDir>
#include <QtSerialPort/QSerialPortInfo>

#include <algorithm>
#include <tuple>

namespace devsrv {

namespace {

// The time of each of the probes of one port.
constexpr milliseconds kPortTime{300};

} // namespace

QList<PortFacts> serialPorts()
{
    QList<PortFacts> ports;
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts()) {
        ports.append({lastingName(info.systemLocation()), info.manufacturer(), info.description(),
                      info.hasVendorIdentifier()});
    }
    // A lasting name ends in the number of the USB interface.
    std::sort(ports.begin(), ports.end(), [](const PortFacts &a, const PortFacts &b) {
        return std::make_tuple(!a.isUsb, a.path) < std::make_tuple(!b.isUsb, b.path);
    });
    return ports;
}

QString lastingName(const QString &path, const QString &directory)
{
    const QString device = QFileInfo(path).canonicalFilePath();
    for (const QFileInfo &link : QDir(directory).entryInfoList(QDir::Files | QDir::System)) {
        if (!device.isEmpty() && link.canonicalFilePath() == device)
            return link.filePath();
    }
    return path;
}

bool answersOn(const QString &path, int baud, QString &reason)
{
    Port port(nullptr);
    if (!port.open(path, baud, reason))
        return false;
    AtChannel channel(port, kPortTime, [](const std::string &) {});
    if (channel.connectToCard())
        return true;
    reason = QStringLiteral("no card answers on %1").arg(path);
    return false;
}

QString findPort(int baud, QString &error)
{
    const QDeadlineTimer deadline(kPortSearchTime);
    QStringList reasons;
    for (const PortFacts &port : serialPorts()) {
        QString reason;
        if (deadline.hasExpired())
            reason = QStringLiteral("%1 was not tried, for lack of time").arg(port.path);
        else if (answersOn(port.path, baud, reason))
            return port.path;
        reasons.append(reason);
    }
    error = reasons.isEmpty()
        ? QStringLiteral("this machine has no serial port; plug the card in, or name its port: "
                         "serial:PORT")
        : QStringLiteral("no port has a card that answers; name the port, serial:PORT, if it is "
                         "none of these: %1")
              .arg(reasons.join(QStringLiteral("; ")));
    return {};
}

} // namespace devsrv
