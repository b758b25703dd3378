// SPDX-License-Identifier: MIT
#include "CardRecord.h"
#include "Commands.h"
#include "Output.h"
#include "PluginLog.h"
#include "Recording.h"
#include "RegularFile.h"
#include "StopSignals.h"
#include "VisibleText.h"

#include <QDir>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <optional>

namespace {

// The values of a report that the plug-in takes from the computer and not from the card.
constexpr const char *kOfComputer[] = {
    "Client/Command/Device/DverPc",      "Client/Command/Device/DverCD",
    "Client/Command/System/OS/PlatForm", "Client/Command/System/OS/Name",
    "Client/Command/System/OS/Version",  "Client/Command/System/OS/Language",
    "Client/Command/Network/IPAddr",
};

bool isOfComputer(const QString &path)
{
    return std::any_of(std::begin(kOfComputer), std::end(kOfComputer),
                       [&](const char *name) { return path == QLatin1String(name); });
}

// Returns the factor of --speed, or nothing if there are no waits.
std::optional<double> speedOf(const CommandLine &line)
{
    if (!line.has("speed"))
        return 1;
    const QString text = line.value("speed");
    if (text == u"max")
        return std::nullopt;
    const double speed = text.toDouble();
    if (!(speed >= 0.001 && speed <= 1'000'000)) {
        failUsage(
            QStringLiteral("\"%1\" is not a speed; write a number such as 10, or max").arg(text));
    }
    return speed;
}

QString listOf(const QStringList &names)
{
    return names.isEmpty() ? QStringLiteral("no signal") : names.join(QStringLiteral(", "));
}

QString rewriting(const HandledEvent &event)
{
    return event.report ? QStringLiteral("rewrites") : QStringLiteral("does not rewrite");
}

QString differenceOfValues(const ReportValues &recorded, const ReportValues &replayed)
{
    for (const auto &[path, value] : replayed + recorded) {
        const QString was = valueOf(recorded, path);
        const QString is = valueOf(replayed, path);
        if (was != is && !isOfComputer(path))
            return QStringLiteral("%1 is \"%2\", and in the recording \"%3\"").arg(path, is, was);
    }
    return {};
}

// The disk of the other computer has no effect on this one. While the card changed, its state is
// not known exactly.
bool hasComparableReport(const HandledEvent &recorded)
{
    return recorded.failure.isEmpty() && !recorded.cardChanged;
}

// Returns how an event differs from the recorded one; an empty text if it does not.
QString difference(const HandledEvent &recorded, const HandledEvent &replayed)
{
    if (recorded.emitted != replayed.emitted) {
        return QStringLiteral("the plug-in emits %1, and in the recording %2")
            .arg(listOf(replayed.emitted), listOf(recorded.emitted));
    }
    if (!hasComparableReport(recorded))
        return {};
    if (recorded.report.has_value() != replayed.report.has_value()) {
        return QStringLiteral("the plug-in %1 the report, and in the recording it %2 it")
            .arg(rewriting(replayed), rewriting(recorded));
    }
    return recorded.report ? differenceOfValues(*recorded.report, *replayed.report) : QString();
}

QString rootOf(const CommandLine &line, const QTemporaryDir &scratch)
{
    if (!scratch.isValid()) {
        failRun(QStringLiteral("no temporary directory can be made: %1; make room, or name another "
                               "place with TMPDIR")
                    .arg(scratch.errorString()));
    }
    return line.has("root") ? line.value("root") : scratch.filePath(QStringLiteral("root"));
}

/// Drives the plug-in with an emulated card through a recorded life.
class Replay
{
public:
    Replay(const Recording &recording, std::optional<double> speed, const CommandLine &line)
        : m_recording(recording), m_fileName(line.positional().constFirst()), m_speed(speed),
          m_checks(line.has("check")), m_dashboard({.plugin = line.pluginFile(),
                                                    .sdk = line.value("sdk"),
                                                    .card = QStringLiteral("none"),
                                                    .root = rootOf(line, m_scratch),
                                                    .log = line.has("log")}),
          m_observer(m_dashboard)
    {
        QObject::connect(&m_stop, &StopSignals::stopped, &m_wait, [this] {
            m_stopped = true;
            m_wait.quit();
        });
        QObject::connect(&m_observer, &EventObserver::handled,
                         [this](const HandledEvent &event) { m_replayed = event; });
    }

