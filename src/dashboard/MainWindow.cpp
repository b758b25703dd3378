// SPDX-License-Identifier: MIT
#include "MainWindow.h"

#include "CardHeader.h"
#include "EmulatedPanel.h"
#include "InterfacePage.h"
#include "MessageBar.h"
#include "RecordView.h"
#include "SmsPanel.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QHeaderView>
#include <QLibraryInfo>
#include <QMenuBar>
#include <QMetaProperty>
#include <QScrollArea>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr struct
{
    const char *code;
    const char *forPlugin;
    const char *name;
} kLanguages[] = {{"en", "en-us", "English"}, {"de", "de-de", "Deutsch"}};

// By Problem.
constexpr const char *kProblems[] = {
    QT_TRANSLATE_NOOP("MainWindow", "Loading failed: %1"),
    QT_TRANSLATE_NOOP("MainWindow", "No report was written: %1"),
    QT_TRANSLATE_NOOP("MainWindow", "The card cannot be used: %1"),
    QT_TRANSLATE_NOOP(
        "MainWindow",
        "The card is gone or no longer answers; insert it, or choose one on the page Cards."),
    QT_TRANSLATE_NOOP("MainWindow", "The plug-in refused the language; choose another one."),
};
static_assert(std::size(kProblems) == static_cast<std::size_t>(Problem::Count));

constexpr char kTechnology[] = "Client/Command/Network/AcT";

// Puts its widgets side by side where there is room, and otherwise on top of each other.
class Splitter : public QSplitter
{
protected:
    void resizeEvent(QResizeEvent *event) override
    {
        constexpr int kRoomForBoth = 700;
        setOrientation(width() < kRoomForBoth ? Qt::Vertical : Qt::Horizontal);
        QSplitter::resizeEvent(event);
    }
};

QScrollArea *scrolled(QWidget *widget)
{
    auto *const area = new QScrollArea;
    area->setWidget(widget);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    return area;
}

void copyInputs(const QWidget &from, const QWidget &to)
{
    for (const QWidget *const input : from.findChildren<QWidget *>()) {
        const QString name = input->objectName();
        // Qt's own names, of the parts of an input, are not unique.
        if (name.isEmpty() || name.startsWith(QLatin1String("qt_")))
            continue;
        const QMetaProperty content = input->metaObject()->userProperty();
        if (QWidget *const copy = to.findChild<QWidget *>(name))
            content.write(copy, content.read(input));
    }
}

} // namespace

MainWindow::MainWindow(Session &session, RecordModel &timeLine, RecordModel &log)
    : m_session(session), m_timeLine(timeLine), m_log(log)
{
    constexpr int kNarrowest = 320;
    setMinimumWidth(kNarrowest);
    resize(960, 640);
    m_write.setShortcut(Qt::CTRL | Qt::Key_R);
    m_write.setEnabled(false);
    connect(&m_write, &QAction::triggered, this, &MainWindow::writeReport);
    connect(&session, &Session::opened, this, &MainWindow::onOpened);
    connect(&session, &Session::reportRead, this, &MainWindow::onReport);
    connect(&session, &Session::unloaded, this, &MainWindow::onUnloaded);
    connect(&session, &Session::failed, this, &MainWindow::addProblem);
    connect(&session, &Session::reportTimed, this, [this](qint64 milliseconds) {
        m_plot.addDuration(milliseconds);
        solve(Problem::Report);
    });
    connect(&session, &Session::cardAsked, this, [this](const CardFacts &facts) {
        m_facts = facts;
        onCard();
        // A card that is present may be unavailable to the plug-in, as one that is locked.
        if (facts.current
            && valueOf(facts.fields, QStringLiteral("Card/Present")) == QLatin1String("true"))
            solve(Problem::Gone);
    });
    connect(&session, &Session::availableChanged, this, [this](bool available) {
        if (available)
            solve(Problem::Gone);
        else
            addProblem(Problem::Gone, {});
    });
    connect(&session, &Session::cardStarted, this, [this] {
        solve(Problem::Card);
        solve(Problem::Gone);
    });
    connect(&session, &Session::notified, this, [this] { m_write.setEnabled(m_session.window()); });
    connect(&session, &Session::ended, this, &MainWindow::closed);
    build();
    connect(&session, &Session::busy, this,
            [this](const QString &what) { statusBar()->showMessage(what); });
}

