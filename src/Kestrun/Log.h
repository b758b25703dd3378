// SPDX-License-Identifier: MIT
#pragma once

#include "LineFormat.h"

#include <QLoggingCategory>

#include <array>
#include <string>
#include <type_traits>

namespace kestrun {

/// Where a log line comes from: the module's path as the log names it, and the function.
struct Source
{
    const char *path;
    const char *function;
};

/// The current time as "hh:mm:ss:zzz".
std::array<char, 16> timeStamp();

/// Lets the following time stamps be in the present time zone, if the user has changed it.
void followTimeZone();

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
        qDebug("%s",
               format.line(timeStamp().data(), source.path, source.function, arguments...).c_str());
}

/// Logs the same as a warning.
template <typename... Arguments>
void warnLine(const Source &source, std::type_identity_t<LineFormat<Arguments...>> format,
              Arguments... arguments)
{
    qWarning("%s",
             format.line(timeStamp().data(), source.path, source.function, arguments...).c_str());
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
