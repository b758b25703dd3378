// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QDomDocument;

namespace kestrun {

/// Replaces the first `LatestSimLockState` in each `HistoryData` that is a child of the document
/// element by an element with the text `simLock` and without attributes. Changes nothing else, and
/// adds no element where there is none.
void setSimLockState(QDomDocument &config, const QString &simLock);

/// Returns the document as text, indented by 4, in the encoding that it declares, or in UTF-8 if
/// it declares none, see encodedXml(). Returns an empty text for an empty document, and nothing if
/// the encoding cannot hold it. Takes the XML declaration out of the document.
std::optional<QByteArray> configText(QDomDocument config);

} // namespace kestrun
