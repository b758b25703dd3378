// SPDX-License-Identifier: MIT
#pragma once

#include "CardPage.h"
#include "Plot.h"
#include "ReportModel.h"
#include "Session.h"

#include <QAction>
#include <QMainWindow>
#include <QMap>
#include <QTranslator>

class CardHeader;
class EmulatedPanel;
class MessageBar;
class QTabWidget;

/// The window: a message if something is wrong, the card, and the pages.
///
/// Its widgets are made again when the language changes; the models and the inputs stay.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// The session and the models must live longer than this object.
    MainWindow(Session &session, RecordModel &timeLine, RecordModel &log);

    /// Shows the window in a language ("en", "de") if the plug-in accepts it; others become
    /// English.
    void setLanguage(const QString &language);

Q_SIGNALS:
    /// The window was closed and the session has ended.
    void closed();

protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void build();
    void buildMenu();
    QWidget *buildHead();
    void buildPages();
    void addPage(QWidget *page, const QString &title);
    void onOpened();
    void onReport(const QList<Explanation> &elements);
    void onCard();
    void writeReport();
    void onUnloaded();
    void addProblem(Problem problem, const QString &why);
    void solve(Problem problem);
    void showProblems();

    Session &m_session;
    RecordModel &m_timeLine;
    RecordModel &m_log;
    ReportModel m_report;
    PlotData m_plot;
    CardPage::Found m_found;
    CardFacts m_facts;
    QMap<Problem, QString> m_problems; // what the library says, or nothing
    QString m_language;
    QString m_pluginLanguage; // the same, as the plug-in takes it
    QTranslator m_translator;
    QTranslator m_qtTranslator;
    QAction m_write;

    MessageBar *m_message = nullptr;
    CardHeader *m_header = nullptr;
    QTabWidget *m_pages = nullptr;
    CardPage *m_cards = nullptr;
    EmulatedPanel *m_emulated = nullptr;
};
