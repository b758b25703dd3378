// SPDX-License-Identifier: MIT
#pragma once

#include "NamedValues.h"

#include <QJsonObject>

/// The version of the JSON that the commands print, which docs/json.md describes. It changes if
/// a member is removed or changes its meaning.
inline constexpr int kJsonVersion = 1;

/// An object with a member for each value.
inline QJsonObject toJson(const NamedValues &values)
{
    QJsonObject object;
    for (const auto &[name, value] : values)
        object.insert(name, value);
    return object;
}
