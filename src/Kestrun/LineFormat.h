// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace kestrun {

inline void append(std::string &line, const char *text)
{
    line += text;
}

inline void append(std::string &line, long number)
{
    line += std::to_string(number);
}

/// The printf conversion that a log line uses for an argument of this type. There is none for
/// types that a log line cannot take.
template <typename Argument>
struct Conversion;
template <>
struct Conversion<const char *>
{
    static constexpr std::string_view kText = "s";
};
template <>
struct Conversion<int>
{
    static constexpr std::string_view kText = "d";
};
template <>
struct Conversion<long>
{
    static constexpr std::string_view kText = "li";
};

/// Not constexpr: a call in a constant expression makes the compiler name this function.
inline void formatDoesNotFitArguments() {}

/// The format of a log line with these arguments: "%s" for time, path and function, then exactly
/// one conversion for each argument. Any other text does not compile.
template <typename... Arguments>
class LineFormat
{
public:
    consteval LineFormat(const char *text) : m_text(text)
    {
        std::string_view rest(text);
        for (const std::string_view conversion :
             {std::string_view("s"), std::string_view("s"), std::string_view("s"),
              Conversion<Arguments>::kText...}) {
            const auto percent = rest.find('%');
            if (percent == std::string_view::npos
                || !rest.substr(percent + 1).starts_with(conversion))
                formatDoesNotFitArguments();
            rest.remove_prefix(percent + 1 + conversion.size());
        }
        if (rest.find('%') != std::string_view::npos)
            formatDoesNotFitArguments();
    }

    /// Returns the line with these texts in place of the conversions. QString::asprintf() would
    /// take so much longer that the log would be half of a report's own work.
    std::string line(const char *time, const char *path, const char *function,
                     Arguments... arguments) const
    {
        std::string line;
        std::string_view rest(m_text);
        const auto put = [&](std::string_view conversion, auto argument) {
            const auto percent = rest.find('%');
            line += rest.substr(0, percent);
            append(line, argument);
            rest.remove_prefix(percent + 1 + conversion.size());
        };
        for (const char *text : {time, path, function})
            put("s", text);
        (put(Conversion<Arguments>::kText, arguments), ...);
        line += rest;
        return line;
    }

private:
    const char *m_text;
};

} // namespace kestrun
