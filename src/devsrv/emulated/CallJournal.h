// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <mutex>
#include <string>

namespace devsrv {

/// The latest 100,000 lines that were written, in order. Thread-safe.
class CallJournal
{
public:
    void write(std::string line);
    void clear();

    /// The lines, each with a line feed.
    std::string text() const;

private:
    mutable std::mutex m_mutex;
    std::deque<std::string> m_lines;
};

} // namespace devsrv
