// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>

/// Turns SIGINT and SIGTERM into a Qt signal on the main thread. One object at a time.
class StopSignals : public QObject
{
    Q_OBJECT

public:
    StopSignals();
    ~StopSignals() override;

Q_SIGNALS:
    void stopped();

private:
    int m_pipe[2];
    QSocketNotifier *m_notifier;
};
