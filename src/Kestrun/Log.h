// SPDX-License-Identifier: MIT
#pragma once

#include <QLoggingCategory>

#include <array>
#include <string>

namespace kestrun {

/// Where a log line comes from: the module's path as the log names it, and the function.
struct Source
{
    const char *path;
    const char *function;
};

/// The current time as "hh:mm:ss:zzz".
std::array<char, 16> timeStamp();

/// Whether anybody takes the log: a host may have switched it off, and a line costs more than most
/// of what it tells of.
inline bool logEnabled()
{
    return QLoggingCategory::defaultCategory()->isDebugEnabled();
}

/// Logs a line whose first three "%s" are time, path and function; the further arguments follow.
/// Numbers for "%li" and "%ld" are to be passed as `long`.
template <typename... Arguments>
void logLine(const Source &source, const char *format, Arguments... arguments)
{
    if (logEnabled())
        qDebug(format, timeStamp().data(), source.path, source.function, arguments...);
}

template <typename... Arguments>
void warnLine(const Source &source, const char *format, Arguments... arguments)
{
    qWarning(format, timeStamp().data(), source.path, source.function, arguments...);
}

/// The line that most functions begin with.
inline void logCalled(const Source &source)
{
    logLine(source, "%s: %s: %s: called");
}

/// The line that a collected value ends with: "=========strIMEI===========4901...".
inline void logValue(const char *field, const std::string &value)
{
    if (logEnabled())
        qDebug("=========%s===========%s", field, value.c_str());
}

inline void logFailure(const char *field, const std::string &value)
{
    qDebug("=========%s_FAILED===========%s", field, value.c_str());
}

} // namespace kestrun
