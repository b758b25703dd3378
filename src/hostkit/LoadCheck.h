// SPDX-License-Identifier: MIT
#pragma once

#include "Failure.h"

#include <QStringList>

/// The command of the child process. It is not listed for users.
inline constexpr char kLoadCheckCommand[] = "load-check";

/// What happened in the child process. The other texts are empty if the libraries can be used.
struct LoadResult
{
    QString service; ///< the device service's file, absolute if it could be loaded
    QString fatal;   ///< one sentence: a library crashed, did not return or ended the process
    QString refusal; ///< the message of the Failure that refused a library
};

/// Loads the libraries in a child process, in 10 s at most. `sdk` is a file of
/// DeviceServiceLibrary::find(); with an empty `plugin`, only that is loaded.
LoadResult checkLoading(const QString &sdk, const QString &plugin);

/// Throws Failure if loading is fatal. A refusal is left to the caller, who loads the libraries
/// next. Returns the device service's file, absolute if it could be loaded.
QString requireLoadingReturns(const QString &sdk, const QString &plugin);

/// Is the child process: takes the two files as arguments and never returns.
[[noreturn]] void runLoadCheck(const QStringList &files);
