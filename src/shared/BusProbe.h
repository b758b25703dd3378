// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QString>

#include <chrono>

namespace shared {

/// Tells whether the system message bus takes this process in, within `timeout`. Returns the reason
/// if it does not.
///
/// Qt's own attempt has no time-out, and blocks all of the process's connections meanwhile. A bus
/// that is not reached by a local socket is not tried.
QString whyNoBus(std::chrono::milliseconds timeout);

} // namespace shared
