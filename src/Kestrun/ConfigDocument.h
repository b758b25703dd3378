// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

class QDomDocument;

namespace kestrun {

/// Puts a new, bare `LatestSimLockState` with the text `simLock` in the place of the first one of
/// each `HistoryData` that is a child of the document element. Nothing else is touched, and where
/// there is none, none is added.
void setSimLockState(QDomDocument &config, const QString &simLock);

/// Whether a document is nested more than 500 levels deep. QDom takes time that grows with the
/// square of the depth to read such a document, and overflows the stack when it saves one of some
/// thousand levels. No dashboard's file comes near. Pure; linear in the size.
bool isTooDeep(const QByteArray &xml);

} // namespace kestrun
