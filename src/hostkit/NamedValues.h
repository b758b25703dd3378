// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <algorithm>
#include <utility>

/// Values by name, in the order of a file.
using NamedValues = QList<std::pair<QString, QString>>;

/// Returns the value with that name, or an empty text if there is none.
inline QString valueOf(const NamedValues &values, const QString &name)
{
    const auto found = std::find_if(values.begin(), values.end(),
                                    [&](const auto &entry) { return entry.first == name; });
    return found == values.end() ? QString() : found->second;
}
