// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

/// Whether a report conforms to share/kestrun/report.xsd, by libxml2.
bool isValidReport(const QByteArray &report);
