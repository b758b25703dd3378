// SPDX-License-Identifier: MIT
#include "EventObserver.h"

#include "Dashboard.h"
#include "RegularFile.h"
#include "shared/DeviceServiceFunctions.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr int kStart = 0;

// The plug-in writes a report when it starts and on these events.
constexpr int kReportEvents[] = {kStart, DEVSRV_EVENT_CARD_CHANGED, DEVSRV_EVENT_SIM_CHANGED,
                                 DEVSRV_EVENT_NETWORK_CHANGED};

// The one AT command that the plug-in sends.
constexpr char kTriggerField[] = "AT/^RSTRIGGER?";

std::atomic<EventObserver *> s_observer = nullptr;

bool asksForReport(int event)
{
    return std::find(std::begin(kReportEvents), std::end(kReportEvents), event)
        != std::end(kReportEvents);
}

qint64 nowNs()
{
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return openRegularFile(file) ? file.readAll() : QByteArray();
}

// Without the report modes, which the plug-in itself changes.
CardFields comparable(CardFields fields)
{
    fields.removeIf(
        [](const auto &entry) { return entry.first.endsWith(QLatin1String("/ReportMode")); });
    return fields;
}

} // namespace

struct EventObserver::OpenEvent
{
    HandledEvent handled;
    QByteArray content; // of the report
    FileState file{QString()};
    int arrivals = 0;   // those before it and itself
    bool alone = false; // whether no other event was being handled
    qint64 askedNs = 0;
};

// The events that this thread is delivering; an event can be raised in the middle of another one.
std::vector<EventObserver::OpenEvent> &EventObserver::openEvents()
{
    static thread_local std::vector<OpenEvent> events;
    return events;
}

EventObserver::EventObserver(Dashboard &dashboard)
    : m_dashboard(dashboard), m_reportFile(dashboard.reportFile()), m_startNs(nowNs())
{
    const KestrunHostTable &table = dashboard.plugin().requireTable(QStringLiteral("be observed"));
    auto *const controller = static_cast<QObject *>(table.controller());
    connect(controller, SIGNAL(DeviceAvailable()), this, SLOT(onAvailable()), Qt::DirectConnection);
    connect(controller, SIGNAL(DeviceUnavailable()), this, SLOT(onUnavailable()),
            Qt::DirectConnection);
    s_observer = this;
}

EventObserver::~EventObserver()
{
    withdraw(onArrival);
    {
        // Else the end of an event that the plug-in is handling would not be heard.
        QMutexLocker lock(&m_mutex);
        const QDeadlineTimer limit(10s);
        while (m_openCount > 0 && m_ended.wait(&m_mutex, limit)) {}
    }
    withdraw(onEnd);
    m_dashboard.deviceService().call<decltype(ZEPA_UnRegDataRevCallBack)>(
        "ZEPA_UnRegDataRevCallBack", onAnswer);
    s_observer = nullptr;
}

qint64 EventObserver::elapsedUs() const
{
    return (nowNs() - m_startNs) / 1000;
}

int EventObserver::onArrival(int event, void *)
{
    if (EventObserver *const self = s_observer; self && self->m_started)
        self->begin(event);
    return 0;
}

int EventObserver::onEnd(int event, void *)
{
    if (EventObserver *const self = s_observer)
        self->end(event);
    return 0;
}

int EventObserver::onAnswer(void *data, int length)
{
    if (EventObserver *const self = s_observer; self && data) {
        const QMutexLocker lock(&self->m_mutex);
        // What the card says between the events belongs to no report.
        if (self->m_openCount > 0)
            self->m_pieces.append(QByteArray(static_cast<const char *>(data), length));
    }
    return 1;
}

void EventObserver::beginStart()
{
    m_dashboard.deviceService().call<decltype(ZEPA_RegDataRevCallBack)>("ZEPA_RegDataRevCallBack",
                                                                        onAnswer);
    begin(kStart);
    registerFor(onArrival);
}

void EventObserver::endStart()
{
    registerFor(onEnd);
    m_started = true;
    end(kStart);
}

// A card maker's library may refuse; there are no events then.
void EventObserver::registerFor(ZEPA_DevEventCallback callback)
{
    for (const auto &channel : shared::kEventChannels) {
        m_dashboard.deviceService().call<decltype(ZEPA_DevSrv_RegisterDevMgrCallback)>(
            channel.registration, callback);
    }
}

void EventObserver::withdraw(ZEPA_DevEventCallback callback)
{
    for (const auto &channel : shared::kEventChannels) {
        m_dashboard.deviceService().call<decltype(ZEPA_DevSrv_UnRegisterDevMgrCallback)>(
            channel.withdrawal, callback);
    }
}

void EventObserver::begin(int event)
{
    OpenEvent open;
    open.handled.event = event;
    open.handled.arrivedUs = elapsedUs();
    open.content = contentOf(m_reportFile);
    open.file = FileState(m_reportFile);
    {
        const QMutexLocker lock(&m_mutex);
        open.alone = m_openCount++ == 0;
        open.arrivals = ++m_arrivals;
    }
    open.handled.card = askCard(m_dashboard.deviceService()).fields;
    open.askedNs = nowNs();
    openEvents().push_back(std::move(open));
}

void EventObserver::end(int event)
{
    std::vector<OpenEvent> &events = openEvents();
    // One that arrived while the plug-in started is not observed.
    if (events.empty() || events.back().handled.event != event)
        return;
    OpenEvent open = std::move(events.back());
    events.pop_back();
    HandledEvent &done = open.handled;
    done.durationUs = (nowNs() - open.askedNs) / 1000;
    {
        const QMutexLocker lock(&m_mutex);
        open.alone = open.alone && open.arrivals == m_arrivals;
    }
    noteReport(open, done);
    Q_EMIT handled(done);
    const QMutexLocker lock(&m_mutex);
    if (--m_openCount == 0)
        m_pieces.clear();
    m_ended.wakeAll();
}

// A report that was rewritten meanwhile is that of the event, or of another one that was handled at
// the same time.
void EventObserver::noteReport(const OpenEvent &open, HandledEvent &event)
{
    const bool asked = asksForReport(event.event);
    const QByteArray content = contentOf(m_reportFile);
    const bool rewritten = FileState(m_reportFile) != open.file || content != open.content;
    if (rewritten && (asked || open.alone))
        event.report = reportValues(content);
    if (event.report) {
        const CardFields now = askCard(m_dashboard.deviceService()).fields;
        event.cardChanged = comparable(now) != comparable(event.card);
        const QMutexLocker lock(&m_mutex);
        event.card.append(
            {QLatin1String(kTriggerField), QString::fromLatin1(m_pieces.join(kPieceEnd))});
        m_pieces.clear();
    } else if (asked) {
        event.failure = QLatin1String(obstacle(m_reportFile).code);
    }
}

void EventObserver::noteSignal(const QString &name)
{
    if (!openEvents().empty())
        openEvents().back().handled.emitted << name;
}
