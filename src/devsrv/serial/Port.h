// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QObject>
#include <QtCore/QSocketNotifier>
#include <QtSerialPort/QSerialPort>

#include <chrono>
#include <memory>
#include <string>

namespace devsrv {

using std::chrono::milliseconds;

/// A serial port: raw, exclusive, 8 data bits, no parity, one stop bit.
///
/// Lives on one thread, whose event loop delivers the signals. Reading and writing block for no
/// longer than they are told to.
class Port : public QObject
{
    Q_OBJECT

public:
    explicit Port(QObject *parent);

    /// Opens the port. Returns false and one sentence in `error` if that fails.
    bool open(const QString &path, int baud, QString &error);
    void close();

    /// Whether the port is open and its device is there.
    bool isOpen() const { return m_serial.isOpen() && !m_isGone; }

    /// Waits until there is something to read. Returns false after the time, and at once when the
    /// device is gone.
    bool waitForData(milliseconds time);

    /// What can be read now, in one piece of limited size.
    std::string read();

    /// Writes everything. Returns false if the device does not take it within the time.
    bool write(const std::string &bytes, milliseconds time);

Q_SIGNALS:
    void dataArrived();
    void gone(); ///< at most once after each open()

private:
    void noteError(QSerialPort::SerialPortError error);
    void lose();

    QSerialPort m_serial;
    std::unique_ptr<QSocketNotifier> m_hangUp;
    bool m_isGone = false;
};

} // namespace devsrv
