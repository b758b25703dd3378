// SPDX-License-Identifier: MIT
#include "BackendOptions.h"

#include <QStringList>
#include <QUrlQuery>

#include <charconv>

namespace devsrv {

std::optional<BackendOptions> BackendOptions::parse(std::string_view text, std::string_view known,
                                                    std::string &error)
{
    const auto toQString = [](std::string_view utf8) {
        return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
    };
    const QStringList keys = toQString(known).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    BackendOptions options;
    const auto items = QUrlQuery(toQString(text)).queryItems(QUrl::FullyDecoded);
    for (const auto &[name, value] : items) {
        const std::string key = name.toStdString();
        if (!keys.contains(name)) {
            error = "there is no option \"" + key + "\"; "
                + (keys.isEmpty()
                       ? "no options can be given here"
                       : "the options are " + keys.join(QStringLiteral(", ")).toStdString());
            return std::nullopt;
        }
        if (value.isEmpty()) {
            error = QStringLiteral("the option \"%1\" has no value; write %1=VALUE")
                        .arg(name)
                        .toStdString();
            return std::nullopt;
        }
        if (!options.m_values.emplace(key, value.toStdString()).second) {
            error = "the option \"" + key + "\" is given twice; leave one out";
            return std::nullopt;
        }
    }
    return options;
}

std::string BackendOptions::text(const std::string &key, const std::string &defaultValue) const
{
    const auto found = m_values.find(key);
    return found == m_values.end() ? defaultValue : found->second;
}

std::optional<bool> BackendOptions::flag(const std::string &key, bool defaultValue,
                                         std::string &error) const
{
    const std::string value = text(key, defaultValue ? "yes" : "no");
    if (value == "yes" || value == "no")
        return value == "yes";
    error = "the option \"" + key + "\" is \"" + value + "\"; write yes or no";
    return std::nullopt;
}

std::optional<int> BackendOptions::number(const std::string &key, int defaultValue, int minimum,
                                          int maximum, std::string &error) const
{
    const std::string value = text(key, std::to_string(defaultValue));
    const char *const end = value.data() + value.size();
    int number = 0;
    const auto [stop, failure] = std::from_chars(value.data(), end, number);
    if (failure == std::errc() && stop == end && number >= minimum && number <= maximum)
        return number;
    error = "the option \"" + key + "\" is \"" + value + "\"; write a number from "
        + std::to_string(minimum) + " to " + std::to_string(maximum);
    return std::nullopt;
}

} // namespace devsrv
