// SPDX-License-Identifier: MIT
#include "Session.h"

#include "Failure.h"
#include "Latin1.h"
#include "VisibleText.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStandardPaths>

#include <algorithm>
#include <utility>

namespace {

// The message by which a dashboard asks for a report.
constexpr unsigned int kRewrite = 4096;

struct EventName
{
    int event;
    const char *text;
    bool rewrites; ///< the plug-in writes a report
};

constexpr EventName kEvents[] = {
    {DEVSRV_EVENT_CARD_CHANGED,
     QT_TRANSLATE_NOOP("Session", "a card was inserted, changed or removed"), true},
    {ZEPA_EVENT_DEV_DEVICE_INIT_FINISH, QT_TRANSLATE_NOOP("Session", "a card is ready"), false},
    {DEVSRV_EVENT_SIM_CHANGED, QT_TRANSLATE_NOOP("Session", "the SIM or its lock changed"), true},
    {DEVSRV_EVENT_DEVICE_REMOVED, QT_TRANSLATE_NOOP("Session", "the card was removed"), false},
    {DEVSRV_EVENT_DEVICE_ENABLED, QT_TRANSLATE_NOOP("Session", "the card's radio was switched on"),
     false},
    {DEVSRV_EVENT_DEVICE_LOST, QT_TRANSLATE_NOOP("Session", "the card no longer answers"), false},
    {DEVSRV_EVENT_NETWORK_CHANGED,
     QT_TRANSLATE_NOOP("Session", "registration, technology, operator or cell changed"), true},
};

// What the libraries say for users of the command line, and the page that stands for it.
constexpr struct
{
    const char *words;
    const char *place;
    const char *page;
} kPages[] = {
    {"--log", "the page ", "Log"},
    {"with --card", "on the page ", "Cards"},
    {"start one, for example \"emulated:lte\"", "choose one on the page ", "Cards"},
};

const EventName *findEvent(int event)
{
    const auto *const found = std::find_if(
        std::begin(kEvents), std::end(kEvents),
        [=](const EventName &name) { return name.event == event; });
    return found == std::end(kEvents) ? nullptr : found;
}

} // namespace

QList<std::pair<int, QString>> knownEvents()
{
    QList<std::pair<int, QString>> events;
    for (const EventName &name : kEvents)
        events.append({name.event, Session::tr(name.text)});
    return events;
}

Session::Session(const HostOptions &options, RecordModel &timeLine, Redactor *redactor)
    : m_options(options), m_redactor(redactor), m_trace([redactor](const TracedCall &call) {
          // Before the plug-in writes the values to its log.
          if (redactor)
              redactor->learn(call.values);
      }),
      m_timeLine(timeLine)
{
    constexpr int kCardMs = 200;
    m_cardTimer.setSingleShot(true);
    m_cardTimer.setInterval(kCardMs);
    connect(&m_cardTimer, &QTimer::timeout, this, &Session::askCard);
    connect(this, &Session::failed, this,
            [this](Problem, const QString &why) { tell(RecordKind::Problem, advice(why)); });
    connect(&m_plugs, &PlugWatch::changed, this, &Session::cardsChanged);
    m_worker.moveToThread(&m_thread);
    m_thread.start();
}

QString Session::shown(const QString &text) const
{
    return visible(m_redactor ? m_redactor->redacted(text) : text);
}

QString Session::advice(const QString &text) const
{
    QString sentence = shown(text);
    for (const auto &[words, place, page] : kPages) {
        sentence.replace(QLatin1String(words),
                         QLatin1String(place) + QCoreApplication::translate("MainWindow", page));
    }
    return sentence;
}

QString Session::shownValue(const QString &path, const QString &value) const
{
    return visible(m_redactor ? m_redactor->redacted(path, value) : value);
}

QString Session::value(const char *path) const
{
    const QString name = QLatin1String(path);
    return m_report ? shownValue(name, valueOf(m_report->values(), name)) : QString();
}

void Session::tell(RecordKind kind, const QString &text)
{
    m_timeLine.add(kind, shown(text));
}

Session::~Session()
{
    QMetaObject::invokeMethod(&m_worker, [this] { close(); });
    m_thread.quit();
    m_thread.wait();
}

// Runs the task on the worker's thread, and tells of a Failure that it throws.
template <typename Task>
void Session::onWorker(const QString &what, Task task, Problem problem)
{
    m_calls << what;
    Q_EMIT busy(m_calls.constFirst());
    QMetaObject::invokeMethod(&m_worker, [this, problem, task = std::move(task)] {
        try {
            task();
        } catch (const Failure &failure) {
            Q_EMIT failed(problem, failure.message);
        }
        onMain([this] {
            m_calls.removeFirst();
            Q_EMIT busy(m_calls.value(0));
        });
    });
}

template <typename Task>
void Session::onMain(Task task)
{
    QMetaObject::invokeMethod(this, std::move(task));
}

void Session::open()
{
    m_window = nullptr;
    m_deviceService = nullptr;
    m_report.reset();
    Q_EMIT unloaded();
    onWorker(tr("Loading the plug-in and the device service"),
             [this, options = m_options, turn = ++m_turn] { load(options, turn); });
}

