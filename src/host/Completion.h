// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

/// The command that the completion scripts of the shells call. It is not listed for users.
inline constexpr char kCompleteCommand[] = "complete";

/// Prints the words that can replace the last one of `words`, which are the words behind the name
/// of the program. Prints nothing where a shell completes names of files.
void printCompletions(const QStringList &words);
