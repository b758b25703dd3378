// SPDX-License-Identifier: MIT

// Compiled once with each line below; only the first fits its arguments.
#include "Log.h"

void line(const kestrun::Source &source)
{
#if LINE == 0
    kestrun::logLine(source, "%s: %s: %s: %s, %d returned %li", "", 1, 1L);
#elif LINE == 1
    kestrun::logLine(source, "%s: %s: %s: %d");
#elif LINE == 2
    kestrun::logLine(source, "%s: %s: %s", 1);
#elif LINE == 3
    kestrun::warnLine(source, "%s: %s: %s: %d", 1L);
#elif LINE == 4
    kestrun::logLine(source, "%s: %s: %d", 1);
#elif LINE == 5
    static constexpr kestrun::LineFormat<int> kFormat = "%s: %s: %s: %s";
    kestrun::logLine(source, kFormat, 1);
#endif
}
