// SPDX-License-Identifier: MIT
#include "CommandLineDashboard.h"

#include "Output.h"
#include "PluginLog.h"

namespace {

// The libraries log from the moment at which they are loaded.
HostOptions prepared(HostOptions options)
{
    setPluginLog(options.log);
    if (redactor())
        options.trace = &callTrace();
    return options;
}

} // namespace

CallTrace &callTrace()
{
    static CallTrace trace([](const TracedCall &call) {
        if (Redactor *const redacting = redactor())
            redacting->learn(call.values);
    });
    return trace;
}

CommandLineDashboard::CommandLineDashboard(const HostOptions &options)
    : Dashboard(prepared(options))
{
}

void CommandLineDashboard::init()
{
    Dashboard::init();
    printNote(QStringLiteral("kestrun: source: ") + deviceService().source());
}
