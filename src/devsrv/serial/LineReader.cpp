// SPDX-License-Identifier: MIT
#include "LineReader.h"

#include <utility>

namespace devsrv {

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

void LineReader::feed(std::string_view bytes)
{
    for (const char byte : bytes) {
        if (byte == '\r' || byte == '\n')
            endLine();
        else if (m_partial.size() == kMaxLine)
            m_isTooLong = true;
        else if (byte != '\0')
            m_partial += byte;
    }
}

std::optional<std::string> LineReader::next()
{
    if (m_lines.empty())
        return std::nullopt;
    std::string line = std::move(m_lines.front());
    m_lines.pop_front();
    return line;
}

void LineReader::reset()
{
    m_lines.clear();
    dropPartial();
}

void LineReader::dropPartial()
{
    m_partial.clear();
    m_isTooLong = false;
}

void LineReader::endLine()
{
    std::string line(trimmed(m_partial));
    if (!line.empty() && !m_isTooLong)
        m_lines.push_back(std::move(line));
    dropPartial();
}

} // namespace devsrv
