// SPDX-License-Identifier: MIT
#include "Port.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <poll.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace devsrv {

namespace {

constexpr qint64 kReadSize = 16 * 1024;

// Why a file cannot be a port that this process opens; empty if it may be one.
QString refusal(const QString &path)
{
    const QByteArray file = path.toLocal8Bit();
    struct stat facts
    {
    };
    if (::stat(file.constData(), &facts) != 0) {
        return QStringLiteral("there is no port %1; plug the card in, or list the ports with "
                              "kestrun cards --ports")
            .arg(path);
    }
    if (!S_ISCHR(facts.st_mode)) {
        return QStringLiteral("%1 is no serial port; list the ports with kestrun cards --ports")
            .arg(path);
    }
    if (::access(file.constData(), R_OK | W_OK) != 0) {
        constexpr mode_t kGroupRights = S_IRGRP | S_IWGRP;
        if ((facts.st_mode & kGroupRights) != kGroupRights)
            return QStringLiteral("you may not open %1; grant the right to read and write it")
                .arg(path);
        return QStringLiteral("you may not open %1; become a member of the group \"%2\"")
            .arg(path, QFileInfo(path).group());
    }
    return {};
}

} // namespace

Port::Port(QObject *parent) : QObject(parent), m_serial(this)
{
    m_serial.setReadBufferSize(kReadSize);
    connect(&m_serial, &QSerialPort::readyRead, this, &Port::dataArrived);
    connect(&m_serial, &QSerialPort::errorOccurred, this, &Port::noteError);
}

bool Port::open(const QString &path, int baud, QString &error)
{
    error = refusal(path);
    if (!error.isEmpty())
        return false;
    // Programs that lock a port name the device, not a link to it.
    m_serial.setPortName(QFileInfo(path).canonicalFilePath());
    m_serial.setBaudRate(baud);
    m_isGone = true; // `error` reports a failure to open, no signal does
    if (m_serial.open(QIODevice::ReadWrite)) {
        m_isGone = false;
        // QSerialPort of newer versions reads a port that hung up again and again, without an
        // error.
        m_hangUp = std::make_unique<QSocketNotifier>(m_serial.handle(), QSocketNotifier::Exception);
        connect(m_hangUp.get(), &QSocketNotifier::activated, this, &Port::lose);
        return true;
    }
    if (m_serial.error() == QSerialPort::PermissionError) {
        error = QStringLiteral("another program uses %1; end it, or choose the card that it "
                               "offers (ModemManager: --card modemmanager)")
                    .arg(path);
    } else {
        error = QStringLiteral("%1 cannot be used as a serial port: %2; list the ports with "
                               "kestrun cards --ports")
                    .arg(path, m_serial.errorString());
    }
    return false;
}

void Port::close()
{
    m_isGone = true;
    m_hangUp.reset();
    m_serial.close();
}

bool Port::waitForData(milliseconds time)
{
    if (!isOpen())
        return false;
    if (m_serial.bytesAvailable() > 0)
        return true;
    pollfd waited{m_serial.handle(), POLLIN, 0};
    if (::poll(&waited, 1, static_cast<int>(std::max(time, milliseconds(1)).count())) <= 0)
        return false;
    const bool hasData = m_serial.waitForReadyRead(1);
    if (!hasData && (waited.revents & (POLLHUP | POLLERR)) != 0)
        lose();
    return hasData;
}

std::string Port::read()
{
    return m_serial.read(kReadSize).toStdString();
}

bool Port::write(const std::string &bytes, milliseconds time)
{
    if (!isOpen())
        return false;
    m_serial.write(bytes.data(), static_cast<qint64>(bytes.size()));
    const QDeadlineTimer deadline(time);
    while (isOpen() && m_serial.bytesToWrite() > 0) {
        if (!m_serial.waitForBytesWritten(static_cast<int>(deadline.remainingTime())))
            break;
    }
    if (m_serial.bytesToWrite() == 0)
        return true;
    m_serial.clear(QSerialPort::Output);
    return false;
}

void Port::noteError(QSerialPort::SerialPortError error)
{
    const bool isLoss = error == QSerialPort::ResourceError || error == QSerialPort::ReadError
        || error == QSerialPort::WriteError || error == QSerialPort::DeviceNotFoundError;
    if (!isLoss || m_isGone)
        return;
    // The event loop also reports data that waitForData() has read in the meantime. Nothing is left
    // to read, which QSerialPort takes for an error. The next read makes the event loop go on.
    termios mode{};
    if (::tcgetattr(m_serial.handle(), &mode) == 0) {
        m_serial.clearError();
        QMetaObject::invokeMethod(this, &Port::dataArrived, Qt::QueuedConnection);
        return;
    }
    lose();
}

void Port::lose()
{
    if (std::exchange(m_isGone, true))
        return;
    m_hangUp->setEnabled(false);
    Q_EMIT gone();
}

} // namespace devsrv
