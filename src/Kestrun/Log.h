// SPDX-License-Identifier: MIT
#pragma once

#include <QLoggingCategory>

#include <array>
#include <string>
#include <string_view>
#include <type_traits>

namespace kestrun {

/// Where a log line comes from: the module's path as the log names it, and the function.
struct Source
{
    const char *path;
    const char *function;
};

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

    const char *text() const { return m_text; }

private:
    const char *m_text;
};

/// The current time as "hh:mm:ss:zzz".
std::array<char, 16> timeStamp();

/// Whether the host has the log switched on. Formatting a line takes longer than most of the calls
/// that it reports.
inline bool logEnabled()
{
    return QLoggingCategory::defaultCategory()->isDebugEnabled();
}

/// Logs a line that begins with time, path and function.
template <typename... Arguments>
void logLine(const Source &source, std::type_identity_t<LineFormat<Arguments...>> format,
             Arguments... arguments)
{
    if (logEnabled())
        qDebug(format.text(), timeStamp().data(), source.path, source.function, arguments...);
}

/// Logs the same as a warning.
template <typename... Arguments>
void warnLine(const Source &source, std::type_identity_t<LineFormat<Arguments...>> format,
              Arguments... arguments)
{
    qWarning(format.text(), timeStamp().data(), source.path, source.function, arguments...);
}

/// Logs the first line of most functions.
inline void logCalled(const Source &source)
{
    logLine(source, "%s: %s: %s: called");
}

/// Logs a collected value: "=========strIMEI===========4901...".
inline void logValue(const char *field, const std::string &value)
{
    if (logEnabled())
        qDebug("=========%s===========%s", field, value.c_str());
}

/// Logs that a value could not be collected.
inline void logFailure(const char *field, const std::string &value)
{
    qDebug("=========%s_FAILED===========%s", field, value.c_str());
}

} // namespace kestrun
