// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <cstdlib>

/// What a fuzzer does with one input; ends the program where something is not as it has to be.
void fuzzOne(const QByteArray &input);

inline void require(bool holds)
{
    if (!holds)
        std::abort();
}
