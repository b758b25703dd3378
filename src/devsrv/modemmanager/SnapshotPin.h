// SPDX-License-Identifier: MIT
#pragma once

#include "ModemManagerMapping.h"

#include <chrono>
#include <memory>

namespace devsrv {

/// Holds one snapshot for queries of one thread that belong together, so that a report does not mix
/// two states of a modem.
///
/// The queries belong together as long as each follows within 250 ms of the one before and within
/// 1 s of the first, and the first one does not come again after others, as it does in the next
/// report. An event that is delivered on the thread ends them. The times of AT commands do not
/// count.
class SnapshotPin
{
public:
    using Clock = std::chrono::steady_clock;
    using Snapshot = std::shared_ptr<const ModemSnapshot>;

    /// The snapshot for a query; `current` if the query begins a new group. `query` is its name.
    Snapshot hold(const char *query, const Snapshot &current, std::uint64_t deliveredEvents,
                  Clock::time_point now);

    /// Lets a time pass that does not count.
    void skip(Clock::duration time);

private:
    Snapshot m_snapshot;
    const char *m_first = nullptr;
    const char *m_latest = nullptr;
    std::uint64_t m_deliveredEvents = 0;
    Clock::time_point m_began;
    Clock::time_point m_last;
};

} // namespace devsrv
