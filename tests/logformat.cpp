// SPDX-License-Identifier: MIT

// Compiled once with each line. Only line 0 fits its arguments.
#include "LineFormat.h"

using kestrun::LineFormat;

#if LINE == 0
constexpr LineFormat<const char *, int, long> kFormat("%s: %s: %s: %s, %d returned %li:");
#elif LINE == 1 // an argument too few
constexpr LineFormat<> kFormat("%s: %s: %s: %d");
#elif LINE == 2 // an argument too many
constexpr LineFormat<int> kFormat("%s: %s: %s");
#elif LINE == 3 // a number of another size
constexpr LineFormat<long> kFormat("%s: %s: %s: %d");
#elif LINE == 4 // no text for the function
constexpr LineFormat<int> kFormat("%s: %s: %d");
#elif LINE == 5 // a text for a number
constexpr LineFormat<int> kFormat("%s: %s: %s: %s");
#endif
