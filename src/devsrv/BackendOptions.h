// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace devsrv {

/// The options of a backend, as a user writes them behind a "?": "enable=no&baud=9600".
///
/// A value. Each reader returns the standard value where the option is not given, and nothing with
/// one sentence in `error` where the given value cannot be read.
class BackendOptions
{
public:
    BackendOptions() = default;

    /// Reads options, of which `known` has the keys, separated by blanks. Returns nothing and one
    /// sentence in `error` for an unknown key, a key without value, and a key that comes twice.
    static std::optional<BackendOptions> parse(std::string_view text, std::string_view known,
                                               std::string &error);

    std::string text(const std::string &key, const std::string &standard = {}) const;

    /// Reads "yes" or "no".
    std::optional<bool> flag(const std::string &key, bool standard, std::string &error) const;

    /// Reads a decimal number from `least` to `most`.
    std::optional<int> number(const std::string &key, int standard, int least, int most,
                              std::string &error) const;

private:
    std::map<std::string, std::string> m_values;
};

} // namespace devsrv
