// SPDX-License-Identifier: MIT
#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

/// Tells when a modem or a port may have been plugged in or out: a device file or a modem of the
/// modem daemon has come or gone.
///
/// Lives on the main thread.
class PlugWatch : public QObject
{
    Q_OBJECT

public:
    PlugWatch();
    ~PlugWatch() override;

    /// Connects to the system message bus, unless that is done, to hear the modem daemon, even if
    /// that starts later. Blocks until the bus answers, 3 s at most. Any thread, but one at a time.
    void followModems();

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void onChange();

private:
    QFileSystemWatcher m_files;
    QTimer m_settle;
};
