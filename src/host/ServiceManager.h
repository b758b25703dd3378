// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QTimer>

/// Tells the service manager that started the program when it is ready and that it is alive. Does
/// nothing if no service manager listens.
///
/// For the main thread, whose event loop sends the signs of life.
class ServiceManager
{
public:
    ServiceManager();

    /// Tells that the program is ready, and from then on that it is alive, if that is watched.
    void ready();

    /// Tells that the program ends.
    void stopping() { send("STOPPING=1"); }

private:
    void send(const QByteArray &state) const;

    const QByteArray m_address; // a path, or an abstract name after "@"; empty: nobody listens
    QTimer m_signsOfLife;
};
