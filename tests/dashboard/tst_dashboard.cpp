// SPDX-License-Identifier: MIT
#include "TestData.h"
#include "WindowUnderTest.h"

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QTreeWidget>

namespace {

template <typename Widget>
Widget *find(const WindowUnderTest &test, const char *name)
{
    return test.window.findChild<Widget *>(QLatin1String(name));
}

void click(const WindowUnderTest &test, const QString &text)
{
    for (QPushButton *const button : test.window.findChildren<QPushButton *>()) {
        if (button->text().remove('&') == text)
            return QTest::mouseClick(button, Qt::LeftButton);
    }
    QFAIL(qPrintable("no button " + text));
}

/// Returns the cells of the row of the report with that element, separated by "|".
QString reportRow(const WindowUnderTest &test, const QString &element)
{
    const QAbstractItemModel &model = *find<QAbstractItemView>(test, "report")->model();
    const QModelIndexList found = model.match(model.index(0, 0), Qt::DisplayRole, element, 1,
                                              Qt::MatchExactly | Qt::MatchRecursive);
    if (found.isEmpty())
        return {};
    return found[0].siblingAtColumn(1).data().toString() + '|'
        + found[0].siblingAtColumn(2).data().toString();
}

bool has(const RecordModel &records, const QString &text)
{
    return !records
                .match(records.index(0, RecordModel::Text), Qt::DisplayRole, text, 1,
                       Qt::MatchContains | Qt::MatchCaseSensitive)
                .isEmpty();
}

} // namespace

