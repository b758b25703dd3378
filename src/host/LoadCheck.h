// SPDX-License-Identifier: MIT
#pragma once

#include "Failure.h"

#include <QStringList>

/// The command of the child process. It is not listed for users.
inline constexpr char kLoadCheckCommand[] = "load-check";

/// Loads the libraries in a child process and returns one sentence if a library crashes there,
/// hangs or ends the process. Returns an empty text otherwise, also if a library is refused: the
/// caller gets that reason when it loads the library itself. `sdk` is a
/// file of DeviceServiceLibrary::find(); with an empty `plugin`, only that is loaded. Takes 10 s at
/// most.
QString whyLoadingEndsProcess(const QString &sdk, const QString &plugin);

/// Throws Failure if whyLoadingEndsProcess() has a reason.
void requireLoadingReturns(const QString &sdk, const QString &plugin);

/// Is the child process: takes the two files as arguments and never returns.
[[noreturn]] void runLoadCheck(const QStringList &files);
