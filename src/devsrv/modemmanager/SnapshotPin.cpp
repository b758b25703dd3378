// SPDX-License-Identifier: MIT
#include "SnapshotPin.h"

#include <cstring>

namespace devsrv {

namespace {

constexpr std::chrono::milliseconds kLongestPause{250};
constexpr std::chrono::milliseconds kLongestTime{1'000};

bool isSame(const char *query, const char *other)
{
    return std::strcmp(query, other) == 0;
}

} // namespace

SnapshotPin::Snapshot SnapshotPin::hold(const char *query, const Snapshot &current,
                                        std::uint64_t deliveredEvents, Clock::time_point now)
{
    const bool belongs = m_snapshot && deliveredEvents == m_deliveredEvents
        && now - m_last <= kLongestPause && now - m_began <= kLongestTime
        && (!isSame(query, m_first) || isSame(query, m_latest));
    if (!belongs) {
        m_snapshot = current;
        m_first = query;
        m_deliveredEvents = deliveredEvents;
        m_began = now;
    }
    m_latest = query;
    m_last = now;
    return m_snapshot;
}

void SnapshotPin::skip(Clock::duration time)
{
    m_began += time;
    m_last += time;
}

} // namespace devsrv
