// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <atomic>
#include <csignal>
#include <thread>

/// Turns SIGINT and SIGTERM into a Qt signal, for as long as the object lives.
///
/// One object at a time, made on the main thread before there are others: they take over which
/// signals are blocked. A thread of its own waits for the two. A handler would miss SIGINT for as
/// long as the plug-in runs a shell command, since the C library has the whole process ignore it;
/// a signal that is waited for is lost only if a command begins in the instant in which it comes.
/// The commands inherit that the two are blocked, and so end what they began.
class StopSignals : public QObject
{
    Q_OBJECT

public:
    StopSignals();
    ~StopSignals() override;

Q_SIGNALS:
    /// Emitted on the waiting thread: receivers on others get it through their event loop.
    void stopped();

private:
    void wait();

    sigset_t m_signals;
    sigset_t m_blockedBefore;
    std::atomic<bool> m_ending = false;
    std::thread m_waiting;
};
