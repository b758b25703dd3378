// SPDX-License-Identifier: MIT
#include "CommandLineDashboard.h"
#include "Commands.h"
#include "MetricsFile.h"
#include "Output.h"
#include "Recording.h"
#include "ServiceManager.h"
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
    ServiceManager serviceManager;
    // Before the dashboard, which changes the working directory.
    std::optional<RecordingWriter> recording;
    if (line.has("record"))
        recording.emplace(line.value("record"));
    std::optional<MetricsFile> metrics;
    if (const QString labels = line.metricsLabels(); line.has("metrics"))
        metrics.emplace(line.value("metrics"), labels);

    CommandLineDashboard dashboard(line.hostOptions());
    Watcher watcher(dashboard, line.has("json") ? Watcher::Form::Json : Watcher::Form::Text);
    std::optional<EventObserver> observer;
    if (recording || metrics) {
        observer.emplace(dashboard);
        QObject::connect(&*observer, &EventObserver::handled, &watcher,
                         [&](const HandledEvent &handled) {
                             const HandledEvent event = presentable(handled);
                             if (recording)
                                 recording->add(event);
                             if (metrics)
                                 metrics->add(event);
                         });
        if (recording) {
            // The source, which is written first, may have an identity.
            if (Redactor *const redacting = redactor())
                redacting->learn(askCard(dashboard.deviceService()).fields);
            recording->begin(dashboard.deviceService().source());
        }
        observer->observe([&] { dashboard.init(); });
    } else {
        dashboard.init();
    }
    if (metrics)
        metrics->start(dashboard.deviceService(), *observer);
    watcher.start();
    serviceManager.ready();
    QCoreApplication::exec();
    serviceManager.stopping();

    observer.reset();
    // Those of other threads that the event loop has not delivered.
    QCoreApplication::sendPostedEvents(&watcher);
    if (recording)
        recording->end();
    dashboard.shutDown();
    const DeviceServiceControl *const control = dashboard.deviceService().control();
    watcher.tellEnd(control ? control->callbackCount() : 0);
    const bool written = (!recording || recording->isComplete())
        && (!metrics || metrics->isCurrent());
    return written ? ExitStatus::Done : ExitStatus::NotDone;
}
