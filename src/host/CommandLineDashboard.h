// SPDX-License-Identifier: MIT
#pragma once

#include "Dashboard.h"

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
