// SPDX-License-Identifier: MIT
#pragma once

#include "CardList.h"
#include "CardState.h"
#include "Dashboard.h"
#include "EventTap.h"
#include "Explanation.h"
#include "PlugWatch.h"
#include "RecordModel.h"
#include "Redactor.h"
#include "ReportWatch.h"

#include <QThread>

#include <memory>

/// What the window shows of the card.
struct CardFacts
{
    QString source; ///< one line that names the card
    CardFields fields;
    bool current = false; ///< nothing has happened to the card since it was asked
};

/// What is wrong. Each problem lasts until something solves it.
enum class Problem {
    Load,     ///< the libraries, or the directory of the report, cannot be used
    Report,   ///< no report was written
    Card,     ///< a card cannot be started
    Gone,     ///< the plug-in has signalled DeviceUnavailable()
    Language, ///< the plug-in refused the language
    Count
};

/// Returns the events that have a meaning, with that meaning in the language of the window.
QList<std::pair<int, QString>> knownEvents();

/// The plug-in and the device service, for a window: no call waits for the card.
///
/// Lives on the main thread; so do the receivers of its signals. A thread of its own loads the
/// libraries and makes the calls that block, one after the other; signals tell their results. The
/// plug-in's functions with a window belong to the main thread, which gets them from window().
class Session : public QObject
{
    Q_OBJECT

public:
    /// The records go to `timeLine`. With a redactor, the session shows no identities. Both must
    /// live longer than this object.
    Session(const HostOptions &options, RecordModel &timeLine, Redactor *redactor = nullptr);

    /// Waits until the calls that were begun have returned.
    ~Session() override;

    /// Loads the libraries, starts the card and initialises the plug-in, which writes a report.
    /// A second call does it again from the beginning.
    void open();

    /// Opens again with a directory of the user in place of "/".
    void openInTrialDirectory();

    /// Returns whether the directory of the report is missing on this computer.
    bool needsDirectory() const;

    /// Sends the plug-in the message that rewrites the report.
    void writeReport();

    /// Sends a message; smsDone() follows.
    void sendSms(const QString &number, const QString &text, bool receipt);

    /// Returns whether smsDone() is still to come.
    bool isSending() const { return m_sending; }

    /// Starts another card, as --card names it.
    void startCard(const QString &card);

    /// Lists the cards for startCard(): the serial ports, to which it sends commands, or all
    /// others. Returns whether cardsFound() follows: false while nothing is loaded.
    bool findCards(bool ports);

    /// Shuts the plug-in and the device service down; ended() follows.
    void end();

    /// Returns the device service, whose functions that do not block the main thread may call, or
    /// null while it is not loaded.
    DeviceServiceLibrary *deviceService() const { return m_deviceService; }

    /// Returns the plug-in's interface with a window, or null while the plug-in is not loaded.
    IUIPlugin *window() const { return m_window; }

    /// Returns the text as the window may show it: without identities if there is a redactor, and
    /// with visible control characters. Any thread.
    QString shown(const QString &text) const;

    /// Returns the sentence of a library as shown() does. Names a page of the window in place
    /// of what the command line offers.
    QString advice(const QString &text) const;

    /// Returns whether identities are replaced.
    bool isRedacting() const { return m_redactor; }

    /// Returns the value of an element of the latest report, as the window may show it.
    QString value(const char *path) const;

Q_SIGNALS:
    /// From now on neither the plug-in nor the device service can be used.
    void unloaded();
    /// The plug-in is initialised.
    void opened();
    /// `why` is one sentence of a library: what is wrong, where, and what to do.
    void failed(Problem problem, const QString &why);
    /// The call that blocks at present; an empty text if there is none.
    void busy(const QString &what);
    /// The plug-in took this time to write a report on a call, or to handle an event that asks for
    /// one.
    void reportTimed(qint64 milliseconds);
    /// The report was rewritten; its elements, with texts that the window may show.
    void reportRead(const QList<Explanation> &elements);
    /// A signal of the plug-in.
    void availableChanged(bool available);
    void cardAsked(const CardFacts &facts);
    /// The answer to findCards().
    void cardsFound(bool ports, const DeviceList &cards);
    /// Modems or ports may have come or gone.
    void cardsChanged();
    /// The card that the user chose is in use.
    void cardStarted();
    /// One sentence: whether the message was accepted.
    void smsDone(const QString &result);
    /// The plug-in's answer to the message of writeReport().
    void notified(int result);
    void ended();

private Q_SLOTS:
    // Connected by name, because the class that emits the signals is known only at run time.
    void onAvailable();
    void onUnavailable();

private:
    // The times of files are coarse: of reports that follow closely, as those of events do, the
    // later one may not be noticed.
    enum class Certainty { MustBeWritten, MayLookUnchanged };

    template <typename Task>
    void onWorker(const QString &what, Task task, Problem problem = Problem::Load);
    template <typename Task>
    void onMain(Task task);

    // Called on any thread.
    void tell(RecordKind kind, const QString &text);
    QString shownValue(const QString &path, const QString &value) const;

    // Called on the main thread.
    void watchReport(const QString &file, const QString &root, DeviceServiceLibrary &library);
    void tellChanges(const QList<ValueChange> &changes, const QString &root);
    void requestCard();
    void askCard();

    // Called on the worker's thread.
    void load(const HostOptions &chosen, int turn);
    void startCardOf(const HostOptions &chosen);
    template <typename Call>
    void callForReport(Call call, Certainty certainty = Certainty::MustBeWritten);
    QString sendOnWorker(const QString &number, const QString &text, bool receipt);
    void close();

    // Called on a thread of the device service.
    EventTap::Handled onEvent(int event, const QString &file);

    // Called on any of these threads.
    std::function<void()> expectReport(const QString &file, Certainty certainty);

    HostOptions m_options;
    const QString m_startDirectory = QDir::currentPath();
    Redactor *const m_redactor;
    CallTrace m_trace;
    RecordModel &m_timeLine;
    std::unique_ptr<ReportWatch> m_report;
    PlugWatch m_plugs;
    QTimer m_cardTimer;
    bool m_asking = false;
    bool m_sending = false;
    QStringList m_calls; // that block, the present one first
    DeviceServiceLibrary *m_deviceService = nullptr;
    IUIPlugin *m_window = nullptr;
    int m_turn = 0; // counts open() and end(): results of an earlier turn are dropped

    // Used on the worker's thread only.
    std::unique_ptr<Dashboard> m_dashboard;
    std::unique_ptr<EventTap> m_events;
    bool m_wantsReceipts = false; // the last setting of delivery receipts

    QThread m_thread;
    QObject m_worker;
};
