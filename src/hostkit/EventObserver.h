// SPDX-License-Identifier: MIT
#pragma once

#include "CardState.h"
#include "Report.h"

#include <QMutex>
#include <QObject>
#include <QStringList>
#include <QWaitCondition>

#include <atomic>
#include <optional>
#include <vector>

class Dashboard;

/// A device event, or the start of the plug-in, and what the plug-in did.
struct HandledEvent
{
    int event = 0;         ///< its number; 0: the start of the plug-in
    qint64 arrivedUs = 0;  ///< in microseconds since the observer was created
    qint64 durationUs = 0; ///< how long the plug-in took
    CardFields card; ///< the card's state at the arrival, and what it answered to the plug-in's AT
                     ///< command, if the plug-in rewrote the report
    QStringList emitted;                ///< the signals of the plug-in, by name
    std::optional<ReportValues> report; ///< the values, if the plug-in rewrote the report
    bool cardChanged = false;           ///< whether the card changed while it did so
    QString failure; ///< Obstacle::code, if the event asks for a report and none was written
};

/// Observes how the plug-in handles each device event.
///
/// Lives on the main thread; there is one object at a time. It hears an event before and after the
/// plug-in, on the thread that delivers it, and asks the card there. This needs a device service
/// that calls its callbacks in the order of their registration, as ours does. An event that arrives
/// while the plug-in starts is not observed.
class EventObserver : public QObject
{
    Q_OBJECT

public:
    /// Keeps a reference to the dashboard, which is not initialised yet. Throws Failure for a
    /// plug-in without a table.
    explicit EventObserver(Dashboard &dashboard);

    /// Hears no more events. Waits for the one that is being handled.
    ~EventObserver() override;

    /// Calls `init`, which initialises the dashboard, and observes that and each event from then
    /// on.
    template <typename Init>
    void observe(Init init)
    {
        beginStart();
        init();
        endStart();
    }

    /// Returns the microseconds since the observer was created.
    qint64 elapsedUs() const;

Q_SIGNALS:
    /// Emitted on the thread that delivered the event.
    void handled(const HandledEvent &event);

private Q_SLOTS:
    // Connected by name, because the class that emits the signals is known only at run time.
    void onAvailable() { noteSignal(QStringLiteral("DeviceAvailable")); }
    void onUnavailable() { noteSignal(QStringLiteral("DeviceUnavailable")); }

private:
    struct OpenEvent;
    static std::vector<OpenEvent> &openEvents();
    static int onArrival(int event, void *);
    static int onEnd(int event, void *);
    static int onAnswer(void *data, int length);

    void beginStart();
    void endStart();
    void registerFor(ZEPA_DevEventCallback callback);
    void withdraw(ZEPA_DevEventCallback callback);
    void begin(int event);
    void end(int event);
    void noteReport(const OpenEvent &open, HandledEvent &event);
    void noteSignal(const QString &name);

    Dashboard &m_dashboard;
    const QString m_reportFile;
    const qint64 m_startNs;
    std::atomic<bool> m_started = false;
    QMutex m_mutex; // of the members below
    QWaitCondition m_ended;
    int m_openCount = 0;
    int m_arrivals = 0;
    QByteArrayList m_pieces; // of the AT answers since the last report
};
