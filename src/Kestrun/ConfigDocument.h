// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

class QDomDocument;

namespace kestrun {

/// Makes the first `LatestSimLockState` of each `HistoryData` that is a child of the document
/// element a bare element with the text `simLock`: attributes and children that it had are gone.
/// Nothing else is touched, and where there is none, none is added.
void setSimLockState(QDomDocument &config, const QString &simLock);

/// The document as text, indented by 4, in the encoding that it declares or else in UTF-8; empty
/// for an empty one.
QByteArray configText(const QDomDocument &config);

/// Whether a document is nested more than 500 levels deep. QDom takes time that grows with the
/// square of the depth to read such a document, and overflows the stack when it saves one of some
/// thousand levels. No dashboard's file comes near. Pure; linear in the size.
bool isTooDeep(const QByteArray &xml);

} // namespace kestrun
