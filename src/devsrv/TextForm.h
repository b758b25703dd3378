// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace devsrv {

/// `bytes` in double quotes, with C escapes for what is not printable ASCII.
std::string inQuotes(std::string_view bytes);

/// The same for UTF-16, of which Latin-1 is shown as bytes and the rest as \uXXXX.
std::string inQuotes(std::u16string_view text);

} // namespace devsrv
