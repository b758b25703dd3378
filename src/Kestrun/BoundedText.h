// SPDX-License-Identifier: MIT
#pragma once

#include <cstring>
#include <string>

namespace kestrun {

/// Returns the text in a buffer that the device service filled: up to the NUL, or up to the end of
/// the buffer if there is none.
template <std::size_t Size>
std::string textOf(const char (&buffer)[Size])
{
    return {buffer, strnlen(buffer, Size)};
}

} // namespace kestrun
