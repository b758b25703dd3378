// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace devsrv {

/// The options of a backend, as a user writes them after a "?": "enable=no&baud=9600", in the form
/// of a URL's query. "%26" stands for "&" in a value.
///
/// A value. Each reader returns the default if the option is not given, and nothing with one
/// sentence in `error` if its value cannot be read.
class BackendOptions
{
public:
    BackendOptions() = default;

    /// Reads options. `known` has the permitted keys, separated by blanks. Returns nothing and one
    /// sentence in `error` for an unknown key, a key without a value, and a repeated key.
    static std::optional<BackendOptions> parse(std::string_view text, std::string_view known,
                                               std::string &error);

    std::string text(const std::string &key, const std::string &defaultValue = {}) const;

    /// Reads "yes" or "no".
    std::optional<bool> flag(const std::string &key, bool defaultValue, std::string &error) const;

    /// Reads a decimal number from `minimum` to `maximum`.
    std::optional<int> number(const std::string &key, int defaultValue, int minimum, int maximum,
                              std::string &error) const;

private:
    std::map<std::string, std::string> m_values;
};

} // namespace devsrv
