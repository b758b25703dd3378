// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <cstdlib>

/// Runs the fuzzer on one input; ends the program if a property does not hold.
void fuzzOne(const QByteArray &input);

inline void require(bool holds)
{
    if (!holds)
        std::abort();
}
