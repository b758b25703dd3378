// SPDX-License-Identifier: MIT
#pragma once

#include "Dashboard.h"

/// Sees the calls of the plug-in if a command sets it in HostOptions, or if the output is redacted,
/// which learns the identities from them.
CallTrace &callTrace();

/// A dashboard on the command line: the plug-in's log goes to standard error, and the user reads
/// where the report came from.
class CommandLineDashboard : public Dashboard
{
public:
    /// As of Dashboard.
    explicit CommandLineDashboard(const HostOptions &options);

    /// As of Dashboard. Prints one line that names the card.
    void init();
};
