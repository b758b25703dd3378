// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QDomDocument;

namespace kestrun {

/// Puts a new, bare `LatestSimLockState` with the text `simLock` in the place of the first one of
/// each `HistoryData` that is a child of the document element. Nothing else is touched, and where
/// there is none, none is added.
void setSimLockState(QDomDocument &config, const QString &simLock);

} // namespace kestrun
