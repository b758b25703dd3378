// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QStringList>

#include <functional>

/// How a child process ended that was started to run a library's code.
struct TrialResult
{
    QString notStarted; ///< the system's reason, if there was no child
    QString ending;     ///< a predicate such as "crashes (Aborted)"; empty if the work returned
    QByteArray answer;  ///< what the child told until then
};

/// Runs this program with these arguments in a child process, and kills that after `timeoutMs`.
TrialResult runTrial(const QStringList &arguments, int timeoutMs);

/// Sends bytes to the parent of the child process, at once.
using TellParent = std::function<void(const QByteArray &)>;

/// Is the child process: does the work, tells the parent the message of a Failure, and never
/// returns. What the libraries print goes to standard error.
[[noreturn]] void answerTrial(const std::function<void(const TellParent &tell)> &work);
