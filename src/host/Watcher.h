// SPDX-License-Identifier: MIT
#pragma once

#include "Dashboard.h"
#include "ReportWatch.h"

#include <QJsonObject>
#include <QSocketNotifier>

/// Prints the plug-in's signals, each rewrite of the report and each value that the rewrite
/// changed, and passes commands from standard input to the emulated card.
///
/// Lives on the main thread. The plug-in may emit its signals on other threads.
class Watcher : public QObject
{
    Q_OBJECT

public:
    enum class Form { Text, Json };

    /// Throws Failure for a plug-in without a table.
    Watcher(Dashboard &dashboard, Form form);

    /// Connects to the plug-in's signals and prints the values of the current report.
    void start();

    /// Prints the last line.
    void tellEnd(int callbacks);

private Q_SLOTS:
    // Connected by name, because the class that emits the signals is known only at run time.
    void onAvailable();
    void onUnavailable();

private:
    void readCommands();
    void runCommand(const QString &line);
    void tellSource();
    void tellRewrite(const QList<ValueChange> &changes);
    void tellChange(ValueChange change);
    void tell(const QString &text, QJsonObject object);

    Dashboard &m_dashboard;
    const KestrunHostTable &m_table;
    const Form m_form;
    ReportWatch m_report;
    QSocketNotifier m_input;
    QSocketNotifier m_readerGone; // of standard output
    QByteArray m_inputBuffer;
};
