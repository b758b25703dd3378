// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <mutex>
#include <string>

namespace devsrv {

/// A journal of calls. Keeps the latest 100,000 lines, in order. Thread-safe.
class CallJournal
{
public:
    void write(std::string line);
    void clear();

    /// Returns the lines, each with a line feed at its end.
    std::string text() const;

private:
    mutable std::mutex m_mutex;
    std::deque<std::string> m_lines;
};

} // namespace devsrv
