// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace devsrv {

/// How many events were delivered to callbacks on this thread. A backend may hold values for the
/// queries of a thread; a listener that was told of an event must not get older ones.
inline thread_local std::uint64_t t_deliveredEvents = 0;

} // namespace devsrv
