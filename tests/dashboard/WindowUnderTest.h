// SPDX-License-Identifier: MIT
#pragma once

#include "LoadCheck.h"
#include "LogTap.h"
#include "MainWindow.h"

#include <QApplication>
#include <QDirIterator>
#include <QLabel>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

/// Is the child process that loads the libraries to check them, if the program was started as one.
inline void beLoadCheck(int argc, char **argv)
{
    if (argc < 2 || qstrcmp(argv[1], kLoadCheckCommand) != 0)
        return;
    const QCoreApplication application(argc, argv);
    runLoadCheck(QCoreApplication::arguments().mid(2));
}

/// Runs the functions of a test class that has windows, or is the child process.
template <typename Test>
int runWindowTest(int argc, char **argv)
{
    beLoadCheck(argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    Test test;
    return QTest::qExec(&test, argc, argv);
}

/// The window with the built plug-in, in a system root of its own.
class WindowUnderTest
{
public:
    struct Choice
    {
        QString card;
        QString root = {}; ///< empty: a temporary one
        QString plugin = PLUGIN_FILE;
        QString sdk = SDK_FILE;
        bool redacted = false;
    };

    explicit WindowUnderTest(const Choice &choice)
        : tap(log, choice.redacted ? &redactor : nullptr),
          session({.plugin = choice.plugin,
                   .sdk = choice.sdk,
                   .tried = true,
                   .card = choice.card,
                   .root = choice.root.isEmpty() ? m_root.path() : choice.root},
                  timeLine, choice.redacted ? &redactor : nullptr),
          window(session, timeLine, log)
    {
        // Now, since the window makes its widgets again for a new language.
        window.setLanguage(QStringLiteral("en"));
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        session.open();
    }

    ~WindowUnderTest() { QDir::setCurrent(startDirectory); }

    /// Waits until the plug-in is initialised and its report is shown.
    bool opens()
    {
        QSignalSpy asked(&session, &Session::cardAsked);
        return QTest::qWaitFor([&] { return session.window() && !asked.isEmpty(); }, 30'000);
    }

    /// Whether a label has the text; with `visible`, one that can be seen.
    bool shows(const QString &text, bool visible = false) const
    {
        const QList<QLabel *> labels = window.findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(), [&](const QLabel *label) {
            return (label->isVisible() || !visible) && label->text().contains(text);
        });
    }

    QString reportFile() const
    {
        QDirIterator files(m_root.path(), {"UpdateRule.dat"}, QDir::Files,
                           QDirIterator::Subdirectories);
        return files.hasNext() ? files.next() : QString();
    }

    void showPage(const QString &title)
    {
        auto *const pages = window.findChild<QTabWidget *>();
        for (int index = 0; index < pages->count(); ++index) {
            if (pages->tabText(index) == title)
                pages->setCurrentIndex(index);
        }
    }

    const QString startDirectory = QDir::currentPath();
    RecordModel timeLine;
    RecordModel log;
    Redactor redactor{Redactor::Extent::Usual};
    LogTap tap;
    QTemporaryDir m_root;
    Session session;
    MainWindow window;
};
