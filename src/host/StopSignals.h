// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <atomic>
#include <csignal>
#include <thread>

/// Turns SIGINT and SIGTERM into a Qt signal for as long as the object lives.
///
/// There is one object at a time. It is created on the main thread before other threads start,
/// because they inherit the blocked signals. A thread waits for the two signals with sigwait(). A
/// handler would miss SIGINT while the plug-in runs a shell command: the C library makes the whole
/// process ignore SIGINT during system(). The commands inherit the blocked signals too, so that
/// Ctrl-C does not interrupt them.
class StopSignals : public QObject
{
    Q_OBJECT

public:
    StopSignals();
    ~StopSignals() override;

Q_SIGNALS:
    /// Emitted on the waiting thread. Receivers on other threads get it through their event loops.
    void stopped();

private:
    void wait();

    sigset_t m_signals;
    sigset_t m_previousMask;
    std::atomic<bool> m_ending = false;
    std::thread m_waiting;
};
