// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QDomDocument;

namespace kestrun {

/// Puts a new, bare `LatestSimLockState` with the text `simLock` in the place of the first one of
/// each `HistoryData` that is a child of the document element. Nothing else is touched, and where
/// there is none, none is added.
void setSimLockState(QDomDocument &config, const QString &simLock);

/// How many elements stand one inside the other at the deepest place.
int nesting(const QDomDocument &config);

/// Documents that are nested deeper cannot be written: QDom saves them by recursion, and a few
/// thousand levels overflow the stack. No dashboard's file comes near.
inline constexpr int kDeepestNesting = 500;

} // namespace kestrun
