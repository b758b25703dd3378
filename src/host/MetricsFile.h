// SPDX-License-Identifier: MIT
#pragma once

#include "Metrics.h"

#include <QTimer>

/// Keeps a file with the metrics current: writes it after each event and every 60 s.
///
/// For the main thread. The file is replaced by a complete one, so that a reader never sees a part.
class MetricsFile
{
public:
    /// `labels` are those of Metrics. Throws Failure.
    MetricsFile(const QString &file, const QString &labels);

    /// Counts an event, and writes the file after start().
    void add(const HandledEvent &event);

    /// Writes the file and keeps it current from then on, also with what the card of `service`
    /// answers. `observer` is that of the events. Throws Failure if the file cannot be written. A
    /// later failure is printed once, and the file is written again when that is possible.
    void start(const DeviceServiceLibrary &service, const EventObserver &observer);

    /// Returns whether the file has the latest metrics.
    bool isCurrent() const { return m_error.isEmpty(); }

private:
    void write();
    QString replaceFile() const;

    const QString m_file;
    Metrics m_metrics;
    QTimer m_timer;
    QString m_error;
};
