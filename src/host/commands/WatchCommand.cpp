// SPDX-License-Identifier: MIT
#include "CommandLineDashboard.h"
#include "Commands.h"
#include "StopSignals.h"
#include "Watcher.h"

#include <QCoreApplication>

#include <csignal>

ExitStatus runWatch(const CommandLine &line)
{
    // The Watcher sees that the reader is gone. Not ignored: the shell commands would inherit that.
    std::signal(SIGPIPE, [](int) {});
    StopSignals stop;
    QObject::connect(&stop, &StopSignals::stopped, QCoreApplication::instance(),
                     &QCoreApplication::quit);
    CommandLineDashboard dashboard(line.hostOptions());
    Watcher watcher(dashboard, line.has("json") ? Watcher::Form::Json : Watcher::Form::Text);
    dashboard.init();
    watcher.start();
    QCoreApplication::exec();
    dashboard.shutDown();
    const DeviceServiceControl *const control = dashboard.deviceService().control();
    watcher.tellEnd(control ? control->callbackCount() : 0);
    return ExitStatus::Done;
}
