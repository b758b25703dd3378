// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

class QDomDocument;

namespace kestrun {

/// Replaces the first `LatestSimLockState` in each `HistoryData` that is a child of the document
/// element by an element with the text `simLock` and without attributes. Changes nothing else, and
/// adds no element where there is none.
void setSimLockState(QDomDocument &config, const QString &simLock);

/// Returns the document as text, indented by 4, in the encoding that it declares, or in UTF-8 if
/// it declares none. Returns an empty text for an empty document.
QByteArray configText(const QDomDocument &config);

/// Returns true if a document is nested more than 500 levels deep, far deeper than a dashboard's
/// file. QDom needs time that grows with the square of the depth to read a document, and overflows
/// the stack when it saves one with some thousand levels. Pure; linear in the size.
bool isTooDeep(const QByteArray &xml);

} // namespace kestrun
