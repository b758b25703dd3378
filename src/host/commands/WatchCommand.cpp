// SPDX-License-Identifier: MIT
#include "CommandLineDashboard.h"
#include "Commands.h"
#include "Recording.h"
#include "StopSignals.h"
#include "Watcher.h"

#include <QCoreApplication>

#include <csignal>
#include <optional>

ExitStatus runWatch(const CommandLine &line)
{
    // The Watcher sees that the reader is gone. Not ignored: the shell commands would inherit that.
    std::signal(SIGPIPE, [](int) {});
    StopSignals stop;
    QObject::connect(&stop, &StopSignals::stopped, QCoreApplication::instance(),
                     &QCoreApplication::quit);
    // Before the dashboard, which changes the working directory.
    std::optional<RecordingWriter> recording;
    if (line.has("record"))
        recording.emplace(line.value("record"));
    CommandLineDashboard dashboard(line.hostOptions());
    Watcher watcher(dashboard, line.has("json") ? Watcher::Form::Json : Watcher::Form::Text);
    std::optional<EventObserver> observer;
    if (recording) {
        observer.emplace(dashboard);
        QObject::connect(&*observer, &EventObserver::handled, &watcher,
                         [&](const HandledEvent &event) { recording->add(event); });
        recording->begin(dashboard.deviceService().source());
        observer->observe([&] { dashboard.init(); });
    } else {
        dashboard.init();
    }
    watcher.start();
    QCoreApplication::exec();

    observer.reset();
    // Those of other threads that the event loop has not delivered.
    QCoreApplication::sendPostedEvents(&watcher);
    if (recording)
        recording->end();
    dashboard.shutDown();
    const DeviceServiceControl *const control = dashboard.deviceService().control();
    watcher.tellEnd(control ? control->callbackCount() : 0);
    return !recording || recording->isComplete() ? ExitStatus::Done : ExitStatus::NotDone;
}