void Session::openInTrialDirectory()
{
    m_options.root = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)
        + QStringLiteral("/trial");
    open();
}

bool Session::needsDirectory() const
{
    return m_options.root.isEmpty() && m_report
        && qstrcmp(obstacle(m_report->file()).code, "no-directory") == 0;
}

void Session::load(const HostOptions &chosen, int turn)
{
    close();
    // Also ends what the earlier libraries have reported since open().
    Q_EMIT unloaded();
    // Paths are relative to it, also when everything is loaded again.
    QDir::setCurrent(m_startDirectory);
    HostOptions options = chosen;
    // A card that cannot be started leaves the window with the choice of another one.
    options.card.clear();
    options.trace = &m_trace;
    auto dashboard = std::make_unique<Dashboard>(options);
    auto *const controller = static_cast<QObject *>(
        dashboard->plugin().requireTable(QStringLiteral("be shown in a window")).controller());
    connect(controller, SIGNAL(DeviceAvailable()), this, SLOT(onAvailable()));
    connect(controller, SIGNAL(DeviceUnavailable()), this, SLOT(onUnavailable()));
    m_dashboard = std::move(dashboard);
    startCardOf(chosen);
    DeviceServiceLibrary &library = m_dashboard->deviceService();
    const QString file = m_dashboard->reportFile();
    m_events = std::make_unique<EventTap>(library,
                                          [this, file](int event) { return onEvent(event, file); });
    onMain([this, turn, &library, file, root = m_dashboard->root()] {
        // Otherwise the library may be gone: the user has closed the window, or loads again.
        if (turn == m_turn)
            watchReport(file, root, library);
    });
}

void Session::startCardOf(const HostOptions &chosen)
{
    if (chosen.card.isEmpty())
        return;
    try {
        m_dashboard->deviceService().start(chosen.card);
    } catch (const Failure &failure) {
        Q_EMIT failed(Problem::Card, failure.message);
        // The default card would be taken for the chosen one.
        if (m_dashboard->deviceService().control())
            m_dashboard->deviceService().start(QStringLiteral("none"));
    }
}

void Session::watchReport(const QString &file, const QString &root, DeviceServiceLibrary &library)
{
    m_deviceService = &library;
    m_report = std::make_unique<ReportWatch>(file);
    connect(m_report.get(), &ReportWatch::rewritten, this,
            [this, root](const QList<ValueChange> &changes) { tellChanges(changes, root); });
    const QString what = tr("Starting the plug-in, which writes a report");
    onWorker(what, [this, turn = m_turn] {
        callForReport([this] { m_dashboard->init(); });
        m_events->followPlugin();
        onMain([this, turn, window = m_dashboard->window()] {
            if (turn != m_turn)
                return;
            m_window = window;
            tell(RecordKind::Call, QStringLiteral("Init() → true"));
            requestCard();
            Q_EMIT opened();
        });
    });
}

void Session::writeReport()
{
    if (!m_window)
        return;
    onWorker(tr("A report is being written"), [this] {
        callForReport([this] {
            const int result = m_dashboard->notify(kRewrite, 0, 0);
            tell(RecordKind::Call,
                 QStringLiteral("Notify(%1, 0, 0) → %2").arg(kRewrite).arg(result));
            Q_EMIT notified(result);
        });
    });
}

template <typename Call>
void Session::callForReport(Call call, Certainty certainty)
{
    const auto returned = expectReport(m_dashboard->reportFile(), certainty);
    call();
    returned();
    onMain([this] {
        if (m_report)
            m_report->check();
    });
}

// The returned function tells whether the plug-in has written the report meanwhile.
std::function<void()> Session::expectReport(const QString &file, Certainty certainty)
{
    QElapsedTimer timer;
    timer.start();
    return [this, file, certainty, timer, previous = FileState(file)] {
        const qint64 milliseconds = timer.elapsed();
        if (readWrittenReport(file, previous)) {
            Q_EMIT reportTimed(milliseconds);
            return;
        }
        const Obstacle found = obstacle(file);
        if (certainty == Certainty::MustBeWritten || qstrcmp(found.code, "unknown") != 0)
            Q_EMIT failed(Problem::Report, found.message);
    };
}

void Session::sendSms(const QString &number, const QString &text, bool receipt)
{
    if (!m_window) {
        Q_EMIT smsDone(tr("The plug-in is not loaded; nothing was sent."));
        return;
    }
    if (m_redactor) {
        m_redactor->learn(Redactor::Kind::Number, number);
        m_redactor->learn(Redactor::Kind::Text, text);
    }
    m_sending = true;
    onWorker(tr("A message is being sent"), [this, number, text, receipt] {
        QString result;
        try {
            result = sendOnWorker(number, text, receipt);
        } catch (const Failure &failure) {
            result = failure.message;
        }
        tell(RecordKind::Call, QStringLiteral("SMS: ") + result);
        onMain([this, result] {
            m_sending = false;
            Q_EMIT smsDone(shown(result));
        });
    });
}

