// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "Commands.h"
#include "StopSignals.h"
#include "Watcher.h"

#include <QCoreApplication>

#include <csignal>

ExitStatus runWatch(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("watch"),
        QStringLiteral("Starts the plug-in and shows its signals, each rewrite of the report and "
                       "each value that changes, until Ctrl-C or SIGTERM. Reads commands for the "
                       "emulated card from standard input: insert [CARD], remove, event NUMBER, "
                       "set FIELD VALUE."));
    line.addHostOptions();
    line.addFlag(QStringLiteral("json"), QStringLiteral("Print one JSON object on each line."));
    line.read(arguments);

    // The Watcher sees that the reader is gone. Not ignored: the shell commands would inherit that.
    std::signal(SIGPIPE, [](int) {});
    StopSignals stop;
    QObject::connect(&stop, &StopSignals::stopped, QCoreApplication::instance(),
                     &QCoreApplication::quit);
    Dashboard dashboard(line.hostOptions());
    Watcher watcher(dashboard,
                    line.has(QStringLiteral("json")) ? Watcher::Form::Json : Watcher::Form::Text);
    dashboard.init();
    watcher.start();
    QCoreApplication::exec();
    dashboard.shutDown();
    const DeviceServiceControl *const control = dashboard.deviceService().control();
    watcher.tellEnd(control ? control->callbackCount() : 0);
    return ExitStatus::Done;
}