void MainWindow::setLanguage(const QString &language)
{
    const auto *chosen = std::find_if(
        std::begin(kLanguages), std::end(kLanguages),
        [&](const auto &known) { return language == QLatin1String(known.code); });
    if (chosen == std::end(kLanguages))
        chosen = kLanguages;
    m_pluginLanguage = QLatin1String(chosen->forPlugin);
    if (IUIPlugin *const plugin = m_session.window()) {
        const bool accepted = plugin->ChangeLang(m_pluginLanguage);
        m_timeLine.add(RecordKind::Call,
                       QStringLiteral("ChangeLang(\"%1\") → %2")
                           .arg(m_pluginLanguage,
                                accepted ? QStringLiteral("true") : QStringLiteral("false")));
        if (!accepted)
            return addProblem(Problem::Language, {});
        solve(Problem::Language);
    }
    if (m_language == QLatin1String(chosen->code))
        return;
    m_language = QLatin1String(chosen->code);
    for (QTranslator *const translator : {&m_translator, &m_qtTranslator})
        QCoreApplication::removeTranslator(translator);
    if (m_qtTranslator.load(QStringLiteral("qtbase_") + m_language,
                            QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&m_qtTranslator);
    if (m_translator.load(QStringLiteral(":/i18n/kestrun-dashboard_") + m_language))
        QCoreApplication::installTranslator(&m_translator);
}

void MainWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        build();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    event->ignore();
    if (!isVisible())
        return;
    hide();
    m_session.end();
    // A card that does not answer must not leave a process that nobody sees.
    constexpr int kPatienceMs = 60'000;
    QTimer::singleShot(kPatienceMs, this, [] { std::_Exit(EXIT_FAILURE); });
}

void MainWindow::build()
{
    setWindowTitle(tr("Kestrun Dashboard"));
    const int page = m_pages ? m_pages->currentIndex() : 0;
    buildMenu();
    auto *const central = new QWidget;
    auto *const layout = new QVBoxLayout(central);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(buildHead());
    buildPages();
    layout->addWidget(m_pages, 1);
    if (centralWidget())
        copyInputs(*centralWidget(), *central);
    setCentralWidget(central);
    m_pages->setCurrentIndex(page);
    showProblems();
    onCard();
}

