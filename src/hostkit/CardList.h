// SPDX-License-Identifier: MIT
#pragma once

#include "DeviceServiceLibrary.h"
#include "NamedValues.h"

// Lists for users: the rows are a name, and one line about it.

/// Returns the backends with the syntax of their arguments. Throws Failure for a maker's library.
NamedValues backendRows(const DeviceServiceLibrary &library);

/// Devices that --card can name.
struct DeviceList
{
    NamedValues rows;
    NamedValues failures; ///< the backends whose devices may be missing, with the reason
};

/// Returns the serial ports if `ports` is true, and otherwise the devices of all other backends. To
/// find out which port has a card, commands are sent to each of them: only a user starts that.
/// Takes a few seconds at most. Throws Failure for a maker's library.
DeviceList findDevices(const DeviceServiceLibrary &library, bool ports);

/// Returns the rows of a list of the control interface, with texts in front of both columns.
NamedValues rowsOf(const char *(*next)(std::int32_t, const char **), const QString &prefix = {},
                   const QString &about = {});
