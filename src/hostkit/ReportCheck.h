// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QStringList>

/// Compares a report with the schema share/kestrun/report.xsd. Returns the first fault with its
/// line and column, as one sentence; an empty text if there is none.
QString reportFault(const QByteArray &report);

/// Returns the paths of the elements of a report that have a value, such as "Client/IMEI".
QStringList reportFields();
