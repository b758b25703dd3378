// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

/// Returns "; did you mean ...?" with the known word that is closest to a mistyped one, or an empty
/// text if none is close.
QString suggestion(const QString &word, const QStringList &known);