class tst_Dashboard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere"); }

    void showsCardAndReportUntilItIsClosed()
    {
        WindowUnderTest test({"lte"});
        QVERIFY(test.opens());
        for (const char *text : {"KE-421",
                                 "operator 00101 · LTE · registered at home · SIM not "
                                 "locked",
                                 "emulated card lte"})
            QVERIFY2(test.shows(text), text);
        QTRY_COMPARE(reportRow(test, "IMEI"), "490154203237518|ok");
        QCOMPARE(reportRow(test, "MEID"), "|not supported");
        const DeviceServiceControl &control = *test.session.deviceService()->control();
        control.setField("CS/State", "6");
        control.setField("PS/State", "2");
        QTRY_VERIFY(test.shows("registered at home, messages only"));
        control.setField("PS/State", "1");
        QTRY_VERIFY(test.shows("LTE · registered at home ·"));
        test.window.setLanguage("de");
        QTRY_VERIFY(test.shows("im Heimnetz eingebucht"));
        QCOMPARE(reportRow(test, "MEID"), "|nicht unterstützt");
        QTRY_VERIFY(has(test.timeLine, "ChangeLang(\"de-de\") → true"));

        QVERIFY(control.callbackCount() > 0);
        QSignalSpy closed(&test.window, &MainWindow::closed);
        test.window.show();
        test.window.close();
        QVERIFY(closed.wait());
        QCOMPARE(control.callbackCount(), 0);
    }

    void emulatedPanelPlaysALife()
    {
        WindowUnderTest test({"none"});
        QVERIFY(test.opens());
        QVERIFY(test.shows("No card"));
        find<QComboBox>(test, "card")->setCurrentText("hspa");
        click(test, "Change the card");
        QTRY_VERIFY(test.shows("KE-210"));
        QTRY_COMPARE(reportRow(test, "AcT"), "HSPA-PLU|ok");

        find<QComboBox>(test, "field")->setCurrentText("Network/PLMN");
        QTest::keyClicks(find<QLineEdit>(test, "value"), "26201");
        click(test, "Change");
        QTRY_COMPARE(reportRow(test, "PLMN"), "26201|ok");
        find<QComboBox>(test, "field")->setCurrentText("Card/Present");
        click(test, "Change");
        QVERIFY2(test.shows("Card/Present"), qPrintable(find<QLabel>(test, "done")->text()));

        find<QComboBox>(test, "function")->setCurrentText("ZEPA_NetSrv_GetCurPlmn");
        find<QAbstractSpinBox>(test, "faultResult")->setProperty("value", 7);
        click(test, "Set the fault");
        find<QComboBox>(test, "event")->setCurrentText("6614");
        click(test, "Raise");
        QTRY_COMPARE(reportRow(test, "PLMN"), "|refused");

        click(test, "Remove");
        QTRY_VERIFY(test.shows("No card"));
        QTRY_VERIFY(find<QLabel>(test, "message")->text().startsWith("The card is gone"));
        find<QComboBox>(test, "card")->setCurrentText("lte");
        click(test, "Insert");
        QTRY_VERIFY(test.shows("KE-210"));
        QVERIFY(!QApplication::activeModalWidget());
    }

    // Without the directory of the report, events and calls fail. The window also says that the
    // card is gone.
    void keepsEachProblemUntilItIsSolved()
    {
        WindowUnderTest test({"lte"});
        test.window.show();
        QVERIFY(test.opens());
        const auto *const message = find<QLabel>(test, "message");
        const auto *const plot = test.window.findChild<Plot *>();
        QTRY_VERIFY(plot->toolTip().startsWith("1 report;"));
        QDir data(QFileInfo(test.reportFile()).path());
        const QString path = data.path();
        QVERIFY(data.removeRecursively());
        const DeviceServiceControl &control = *test.session.deviceService()->control();

        control.setField("Network/PLMN", "26201");
        QTRY_VERIFY(message->isVisible());
        QVERIFY2(message->text().startsWith("No report was written: the directory "),
                 qPrintable(message->text()));
        QVERIFY(plot->toolTip().startsWith("1 report;"));
        control.remove();
        QTRY_VERIFY(message->text().contains("The card is gone"));
        control.insert();
        QTRY_VERIFY(!message->text().contains("The card is gone"));
        QVERIFY(message->text().startsWith("No report was written"));
        test.window.setLanguage("de");
        QTRY_VERIFY(find<QLabel>(test, "message")->text().startsWith("Es wurde kein Bericht"));

        QVERIFY(QDir().mkpath(path));
        control.setField("Network/PLMN", "26202");
        QTRY_VERIFY(!find<QLabel>(test, "message")->isVisible());
    }

    // The delays stand for the half minute that a card may take.
    void staysAliveWhileTheCardIsSlow()
    {
        WindowUnderTest test({"lte"});
        QVERIFY(test.opens());
        const DeviceServiceControl &control = *test.session.deviceService()->control();
        const DevSrvFault slow{0, 1000, 0, 0};
        control.setFault("ZEPA_DevSrv_GetSN", &slow);
        control.clearJournal();
        // A loop that waited for the card would run a few. A busy machine skips some of the
        // hundred.
        constexpr int kAlive = 20;
        QTimer timer;
        timer.start(10);
        const QSignalSpy ticks(&timer, &QTimer::timeout);
        QSignalSpy notified(&test.session, &Session::notified);
        QSignalSpy unavailable(&test.session, &Session::availableChanged);

        click(test, "Write a report");
        QTRY_VERIFY(QByteArray(control.journal()).contains("GetSN"));
        // The states belong to the report that is shown, and not to the one that is asked for.
        QFile report(test.reportFile());
        QVERIFY(report.open(QIODevice::ReadWrite));
        const QByteArray xml = report.readAll().replace("00101", "00102");
        report.seek(0);
        report.write(xml);
        report.close();
        QTRY_COMPARE(reportRow(test, "PLMN"), "00102|ok");
        click(test, "Remove");
        QVERIFY(unavailable.wait());
        QVERIFY(notified.isEmpty());
        QVERIFY(notified.wait());
        QVERIFY2(ticks.size() >= kAlive, qPrintable(QString::number(ticks.size())));

        QTest::keyClicks(find<QLineEdit>(test, "number"), "+15550199");
        QTest::keyClicks(find<QPlainTextEdit>(test, "text"), "hello");
        click(test, "Insert");
        // Loading a card has removed the faults.
        const DevSrvFault slower{0, 3000, 0, 0};
        control.setFault("ZEPA_SMSSrv_SendMsg", &slower);
        const auto before = ticks.size();
        click(test, "Send");
        test.window.setLanguage("de");
        QTRY_COMPARE(find<QLabel>(test, "result")->text(), "Die Nachricht wird gesendet …");
        QCOMPARE(find<QLineEdit>(test, "number")->text(), "+15550199");
        QCOMPARE(find<QPlainTextEdit>(test, "text")->toPlainText(), "hello");
        QVERIFY(!find<QPushButton>(test, "send")->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(find<QLabel>(test, "result")->text()
                                     == "Der Gerätedienst hat die Nachricht angenommen.",
                                 15'000);
        QVERIFY(QByteArray(control.journal()).contains("SMS \"+15550199\" \"hello\" receipt=0"));
        QVERIFY2(ticks.size() >= before + kAlive, qPrintable(QString::number(ticks.size())));
    }

    void keepsTheLatestOfAFlood()
    {
        WindowUnderTest test({"lte"});
        QVERIFY(test.opens());
        test.showPage("Time line");
        test.window.show();
        const DeviceServiceControl &control = *test.session.deviceService()->control();
        QSignalSpy batches(&test.timeLine, &QAbstractItemModel::rowsInserted);
        QElapsedTimer timer;
        timer.start();
        constexpr int kFirst = 1'000'000;
        constexpr int kLast = kFirst + 12'000;
        for (int event = kFirst; event <= kLast; ++event) {
            control.raiseEvent(event);
            if (event % 100 == 0)
                QTest::qWait(1);
        }
        const RecordModel &records = test.timeLine;
        const auto latest = [&] {
            return records.index(records.rowCount() - 1, RecordModel::Text).data().toString();
        };
        QTRY_VERIFY_WITH_TIMEOUT(latest().startsWith(QString::number(kLast)), 30'000);
        QCOMPARE(records.rowCount(), RecordModel::kCapacity);
        QVERIFY2(batches.size() <= timer.elapsed() / 100 + 1,
                 qPrintable(QString::number(batches.size())));
        const auto *const table = test.window.findChild<QTableView *>();
        const QModelIndex last = table->model()->index(RecordModel::kCapacity - 1, 2);
        QTRY_VERIFY(table->viewport()->rect().intersects(table->visualRect(last)));
        QCOMPARE(test.log.rowCount(), RecordModel::kCapacity);
    }

    // Only the user finds ports, so a port stays known.
    void showsAFoundPortWheneverItIsPluggedIn()
    {
        WindowUnderTest test({"lte"});
        test.window.show();
        test.showPage("Cards");
        QVERIFY(test.opens());
        const QString file = test.m_root.filePath("port");
        const auto shows = [&](const QString &name) {
            return !find<QTreeWidget>(test, "cards")->findItems(name, Qt::MatchExactly).isEmpty();
        };
        const auto plug = [&](bool in) {
            QVERIFY(in ? QFile(file).open(QIODevice::WriteOnly) : QFile::remove(file));
            Q_EMIT test.session.cardsChanged();
        };
        Q_EMIT test.session.cardsFound(
            true, {{{"serial:" + file, "a modem"}}, {{"serial", "no other port answers"}}});
        QVERIFY(shows("serial"));
        QVERIFY(!shows("serial:" + file));
        plug(true);
        QTRY_VERIFY(shows("serial:" + file));
        QVERIFY(!shows("serial"));
        plug(false);
        QTRY_VERIFY(!shows("serial:" + file));
        test.window.setLanguage("de");
        plug(true);
        QTRY_VERIFY(shows("serial:" + file));
    }

    void tellsProblemsInTheWindow_data() { addRows("window-problems.txt"); }
    void tellsProblemsInTheWindow()
    {
        const QHash<QString, QString> files{
            {"NONE", "/no/such/file"}, {"SDK", SDK_FILE}, {"CRASHES", CRASHING_SDK}};
        WindowUnderTest::Choice choice{cell("card"), cell("root")};
        if (!cell("plugin").isEmpty())
            choice.plugin = files[cell("plugin")];
        if (!cell("sdk").isEmpty())
            choice.sdk = files[cell("sdk")];
        WindowUnderTest test(choice);
        test.window.show();
        const auto *const message = find<QLabel>(test, "message");
        QTRY_VERIFY_WITH_TIMEOUT(message->isVisible(), 15'000);
        QVERIFY2(message->text().contains(cell("message")), qPrintable(message->text()));
        if (cell("opens") == "yes") {
            QVERIFY(test.opens());
            QVERIFY(test.shows("No card"));
            QCOMPARE(reportRow(test, "IMEI").section('|', 0, 0), "");
            click(test, "Change the card");
            QTRY_VERIFY(!message->isVisible());
        } else {
            click(test, "Try again");
            QTRY_VERIFY_WITH_TIMEOUT(message->isVisible(), 15'000);
            QVERIFY(!test.session.window());
        }
        QVERIFY(!QApplication::activeModalWidget());
    }

    void showsNoIdentityIfRedacted()
    {
        WindowUnderTest::Choice choice{"lte"};
        choice.redacted = true;
        WindowUnderTest test(choice);
        QVERIFY(test.opens());
        click(test, "Remove");
        QTRY_VERIFY(test.shows("No card"));
        click(test, "Insert");
        const auto type = [&](const char *field, const QString &text) {
            QTest::keyClicks(find<QLineEdit>(test, field), text);
            QFocusEvent leave(QEvent::FocusOut);
            QCoreApplication::sendEvent(find<QLineEdit>(test, field), &leave);
        };
        type("number", "+15550199");
        type("value", "490154203237518");
        click(test, "Send");
        QTRY_VERIFY(test.shows("accepted"));
        click(test, "Choose a card file…");
        auto *const dialog = test.window.findChild<QFileDialog *>();
        Q_EMIT dialog->fileSelected("/490154203237518.ini");
        dialog->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QTRY_VERIFY(reportRow(test, "IMEI").endsWith("|ok"));
        QTRY_VERIFY(has(test.log, "strIMEI"));

        QStringList texts;
        for (const QLabel *const label : test.window.findChildren<QLabel *>())
            texts << label->text();
        for (const QLineEdit *const edit : test.window.findChildren<QLineEdit *>())
            texts << edit->displayText();
        for (const QComboBox *const box : test.window.findChildren<QComboBox *>())
            texts << box->currentText();
        QAbstractItemModel *const report = find<QAbstractItemView>(test, "report")->model();
        for (QAbstractItemModel *const model :
             QList<QAbstractItemModel *>{&test.timeLine, &test.log, report}) {
            for (const QModelIndex &index :
                 model->match(model->index(0, 0), Qt::DisplayRole, ".*", -1,
                              Qt::MatchRegularExpression | Qt::MatchRecursive)) {
                for (int column = 0; column < model->columnCount(); ++column) {
                    const QModelIndex shown = index.siblingAtColumn(column);
                    texts << shown.data().toString() << shown.data(Qt::ToolTipRole).toString();
                }
            }
        }
        QVERIFY(texts.size() > 500);
        for (const char *identity :
             {"490154203237518", "001010123456789", "KE21A0000417", "15550199"})
            QVERIFY2(texts.filter(identity).isEmpty(),
                     qPrintable(texts.filter(identity).join('\n')));
    }

    void callsTheInterfaceWithAWindow()
    {
        WindowUnderTest test({"lte"});
        QVERIFY(test.opens());
        const auto *const calls = find<QTreeWidget>(test, "calls");
        const QList<TableRow> expected = readTable("window-calls.txt");
        QCOMPARE(calls->topLevelItemCount(), expected.size());
        for (int row = 0; row < expected.size(); ++row) {
            const QTreeWidgetItem &item = *calls->topLevelItem(row);
            QCOMPARE(item.text(0), expected[row]["call"]);
            QCOMPARE(item.text(1), expected[row]["answer"]);
            QCOMPARE(item.text(2), "none");
        }
    }

    void isAccessibleAndNarrow_data() { addRows("window-languages.txt"); }
    void isAccessibleAndNarrow()
    {
        WindowUnderTest test({"lte"});
        QVERIFY(test.opens());
        test.window.setLanguage(cell("language"));
        test.window.show();
        QTest::qWait(50);
        test.window.resize(320, 480);
        QCOMPARE(test.window.width(), 320);
        auto *const pages = test.window.findChild<QTabWidget *>();
        int controls = 0;
        for (int page = 0; page < pages->count(); ++page) {
            pages->setCurrentIndex(page);
            QTest::qWait(10);
            for (QWidget *const widget : pages->currentWidget()->findChildren<QWidget *>()) {
                const bool isControl = qobject_cast<QAbstractButton *>(widget)
                    || qobject_cast<QLineEdit *>(widget) || qobject_cast<QComboBox *>(widget)
                    || qobject_cast<QAbstractSpinBox *>(widget)
                    || qobject_cast<QAbstractItemView *>(widget)
                    || qobject_cast<QPlainTextEdit *>(widget);
                if (!isControl || !widget->isVisible() || widget->objectName().startsWith("qt_")
                    || widget->focusProxy() || widget->inherits("QHeaderView")
                    || widget->inherits("QTableCornerButton"))
                    continue;
                ++controls;
                const QString what = widget->metaObject()->className()
                    + (" " + widget->objectName());
                QAccessibleInterface *const seen = QAccessible::queryAccessibleInterface(widget);
                QVERIFY2(!seen->text(QAccessible::Name).isEmpty(), qPrintable(what));
                QVERIFY2(widget->focusPolicy() & Qt::TabFocus, qPrintable(what));
            }
        }
        QVERIFY2(controls >= 30, qPrintable(QString::number(controls)));
    }

    // What an earlier load tells is dropped.
    void loadsAgainAndEndsWhileLoading()
    {
        WindowUnderTest test({"lte"});
        test.session.open();
        test.session.open();
        QVERIFY(test.opens());
        test.session.open();
        QSignalSpy closed(&test.window, &MainWindow::closed);
        test.window.show();
        test.window.close();
        QVERIFY(closed.wait(30'000));
        QVERIFY(!test.session.window());
    }
};

int main(int argc, char **argv)
{
    return runWindowTest<tst_Dashboard>(argc, argv);
}

#include "tst_dashboard.moc"
