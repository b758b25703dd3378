// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

/// Where a dashboard sends its messages.
class INotify
{
public:
    virtual ~INotify() = default;

    /// Takes a message, a number of the dashboard's own with two parameters that go with it.
    /// What the result means depends on the message.
    virtual int Notify(unsigned int message, unsigned int param1, unsigned int param2) = 0;
};

Q_DECLARE_INTERFACE(INotify, "com.velmora.brisklane.plugin.INotify")
