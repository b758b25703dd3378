// SPDX-License-Identifier: MIT
#include "Log.h"

#include <QTime>

#include <cstdio>

namespace kestrun {

std::array<char, 16> timeStamp()
{
    // Not QTime::toString(): it goes through locale and calendar, and a report has eighty lines.
    const QTime now = QTime::currentTime();
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d:%03d", now.hour(), now.minute(),
                  now.second(), now.msec());
    return text;
}

} // namespace kestrun
