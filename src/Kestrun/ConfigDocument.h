// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QDomDocument;

namespace kestrun {

/// Puts a new, bare `LatestSimLockState` with the text `simLock` in the place of the first one of
/// each `HistoryData` that is a child of the document element. Nothing else is touched, and where
/// there is none, none is added.
void setSimLockState(QDomDocument &config, const QString &simLock);

/// Whether a document of `size` bytes is nested so deeply that it cannot be saved: QDom saves by
/// recursion, and a few thousand levels overflow the stack. No dashboard's file comes near the 500
/// levels that are taken.
bool isTooDeep(const QDomDocument &config, qint64 size);

} // namespace kestrun
