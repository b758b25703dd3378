// SPDX-License-Identifier: MIT
#pragma once

#include "Dashboard.h"
#include "Report.h"

#include <QFileSystemWatcher>
#include <QJsonObject>
#include <QSocketNotifier>
#include <QTimer>

/// Tells what the plug-in does for as long as it runs: its signals, each rewrite of the report, and
/// each value that changed since the last one; and hands commands from standard input to the
/// emulated card.
///
/// On the main thread. The plug-in's signals may come from other threads.
class Watcher : public QObject
{
    Q_OBJECT

public:
    enum class Form { Text, Json };

    /// Throws Failure for a plug-in without a table.
    Watcher(Dashboard &dashboard, Form form);

    /// Connects to the plug-in's signals and tells of the report as it is.
    void start();

    /// One line at the end.
    void tellEnd(int callbacks);

private Q_SLOTS:
    // Slots by name: the plug-in's class is known at run time only.
    void onAvailable();
    void onUnavailable();

private:
    void readCommands();
    void runCommand(const QString &line);
    void watchFiles();
    void checkReport();
    void tell(const QString &text, QJsonObject object);

    Dashboard &m_dashboard;
    const KestrunHostTable &m_table;
    const Form m_form;
    const QString m_reportFile;
    FileState m_reportState;
    QByteArray m_reportXml;
    ReportValues m_values;
    QFileSystemWatcher m_files;
    QTimer m_settle;
    QSocketNotifier m_input;
    QByteArray m_inputBuffer;
};
