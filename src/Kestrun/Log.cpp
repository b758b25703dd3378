// SPDX-License-Identifier: MIT
#include "Log.h"

#include <chrono>
#include <ctime>

namespace kestrun {

namespace {

// Writes a number over zeros, up to its last digit. The printf functions take longer for a report's
// time stamps than its files do.
void putDigits(char *last, int number)
{
    for (; number > 0; number /= 10)
        *last-- = static_cast<char>('0' + number % 10);
}

} // namespace

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
    std::array<char, 16> text{"00:00:00:000"};
    putDigits(text.data() + 1, local.tm_hour);
    putDigits(text.data() + 4, local.tm_min);
    putDigits(text.data() + 7, local.tm_sec);
    putDigits(text.data() + 11, static_cast<int>(ms));
    return text;
}

} // namespace kestrun
