// SPDX-License-Identifier: MIT
#include "BackendOptions.h"

#include <charconv>

namespace devsrv {

namespace {

// Takes the text before the next `separator` away from `text`, and the separator with it.
std::string_view takeUpTo(char separator, std::string_view &text)
{
    const std::size_t end = text.find(separator);
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return part;
}

bool isListed(std::string_view key, std::string_view known)
{
    while (!known.empty()) {
        if (takeUpTo(' ', known) == key)
            return true;
    }
    return false;
}

std::string inList(std::string_view known)
{
    std::string list;
    while (!known.empty())
        list += (list.empty() ? "" : ", ") + std::string(takeUpTo(' ', known));
    return list;
}

} // namespace

std::optional<BackendOptions> BackendOptions::parse(std::string_view text, std::string_view known,
                                                    std::string &error)
{
    BackendOptions options;
    while (!text.empty()) {
        std::string_view value = takeUpTo('&', text);
        const bool hasValue = value.find('=') != std::string_view::npos;
        const std::string key(takeUpTo('=', value));
        if (!isListed(key, known)) {
            error = "there is no option \"" + key + "\"; "
                + (known.empty() ? "no options can be given here"
                                 : "the options are " + inList(known));
            return std::nullopt;
        }
        if (!hasValue) {
            error = "the option \"" + key + "\" has no value; write " + key + "=VALUE";
            return std::nullopt;
        }
        if (!options.m_values.emplace(key, value).second) {
            error = "the option \"" + key + "\" is given twice; leave one out";
            return std::nullopt;
        }
    }
    return options;
}

std::string BackendOptions::text(const std::string &key, const std::string &standard) const
{
    const auto found = m_values.find(key);
    return found == m_values.end() ? standard : found->second;
}

std::optional<bool> BackendOptions::flag(const std::string &key, bool standard,
                                         std::string &error) const
{
    const std::string value = text(key, standard ? "yes" : "no");
    if (value == "yes" || value == "no")
        return value == "yes";
    error = "the option \"" + key + "\" is \"" + value + "\"; write yes or no";
    return std::nullopt;
}

std::optional<int> BackendOptions::number(const std::string &key, int standard, int least, int most,
                                          std::string &error) const
{
    const std::string value = text(key, std::to_string(standard));
    const char *const end = value.data() + value.size();
    int number = 0;
    const auto [stop, failure] = std::from_chars(value.data(), end, number);
    if (failure == std::errc() && stop == end && number >= least && number <= most)
        return number;
    error = "the option \"" + key + "\" is \"" + value + "\"; write a number from "
        + std::to_string(least) + " to " + std::to_string(most);
    return std::nullopt;
}

} // namespace devsrv
