// SPDX-License-Identifier: MIT

// The window on a scripted modem of the real daemon, which ends and comes back.

#include "../dashboard/WindowUnderTest.h"
#include "TestBed.h"

#include <QTreeWidget>

namespace {

constexpr char kImei[] = "356938035643809";
constexpr int kPatienceMs = 30'000;

} // namespace

class tst_ModemWindow : public QObject
{
    Q_OBJECT

private:
    TestBed m_bed;

    /// Returns the rows of the page Cards about modems; "-" stands in front of one that cannot be
    /// chosen.
    static QStringList modems(const WindowUnderTest &test)
    {
        QStringList rows;
        const auto *const cards = test.window.findChild<QTreeWidget *>("cards");
        for (int row = 0; row < cards->topLevelItemCount(); ++row) {
            const QTreeWidgetItem &item = *cards->topLevelItem(row);
            if (item.text(0).startsWith("modemmanager"))
                rows << (item.flags() & Qt::ItemIsSelectable ? "" : "-") + item.text(0);
        }
        return rows;
    }

private Q_SLOTS:
    // The plug-in does not hear of the daemon either.
    void listsTheModemsOfADaemonThatStartsLater()
    {
        WindowUnderTest test({"lte"});
        test.window.show();
        test.showPage("Cards");
        QVERIFY(test.opens());
        QTRY_COMPARE(modems(test), QStringList("-modemmanager"));
        QVERIFY(m_bed.startDaemon());
        QVERIFY(m_bed.plug("gsm lte"));
        QTRY_COMPARE_WITH_TIMEOUT(modems(test), QStringList(QString("modemmanager:") + kImei),
                                  kPatienceMs);
        m_bed.daemon.end();
    }

    void recoversWithTheDaemonAndTheBus()
    {
        QVERIFY(m_bed.startDaemon());
        const ScriptedModem *modem = m_bed.plug("gsm lte");
        QVERIFY(modem);
        WindowUnderTest test({"modemmanager"});
        test.window.show();
        test.showPage("Cards");
        QVERIFY(test.opens());
        const QString row = QString("modemmanager:") + kImei;
        QTRY_VERIFY(test.shows("registered at home", true));
        QTRY_COMPARE(modems(test), QStringList(row));

        // The plug-in does not hear of a modem that it does not use.
        auto *const cards = test.window.findChild<QTreeWidget *>("cards");
        cards->setCurrentItem(cards->findItems(row, Qt::MatchExactly).value(0));
        QVERIFY(m_bed.plug("cdma"));
        QTRY_COMPARE_WITH_TIMEOUT(modems(test).size(), 2, kPatienceMs);
        QCOMPARE(cards->currentItem()->text(0), row);

        m_bed.daemon.end();
        QTRY_VERIFY_WITH_TIMEOUT(test.shows("The card is gone", true), kPatienceMs);
        QTRY_VERIFY_WITH_TIMEOUT(test.shows("No card", true), kPatienceMs);
        QTRY_VERIFY(!modems(test).contains(row));

        QVERIFY(m_bed.startDaemon());
        QVERIFY(m_bed.plugAgain(*modem));
        QTRY_VERIFY_WITH_TIMEOUT(test.shows("registered at home", true), kPatienceMs);
        QTRY_VERIFY(!test.shows("The card is gone", true));
        QTRY_COMPARE(modems(test), QStringList(row));

        m_bed.bus.end();
        QTRY_VERIFY_WITH_TIMEOUT(test.shows("The card is gone", true), kPatienceMs);
        QTRY_COMPARE_WITH_TIMEOUT(modems(test), QStringList("-modemmanager"), kPatienceMs);
        m_bed.daemon.end();
        m_bed.startBus();
        QVERIFY(m_bed.startDaemon());
        QVERIFY(m_bed.plugAgain(*modem));
        QTRY_VERIFY_WITH_TIMEOUT(test.shows("registered at home", true), kPatienceMs);
        QTRY_COMPARE_WITH_TIMEOUT(modems(test), QStringList(row), kPatienceMs);
        QVERIFY(!QApplication::activeModalWidget());
    }
};

int main(int argc, char **argv)
{
    return runWindowTest<tst_ModemWindow>(argc, argv);
}

#include "tst_modemwindow.moc"
