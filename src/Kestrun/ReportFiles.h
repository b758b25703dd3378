// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

namespace kestrun {

/// Writes "UpdateRule.dat" in the present data directory, and widens its permissions. A failure is
/// logged.
void writeReportFile(const QByteArray &document);

/// Puts the lock state into "Config.xml" in the present data directory, and sets the mode by which
/// dashboards recognize the file. A file that is missing or is not XML becomes an empty one.
/// Failures are logged; `logPath` is the path of the calling module in the log.
void updateConfigFile(const QString &simLock, const char *logPath);

} // namespace kestrun