    // Throws Failure at the first difference, and if the user ends it.
    void run()
    {
        const DeviceServiceControl &control = m_dashboard.deviceService().requireControl();
        if (control.size <= offsetof(DeviceServiceControl, setEventDelivery)) {
            failRun(QStringLiteral("%1 cannot deliver one event after the other; use a newer one")
                        .arg(m_dashboard.deviceService().file()));
        }
        control.setEventDelivery(DEVSRV_EVENTS_AT_ONCE);
        for (const RecordedEvent &recorded : m_recording.events) {
            waitFor(recorded.event);
            if (m_stopped)
                fail(recorded, QStringLiteral("the replay was ended before this event"));
            load(recorded);
            m_replayed = {};
            if (recorded.event.event == 0)
                m_observer.observe([this] { m_dashboard.init(); });
            else if (control.raiseEvent(recorded.event.event) != 0)
                fail(recorded, QString::fromUtf8(control.lastError()));
            show(recorded);
        }
    }

private:
    // Waits until it is time for the event, or until the user ends the program.
    void waitFor(const HandledEvent &event)
    {
        const qint64 pauseUs = event.arrivedUs - m_timeUs;
        m_timeUs = event.arrivedUs;
        if (m_speed && event.event != 0) {
            const double pauseMs = static_cast<double>(pauseUs) / 1000 / *m_speed;
            QTimer::singleShot(static_cast<int>(std::min(pauseMs, 1e9)), Qt::PreciseTimer, &m_wait,
                               &QEventLoop::quit);
            m_wait.exec();
        }
        QCoreApplication::processEvents();
    }

    // Gives the emulated card the recorded state, without an event.
    void load(const RecordedEvent &recorded)
    {
        QFile card(m_scratch.filePath(QStringLiteral("card.ini")));
        if (!card.open(QIODevice::WriteOnly) || !writeAll(card, recordFile(recorded.event.card))) {
            failRun(QStringLiteral("%1 cannot be written: %2; make room")
                        .arg(card.fileName(), qt_error_string()));
        }
        if (m_dashboard.deviceService().loadCard(card.fileName()) != 0) {
            fail(recorded,
                 QString::fromUtf8(m_dashboard.deviceService().requireControl().lastError()));
        }
    }

    void show(const RecordedEvent &recorded)
    {
        QStringList effects = m_replayed.emitted;
        if (m_replayed.report)
            effects << QStringLiteral("report rewritten");
        const int event = recorded.event.event;
        print(QStringLiteral("%1 s  %2  %3\n")
                  .arg(static_cast<double>(recorded.event.arrivedUs) / 1e6, 10, 'f', 3)
                  .arg(event == 0 ? QStringLiteral("start") : QString::number(event), -5)
                  .arg(effects.join(QStringLiteral(", "))));
        if (!m_checks)
            return;
        if (const QString found = difference(recorded.event, m_replayed); !found.isEmpty())
            fail(recorded, visible(found));
    }

    [[noreturn]] void fail(const RecordedEvent &recorded, const QString &what) const
    {
        failRun(QStringLiteral("%1, line %2: %3").arg(m_fileName).arg(recorded.line).arg(what));
    }

    const Recording &m_recording;
    const QString m_fileName;
    const std::optional<double> m_speed;
    const bool m_checks;
    StopSignals m_stop;
    QTemporaryDir m_scratch;
    Dashboard m_dashboard;
    EventObserver m_observer;
    QEventLoop m_wait;
    bool m_stopped = false;
    qint64 m_timeUs = 0; // of the last event
    HandledEvent m_replayed;
};

} // namespace

ExitStatus runReplay(const CommandLine &line)
{
    const std::optional<double> speed = speedOf(line);
    const Recording recording = readRecording(line.positional().constFirst());
    setPluginLog(line.has("log"));
    // Learns the identities before any of them can be printed.
    for (const RecordedEvent &recorded : recording.events)
        presentable(recorded.event);
    printNote(QStringLiteral("kestrun: source: recording of ") + recording.source);
    Replay replay(recording, speed, line);
    replay.run();
    print(QStringLiteral("Events replayed: %1").arg(recording.events.size()));
    if (line.has("check")) {
        const auto left = std::count_if(
            recording.events.begin(), recording.events.end(),
            [](const RecordedEvent &recorded) { return !hasComparableReport(recorded.event); });
        print(QStringLiteral("; no difference; reports not compared: %1").arg(left));
    }
    print(QStringLiteral("\n"));
    return ExitStatus::Done;
}
