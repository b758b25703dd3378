// SPDX-License-Identifier: MIT
#pragma once

#include <cstring>
#include <string>

namespace kestrun {

/// The text of a buffer that the device service filled, up to its NUL or, if the service forgot
/// that, to the end of the buffer.
template <std::size_t Size>
std::string textOf(const char (&buffer)[Size])
{
    return {buffer, strnlen(buffer, Size)};
}

} // namespace kestrun
