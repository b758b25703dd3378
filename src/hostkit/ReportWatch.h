// SPDX-License-Identifier: MIT
#pragma once

#include "Report.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

/// A value that differs between two reports.
struct ValueChange
{
    QString path;
    QString previous;
    QString current;
};

/// Sees each rewrite of the report by any process, and the values that it changed.
///
/// Lives on a thread with an event loop. A report from before the object's time is no rewrite.
class ReportWatch : public QObject
{
    Q_OBJECT

public:
    explicit ReportWatch(const QString &file);

    const QString &file() const { return m_file; }

    /// Returns the values of the last rewrite; nothing before the first one.
    const ReportValues &values() const { return m_values; }

    /// Looks at the file now, without waiting for the system to tell of the change.
    void check();

Q_SIGNALS:
    /// The report was rewritten and is complete.
    void rewritten(const QList<ValueChange> &changes);

private:
    void watchFiles();

    const QString m_file;
    FileState m_state;
    QByteArray m_xml;
    ReportValues m_values;
    QFileSystemWatcher m_files;
    QTimer m_settle;
};
