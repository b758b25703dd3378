// SPDX-License-Identifier: MIT
#include "CallJournal.h"

namespace devsrv {

namespace {

constexpr std::size_t kMaximumLines = 100'000;

} // namespace

void CallJournal::write(std::string line)
{
    const std::lock_guard lock(m_mutex);
    m_lines.push_back(std::move(line));
    if (m_lines.size() > kMaximumLines)
        m_lines.pop_front();
}

void CallJournal::clear()
{
    const std::lock_guard lock(m_mutex);
    m_lines.clear();
}

std::string CallJournal::text() const
{
    const std::lock_guard lock(m_mutex);
    std::string text;
    for (const std::string &line : m_lines)
        text += line + '\n';
    return text;
}

} // namespace devsrv