void MainWindow::buildMenu()
{
    auto *const bar = new QMenuBar;
    QMenu *const file = bar->addMenu(tr("&File"));
    m_write.setText(tr("&Write a report"));
    file->addAction(&m_write);
    file->addAction(tr("Load &again"), &m_session, &Session::open);
    file->addAction(tr("&Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q), this, &QWidget::close);
    QMenu *const language = bar->addMenu(tr("&Language"));
    auto *const group = new QActionGroup(language);
    for (const auto &known : kLanguages) {
        const QString code = QLatin1String(known.code);
        QAction *const action = language->addAction(QLatin1String(known.name), this,
                                                    [this, code] { setLanguage(code); });
        action->setCheckable(true);
        action->setChecked(code == m_language);
        group->addAction(action);
    }
    setMenuBar(bar);
}

QWidget *MainWindow::buildHead()
{
    m_message = new MessageBar;
    connect(m_message, &MessageBar::accepted, this, [this](MessageBar::Offer offer) {
        if (offer == MessageBar::Offer::TrialDirectory)
            m_session.openInTrialDirectory();
        else
            m_session.open();
    });
    connect(m_message, &MessageBar::dismissed, this, [this] {
        m_problems.clear();
        showProblems();
    });
    m_header = new CardHeader;
    auto *const write = new QPushButton(m_write.text());
    write->setEnabled(m_write.isEnabled());
    connect(&m_write, &QAction::enabledChanged, write, &QWidget::setEnabled);
    connect(write, &QPushButton::clicked, &m_write, &QAction::trigger);
    auto *const head = new QWidget;
    auto *const row = new QHBoxLayout;
    row->addWidget(m_header, 1);
    row->addWidget(write, 0, Qt::AlignTop);
    auto *const layout = new QVBoxLayout(head);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_message);
    layout->addLayout(row);
    return head;
}

void MainWindow::buildPages()
{
    m_pages = new QTabWidget;
    m_pages->setDocumentMode(true);
    m_pages->setUsesScrollButtons(true);
    m_pages->tabBar()->setAccessibleName(tr("Pages"));

    auto *const tree = new QTreeView;
    tree->setObjectName(QStringLiteral("report"));
    tree->setAccessibleName(tr("Report"));
    tree->setModel(&m_report);
    tree->setUniformRowHeights(true);
    tree->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    // What does not fit is reached by scrolling.
    tree->header()->setStretchLastSection(false);
    tree->expandAll();
    connect(&m_report, &QAbstractItemModel::rowsInserted, tree, &QTreeView::expandAll);
    auto *const report = new Splitter;
    report->addWidget(tree);
    report->addWidget(new Plot(m_plot));
    report->setStretchFactor(0, 3);
    report->setStretchFactor(1, 2);
    m_cards = new CardPage(m_session, m_found);
    m_cards->refresh();
    m_emulated = new EmulatedPanel(m_session);

    addPage(report, tr("Report"));
    addPage(new RecordView(m_timeLine, tr("Time line"),
                           {{tr("Everything"), {}},
                            {tr("Events and signals"), {RecordKind::Event, RecordKind::Signal}},
                            {tr("Rewrites and changes"), {RecordKind::Rewrite, RecordKind::Change}},
                            {tr("Problems"), {RecordKind::Problem}}}),
            tr("Time line"));
    addPage(scrolled(new SmsPanel(m_session)), tr("SMS"));
    addPage(m_cards, tr("Cards"));
    addPage(scrolled(m_emulated), tr("Emulated card"));
    addPage(
        new RecordView(m_log, tr("Log"),
                       {{tr("Everything"), {}},
                        {tr("Warnings and errors"), {RecordKind::Warning, RecordKind::Critical}}}),
        tr("Log"));
    auto *const interfacePage = new InterfacePage(m_session, m_pluginLanguage);
    interfacePage->callAll();
    addPage(interfacePage, tr("Interface"));
}

void MainWindow::addPage(QWidget *page, const QString &title)
{
    page->setAccessibleName(title);
    m_pages->addTab(page, title);
}

void MainWindow::onOpened()
{
    m_write.setEnabled(true);
    m_cards->refresh();
    m_emulated->fill();
    m_problems.remove(Problem::Load);
    setLanguage(m_language);
    // The offer beside them depends on what is loaded now.
    showProblems();
}

void MainWindow::onUnloaded()
{
    m_problems.clear();
    showProblems();
    m_facts = {};
    onCard();
    m_write.setEnabled(false);
    m_cards->refresh();
    m_emulated->fill();
}

void MainWindow::onReport(const QList<Explanation> &elements)
{
    m_report.setElements(elements);
    m_plot.setTechnology(m_session.value(kTechnology));
    solve(Problem::Report);
    onCard();
}

void MainWindow::onCard()
{
    m_header->show(m_facts, m_session.value(kTechnology));
}

void MainWindow::writeReport()
{
    m_write.setEnabled(false);
    m_session.writeReport();
}

void MainWindow::addProblem(Problem problem, const QString &why)
{
    if (m_problems.contains(problem) && m_problems.value(problem) == why)
        return;
    m_problems.insert(problem, why);
    showProblems();
}

void MainWindow::solve(Problem problem)
{
    if (m_problems.remove(problem) > 0)
        showProblems();
}

void MainWindow::showProblems()
{
    if (m_problems.isEmpty())
        return m_message->hide();
    QStringList sentences;
    for (auto problem = m_problems.cbegin(); problem != m_problems.cend(); ++problem) {
        const QString sentence = tr(kProblems[static_cast<int>(problem.key())]);
        sentences << (problem->isEmpty() ? sentence : sentence.arg(m_session.advice(*problem)));
    }
    const bool needsDirectory = m_problems.contains(Problem::Report) && m_session.needsDirectory();
    m_message->show(sentences.join(u'\n'),
                    !m_session.window()  ? MessageBar::Offer::Retry
                        : needsDirectory ? MessageBar::Offer::TrialDirectory
                                         : MessageBar::Offer::Nothing);
}
