// SPDX-License-Identifier: MIT
#include "CommandLineDashboard.h"

#include "Output.h"
#include "PluginLog.h"

namespace {

// The libraries log from the moment at which they are loaded.
HostOptions withLog(const HostOptions &options)
{
    setPluginLog(options.log);
    return options;
}

} // namespace

CommandLineDashboard::CommandLineDashboard(const HostOptions &options) : Dashboard(withLog(options))
{
}

void CommandLineDashboard::init()
{
    Dashboard::init();
    printNote(QStringLiteral("kestrun: source: ") + deviceService().source());
}