QString Session::sendOnWorker(const QString &number, const QString &text, bool receipt)
{
    requireLatin1(QStringLiteral("number"), number);
    requireLatin1(QStringLiteral("text"), text);
    const KestrunHostTable &table = *m_dashboard->plugin().table();
    // Without a receipt the setting matters only if an earlier message has changed it.
    if ((receipt || m_wantsReceipts) && table.setReceipts(receipt) != KESTRUN_ACCEPTED)
        return tr("The device service refused delivery receipts; nothing was sent.");
    m_wantsReceipts = receipt;
    if (table.sendSms(number.toUtf8().constData(), text.toUtf8().constData()) != KESTRUN_ACCEPTED)
        return tr("The device service refused the message; the page Log shows the result.");
    return receipt ? tr("The device service accepted the message and will ask for a receipt.")
                   : tr("The device service accepted the message.");
}

void Session::startCard(const QString &card)
{
    if (!m_window)
        return;
    onWorker(
        tr("Starting %1").arg(shown(card)),
        [this, card, turn = m_turn] {
            m_dashboard->deviceService().start(card);
            tell(RecordKind::Card, m_dashboard->deviceService().source());
            onMain([this, card, turn] {
                if (turn != m_turn)
                    return;
                // Also for the next open().
                m_options.card = card;
                requestCard();
                Q_EMIT cardStarted();
            });
            // start() raises events, whose report may have come just before.
            callForReport([this] { m_dashboard->notify(kRewrite, 0, 0); },
                          Certainty::MayLookUnchanged);
        },
        Problem::Card);
}

bool Session::findCards(bool ports)
{
    if (!m_window)
        return false;
    onWorker(tr("Looking for cards"), [this, ports] {
        const DeviceServiceLibrary &library = m_dashboard->deviceService();
        if (!ports)
            m_plugs.followModems();
        DeviceList cards = findDevices(library, ports);
        if (!ports)
            cards.rows = rowsOf(library.requireControl().shippedCard) + cards.rows;
        Q_EMIT cardsFound(ports, cards);
    });
    return true;
}

void Session::requestCard()
{
    if (!m_cardTimer.isActive())
        m_cardTimer.start();
}

void Session::askCard()
{
    if (!m_window)
        return;
    if (m_asking)
        return m_cardTimer.start();
    m_asking = true;
    onWorker(tr("Asking the card"), [this, turn = m_turn] {
        const DeviceServiceLibrary &library = m_dashboard->deviceService();
        CardFacts facts{library.source(), ::askCard(library).fields, false};
        if (m_redactor) {
            m_redactor->learn(facts.fields);
            facts.fields = m_redactor->redacted(facts.fields);
        }
        facts.source = shown(facts.source);
        onMain([this, turn, facts]() mutable {
            m_asking = false;
            facts.current = !m_cardTimer.isActive();
            if (turn == m_turn)
                Q_EMIT cardAsked(facts);
        });
    });
}

void Session::end()
{
    ++m_turn;
    m_window = nullptr;
    m_deviceService = nullptr;
    Q_EMIT unloaded();
    onWorker(tr("Ending"), [this] {
        close();
        onMain([this] { Q_EMIT ended(); });
    });
}

void Session::close()
{
    m_events.reset();
    m_dashboard.reset();
    m_wantsReceipts = false;
}

void Session::onAvailable()
{
    tell(RecordKind::Signal, QStringLiteral("DeviceAvailable()"));
    requestCard();
    Q_EMIT availableChanged(true);
}

void Session::onUnavailable()
{
    tell(RecordKind::Signal, QStringLiteral("DeviceUnavailable()"));
    requestCard();
    Q_EMIT availableChanged(false);
}

EventTap::Handled Session::onEvent(int event, const QString &file)
{
    const EventName *const name = findEvent(event);
    tell(RecordKind::Event,
         QStringLiteral("%1: %2").arg(event).arg(name ? tr(name->text) : tr("unknown")));
    onMain([this] { requestCard(); });
    if (!name || !name->rewrites)
        return {};
    return expectReport(file, Certainty::MayLookUnchanged);
}

void Session::tellChanges(const QList<ValueChange> &changes, const QString &root)
{
    const ReportValues &values = m_report->values();
    if (m_redactor)
        m_redactor->learn(values);
    tell(RecordKind::Rewrite, tr("%n value(s) changed", nullptr, static_cast<int>(changes.size())));
    for (const ValueChange &change : changes) {
        m_timeLine.add(RecordKind::Change,
                       QStringLiteral("%1: \"%2\" → \"%3\"")
                           .arg(change.path, shownValue(change.path, change.previous),
                                shownValue(change.path, change.current)));
    }
    QList<Explanation> elements = explain(values, m_trace.reportCalls(), versionFiles(root));
    for (Explanation &element : elements) {
        element.value = shownValue(element.path, element.value);
        element.origin = shown(element.origin);
        element.reason = shown(element.reason);
        element.advice = advice(element.advice);
    }
    Q_EMIT reportRead(elements);
    requestCard();
}
