// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace devsrv {

/// A text without the blanks around it.
std::string_view trimmed(std::string_view text);

/// Cuts what a port delivers, in whatever pieces, into lines.
///
/// Not thread-safe. Keeps no more than kMaxLine bytes of an unfinished line: a longer line is noise
/// and is dropped as a whole. NULs are dropped, and blanks at both ends of a line.
class LineReader
{
public:
    static constexpr std::size_t kMaxLine = 4096;

    void feed(std::string_view bytes);

    /// The next line that is not empty, without its end.
    std::optional<std::string> next();

    /// Whether the unfinished line is the prompt for a message.
    bool isAtPrompt() const { return m_partial == ">" || m_partial == "> "; }

    /// Forgets all lines.
    void reset();

    /// Forgets the unfinished line.
    void dropPartial();

private:
    void endLine();

    std::string m_partial;
    bool m_isTooLong = false;
    std::deque<std::string> m_lines;
};

} // namespace devsrv
