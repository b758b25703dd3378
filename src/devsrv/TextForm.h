// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace devsrv {

/// Returns `bytes` in double quotes, with C escapes for bytes that are not printable ASCII.
std::string inQuotes(std::string_view bytes);

/// Does the same for UTF-16: Latin-1 characters are shown as bytes, all others as \uXXXX.
std::string inQuotes(std::u16string_view text);

} // namespace devsrv
