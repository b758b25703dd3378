// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <unistd.h>

/// Returns the resident memory of this process in KiB, or 0 if the system has no /proc.
inline long residentKiB()
{
    long pages = 0;
    if (FILE *const file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*d %ld", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}
