// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The host's exit statuses.
enum class ExitStatus { Done = 0, NotDone = 1, WrongUsage = 2 };

/// Ends a command. The message is one sentence for the user: what is wrong, where, and what to do.
struct Failure
{
    ExitStatus status;
    QString message;
};

[[noreturn]] inline void failRun(const QString &message)
{
    throw Failure{ExitStatus::NotDone, message};
}

[[noreturn]] inline void failUsage(const QString &message)
{
    throw Failure{ExitStatus::WrongUsage, message};
}
