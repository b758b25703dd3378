// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// Compares a report with the schema share/kestrun/report.xsd. Returns the first fault with its
/// line and column, as one sentence; an empty text if there is none.
QString reportFault(const QByteArray &report);
