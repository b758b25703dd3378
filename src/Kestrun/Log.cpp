// SPDX-License-Identifier: MIT
#include "Log.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace kestrun {

void followTimeZone()
{
    tzset();
}

std::array<char, 16> timeStamp()
{
    // QTime would check the time zone's file for each of a report's eighty lines, and format
    // through the locale and the calendar.
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(floor<std::chrono::seconds>(now));
    const auto ms = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d:%03d", local.tm_hour, local.tm_min,
                  local.tm_sec, static_cast<int>(ms));
    return text;
}

} // namespace kestrun
