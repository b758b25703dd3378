// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

/// Receives a dashboard's messages.
class INotify
{
public:
    virtual ~INotify() = default;

    /// Receives a message, a number that the dashboard defines, with its two parameters. The
    /// meaning of the result depends on the message.
    virtual int Notify(unsigned int message, unsigned int param1, unsigned int param2) = 0;
};

Q_DECLARE_INTERFACE(INotify, "com.velmora.brisklane.plugin.INotify")
