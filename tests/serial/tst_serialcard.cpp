// SPDX-License-Identifier: MIT

// The "serial" backend with scripted modems on pseudo-terminals: by itself, and below the command.

#include "HostProcess.h"
#include "PtyModem.h"
#include "Schema.h"

#include "BackendRegistry.h"
#include "serial/PortFinder.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

#include <thread>

using namespace devsrv;

namespace {

constexpr int kTimeoutMs = 400;
constexpr int kRecoveryMs = 2'000;

// That the modem of the tests has.
constexpr char kEveryValue[] = "family firmware imei imsi lock model number place plmn system";

// A backend, and the events that it raised.
class Card
{
public:
    explicit Card(const PtyModem &modem, const QString &options = "?timeout=400")
    {
        m_backend = makeBackend(
            modem.card(options).toStdString(),
            [this](std::int32_t event) {
                const std::lock_guard lock(m_mutex);
                m_events << QString::number(event);
            },
            error);
        if (m_backend.card)
            m_backend.card->begin();
    }

    CardBackend *operator->() const { return m_backend.card.get(); }

    QString takeEvents()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_events, {}).join(' ');
    }

    // Waits for the events in this order, or, where there are none, for half a second.
    bool raises(const QString &events)
    {
        QString seen;
        const auto isComplete = [&] {
            seen = (seen + ' ' + takeEvents()).trimmed();
            return seen.size() >= events.size() && !seen.isEmpty();
        };
        if (!QTest::qWaitFor(isComplete, events.isEmpty() ? 500 : 5'000) && seen != events)
            qWarning() << "raised" << seen << "not" << events;
        return seen == events;
    }

    std::string error;

private:
    std::mutex m_mutex;
    QStringList m_events;
    Backend m_backend;
};

std::string orEmpty(const std::optional<std::string> &text)
{
    return text.value_or(std::string());
}

// What a report asks for.
QMap<QString, std::string> valuesOf(const Card &card)
{
    QMap<QString, std::string> values;
    values["serial"] = orEmpty(card->serialNumber());
    values["imei"] = orEmpty(card->imei());
    values["model"] = orEmpty(card->model());
    values["imsi"] = orEmpty(card->imsi());
    values["firmware"] = card->versions().value_or(Versions()).firmware;
    values["hardware"] = card->versions().value_or(Versions()).hardware;
    values["family"] = std::to_string(card->productType().value_or(-1));
    values["number"] = orEmpty(
        card->ownNumber(card->numberMemory().value_or(NumberMemory()).index));
    values["lock"] = std::to_string(card->lockState().value_or(99));
    values["system"] = std::to_string(card->systemInfo().value_or(SystemInfo()).subMode);
    for (int asked = 0; asked < 4; ++asked) {
        const auto place = card->registration(Domain::CircuitSwitched).value_or(Registration());
        values["place"] = place.lac + '/' + place.cellId;
    }
    values["plmn"] = orEmpty(card->plmn());
    return values;
}

QString lostIn(const QMap<QString, std::string> &usual, const QMap<QString, std::string> &values)
{
    QStringList lost;
    for (const QString &name : usual.keys()) {
        if (values[name] != usual[name])
            lost << name;
    }
    return lost.join(' ');
}

struct Usage
{
    qsizetype descriptors = QDir("/proc/self/fd")
                                .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
                                .size();
    qsizetype threads = QDir("/proc/self/task").entryList(QDir::NoDotAndDotDot | QDir::Dirs).size();
};

} // namespace

class tst_SerialCard : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<PtyModem> m_modem;

    PtyModem &plug(const QString &kinds)
    {
        m_modem = std::make_unique<PtyModem>(kinds);
        return *m_modem;
    }

private Q_SLOTS:
    // Whatever a test did, the backend kept its manners.
    void cleanup()
    {
        static const QRegularExpression harm("COPS=[?0]|CFUN=[04]|CPIN=|&W");
        if (!m_modem)
            return;
        const QString all = m_modem->allCommands().join(' ');
        QVERIFY2(!all.contains(harm), qPrintable(all));
        m_modem.reset();
    }

    void reportsWhatTheDaemonReports_data()
    {
        QTest::addColumn<QString>("kinds");
        for (const char *kinds :
             {"cdma", "gsm umts", "gsm umts hspa", "gsm lte", "gsm umts no-sim", "gsm lte locked"})
            QTest::newRow(kinds) << kinds;
    }

    void reportsWhatTheDaemonReports()
    {
        QFETCH(QString, kinds);
        PtyModem &modem = plug(kinds);
        CardHost host({"report", "--json"}, modem.card());
        QVERIFY(host.ends());
        const auto values = host.values();
        QVERIFY(isValidReport(readFile(host.file)));
        int compared = 0;
        for (const QString &line : QString(readFile(VALUES)).split('\n')) {
            if (line.section(": ", 0, 0) != kinds)
                continue;
            const QString field = line.section(": ", 1).section('=', 0, 0);
            // The daemon passes no commands on.
            const bool isTrigger = field.endsWith("SmsTriggerState") && kinds != "cdma";
            QCOMPARE(field + '=' + values[field],
                     field + '=' + (isTrigger ? "1" : line.section('=', 1)));
            ++compared;
        }
        QCOMPARE(compared, 15);
    }

    void losesOnlyWhatALineHits_data() { addRows("serial-dirty.txt"); }

    void losesOnlyWhatALineHits()
    {
        PtyModem &modem = plug("gsm umts hspa");
        modem.setAnswer("AT+CGSN=0", "FR21A0000417");
        const auto usual = valuesOf(Card(modem));
        QCOMPARE(usual["serial"], "FR21A0000417");
        QCOMPARE(usual["imsi"], "214070123456789");
        QCOMPARE(usual["place"], "31C5/83F7CD");
        for (const QString &command : cell("command").split(' '))
            modem.setAnswer(command, cell("answer"));
        for (const bool isInPieces : {false, true}) {
            modem.isInPieces = isInPieces;
            QElapsedTimer timer;
            timer.start();
            const Card card(modem);
            card->execute("AT+CSQ\r", [](const std::string &) {});
            QCOMPARE(lostIn(usual, valuesOf(card)), cell("lost"));
            QVERIFY2(timer.elapsed() < kTimeoutMs + kRecoveryMs,
                     qPrintable(QString::number(timer.elapsed())));
        }
    }

    void survivesNoise()
    {
        PtyModem &modem = plug("gsm umts hspa");
        const auto usual = valuesOf(Card(modem));
        modem.hasEcho = true;
        modem.setAnswer("ATE0", "ERROR"); // and keeps its echo
        std::atomic<bool> isOver = false;
        {
            modem.send("+CRE\u0000G:garb");
            const Card card(modem);
            QCOMPARE(lostIn(usual, valuesOf(card)), "");
        }
        // Endless chatter between commands and answers.
        std::thread chatter([&] {
            while (!isOver) {
                modem.say("^RSSI:12");
                QTest::qSleep(1);
            }
        });
        const Card card(modem);
        const QString lost = lostIn(usual, valuesOf(card));
        isOver = true;
        chatter.join();
        QCOMPARE(lost, "");

        // A line of 10 MB costs no memory that lasts, and the value that it hits.
        modem.setAnswer("AT^RSTRIGGER?", "raw:" + QString(10'000'000, 'x'));
        std::size_t longest = 0;
        card->execute("AT^RSTRIGGER?\r",
                      [&](const std::string &piece) { longest = std::max(longest, piece.size()); });
        QVERIFY2(longest < 10'000, qPrintable(QString::number(longest)));
        QTRY_COMPARE_WITH_TIMEOUT(lostIn(usual, valuesOf(card)), "", 10'000);
    }

    void waitsOnceForASilentModem()
    {
        PtyModem &modem = plug("gsm umts hspa");
        Card card(modem);
        const auto usual = valuesOf(card);
        modem.isSilent = true;
        QElapsedTimer timer;
        timer.start();
        valuesOf(card);
        QVERIFY2(timer.elapsed() < 2 * kTimeoutMs + 300,
                 qPrintable(QString::number(timer.elapsed())));
        QVERIFY(card.raises("6603 6002"));
        modem.say("+CREG: 2\r\n\r\n+CPIN: SIM PIN");
        QVERIFY(card.raises(""));
        timer.start();
        QCOMPARE(lostIn(usual, valuesOf(card)), kEveryValue);
        QVERIFY2(timer.elapsed() < kTimeoutMs, "a query waits for the attempts to reach the card");
        modem.isSilent = false;
        QVERIFY(card.raises("6002 6014"));
        QCOMPARE(lostIn(usual, valuesOf(card)), "");
    }

    void raisesEvents_data() { addRows("serial-events.txt"); }

    void raisesEvents()
    {
        PtyModem &modem = plug("gsm umts");
        Card card(modem);
        if (cell("answers").isEmpty()) {
            modem.say(cell("says").toUtf8());
        } else {
            modem.send(cell("says").toUtf8());
            QTest::qSleep(50);
            modem.setAnswer("AT^RSTRIGGER?", cell("answers"));
            card->execute("AT^RSTRIGGER?\r", [](const std::string &) {});
        }
        QVERIFY(card.raises(cell("events")));
    }

    void followsTheSim()
    {
        PtyModem &modem = plug("gsm lte locked");
        modem.setAnswer("AT+CREG?", "+CME ERROR: 11");
        modem.setAnswer("AT+CEREG?", "ERROR");
        Card card(modem);
        QCOMPARE(card->status(), 2);
        QCOMPARE(card->lockState(), 2);
        QCOMPARE(card->imsi(), std::nullopt);
        QCOMPARE(card->plmn(), std::nullopt);
        modem.setAnswer("AT+CPIN?", "+CPIN: READY");
        modem.setAnswer("AT+CIMI", "214070123456789");
        modem.setAnswer("AT+CREG?", "+CREG: 0,1");
        modem.setAnswer("AT+CEREG?", "+CEREG: 0,1");
        modem.takeJournal();
        modem.say("+CPIN: READY");
        QVERIFY(card.raises("6014 6016 6614"));
        const QByteArrayList journal = modem.takeJournal();
        QVERIFY(journal.contains("AT+CREG=2") && journal.contains("AT+CEREG=2"));
        QCOMPARE(card->status(), DEVSRV_STATUS_READY);
        QCOMPARE(card->imsi(), "214070123456789");
        QCOMPARE(card->plmn(), "21407");
        // A change that the modem does not tell is noticed by the next report.
        modem.setAnswer("AT+CLCK=\"PN\",2", "+CLCK: 1");
        modem.setAnswer("AT+CPIN?", "+CPIN: PH-NET PIN");
        QCOMPARE(card->lockState(), 8);
        QVERIFY(card.raises("6016"));
        modem.setAnswer("AT+CPIN?", "+CPIN: READY");
        QCOMPARE(card->status(), DEVSRV_STATUS_READY);
        QVERIFY(card.raises("6014 6016"));
    }

    void switchesRadioOn_data() { addRows("serial-radio.txt"); }

    // A radio that was switched on has to find its SIM and its network first.
    void switchesRadioOn()
    {
        const bool switches = cell("switches") == "yes";
        PtyModem &modem = plug("gsm umts");
        modem.setAnswer("AT+CFUN?", "+CFUN: " + cell("found"));
        std::thread network;
        if (cell("found") != "1")
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("serial: the radio .* off"));
        if (switches) {
            modem.setAnswer("AT+CPIN?", "+CME ERROR: 14");
            modem.setAnswer("AT+CREG?", "+CREG: 2,2");
            modem.setAnswer("AT+CGREG?", "+CGREG: 2,2");
            modem.restarts = cell("case") == "restarts";
            network = std::thread([&] {
                while (!modem.allCommands().contains("AT+CFUN=1"))
                    QTest::qSleep(5);
                modem.setAnswer("AT+CFUN?", "+CFUN: 1");
                QTest::qSleep(300);
                modem.setAnswer("AT+CPIN?", "+CPIN: READY");
                modem.setAnswer("AT+CREG?", "+CREG: 2,1,\"31C5\",\"83F7CD\"");
            });
        }
        const Card card(modem, "?timeout=400" + cell("option"));
        if (network.joinable())
            network.join();
        QTEST(QString::number(card->status().value_or(0)), "status");
        QCOMPARE(card->registration(Domain::PacketSwitched).value_or(Registration()).lac, "31C5");
        QCOMPARE(modem.takeJournal().contains("AT+CFUN=1"), switches);
    }

    // A modem whose radio stays off is prepared less and less often, and was never there.
    void waitsForAModemThatKeepsRestarting()
    {
        PtyModem &modem = plug("gsm umts");
        modem.setAnswer("AT+CFUN?", "+CFUN: 0");
        modem.restarts = true;
        Card card(modem);
        QCOMPARE(card.error, "");
        QVERIFY(card.raises(""));
        QCOMPARE(card->status(), std::nullopt);
        QVERIFY(modem.takeJournal().count("AT+CFUN=1") < 5);
        modem.restarts = false;
        QVERIFY(card.raises("6002 6014"));
    }

    void putsModesBack_data() { addRows("serial-modes.txt"); }

    void putsModesBack()
    {
        const QString loss = cell("loss");
        PtyModem &modem = plug("gsm umts");
        modem.hasEcho = true;
        modem.setAnswer("AT+CMEE?", "+CMEE: 0");
        modem.setAnswer("AT+CMGF?", "+CMGF: 1");
        modem.setAnswer("AT+CREG?", "+CREG: 0,1");
        modem.setAnswer("AT+COPS?", "+COPS: 0,0,\"Fenland\"");
        {
            Card card(modem);
            card->plmn();
            card->sendSms({u"600111222", u"hello"});
            const QByteArrayList journal = modem.takeJournal();
            for (const char *command :
                 {"AT+CREG=2", "AT+COPS=3,2", "AT+CMGF=0", "AT+CMEE=1", "ATE0"})
                QVERIFY2(journal.contains(command), command);
            if (loss == "6601 6002")
                modem.unplug();
            modem.isSilent = loss == "6603 6002";
            for (int count = 0; modem.isSilent && count < 3; ++count)
                card->execute("AT\r", [](const std::string &) {});
            QVERIFY(card.raises(loss));
            // The modes that the backend has set, or those of another modem.
            modem.setAnswer("AT+CMEE?", loss == "6601 6002" ? "+CMEE: 2" : "+CMEE: 1");
            modem.setAnswer("AT+CMGF?", "+CMGF: 0");
            modem.setAnswer("AT+CREG?", "+CREG: 2,1,\"31C5\",\"83F7CD\"");
            modem.setAnswer("AT+COPS?", "+COPS: 0,2,\"21407\"");
            if (loss == "6601 6002")
                modem.plug();
            modem.isSilent = false;
            QVERIFY(loss.isEmpty() || card.raises("6002 6014"));
            card->plmn();
            modem.takeJournal();
        }
        QTEST(QString(modem.takeJournal().join(' ')), "restored");
    }

    // Every thread gets the answer to its own question, and each command stands alone on the line.
    void keepsCommandsApart()
    {
        PtyModem &modem = plug("gsm umts");
        const Card card(modem);
        std::atomic<int> wrong = 0;
        const auto repeat = [&](const auto &isRight) {
            return std::thread([&wrong, isRight] {
                for (int count = 0; count < 50; ++count)
                    wrong += isRight() ? 0 : 1;
            });
        };
        const auto passes = [&](const char *command, const char *line) {
            std::string answer;
            const bool isSent = card->execute(command, [&](const std::string &piece) {
                answer += piece;
                if (card->imei())
                    answer += "a query in the middle of a command";
            });
            return isSent && answer == line;
        };
        std::thread threads[] = {
            repeat([&] { return passes("AT^RSTRIGGER?\r", "\r\n^RSTRIGGER: 1\r\n\r\nOK\r\n"); }),
            repeat([&] { return passes("AT+CSQ\r", "\r\n+CSQ: 21,99\r\n\r\nOK\r\n"); }),
            repeat([&] { return passes("AT+NONE\r", "\r\nERROR\r\n"); }),
            repeat([&] { return card->status() == DEVSRV_STATUS_READY; }),
            repeat([&] { return card->imsi() == "214070123456789"; }),
        };
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(wrong, 0);
    }

    // Values that cannot change, or that the modem tells by itself, are asked for once.
    void asksOnce()
    {
        PtyModem &modem = plug("gsm umts hspa");
        const Card card(modem);
        valuesOf(card);
        modem.takeJournal();
        valuesOf(card);
        QCOMPARE(modem.takeJournal(), QByteArrayList({"AT+CPIN?"}));
        modem.say("+CREG: 5,\"31C5\",\"1\",6");
        QTest::qWait(100);
        modem.setAnswer("AT+COPS?", "+COPS: 0,2,\"21401\"");
        QCOMPARE(valuesOf(card)["plmn"], "21401");
        QCOMPARE(valuesOf(card)["place"], "31C5/1");
        // Just registered, and without the operator yet.
        modem.say("+CREG: 5,\"31C5\",\"2\",6");
        modem.setAnswer("AT+COPS?", "+COPS: 0");
        QTRY_COMPARE(card->plmn(), std::nullopt);
        // The operator changes while the modem tells it.
        modem.setAnswer(
            "AT+COPS?",
            "raw:\r\n+COPS: 0,2,\"21407\"\r\n\r\n+CREG: 5,\"31C5\",\"3\",6\r\n\r\nOK\r\n");
        QCOMPARE(card->plmn(), "21407");
        modem.setAnswer("AT+COPS?", "+COPS: 0,2,\"21401\"");
        QCOMPARE(card->plmn(), "21401");
    }

    // A modem that starts again on its port, or that a caller's command changes, loses its modes.
    void asksAgainAfterAReset_data() { addRows("serial-resets.txt"); }

    void asksAgainAfterAReset()
    {
        const std::string command = cell("command").toStdString();
        const QString events = cell("events");
        PtyModem &modem = plug("gsm umts");
        Card card(modem);
        QCOMPARE(card->registration(Domain::CircuitSwitched).value_or(Registration()).lac, "31C5");
        modem.hasEcho = command.empty();
        modem.setAnswer("AT+CREG?", "+CREG: 0,1,\"31C6\",\"83F7CD\",2");
        modem.takeJournal();
        if (command.empty())
            card->status();
        else
            card->execute(command, [](const std::string &) {});
        QVERIFY(card.raises(events));
        QCOMPARE(card->registration(Domain::CircuitSwitched).value_or(Registration()).lac,
                 events.isEmpty() ? "31C5" : "31C6");
        const QByteArrayList journal = modem.takeJournal();
        QCOMPARE(journal.contains("AT+CREG=2"), !events.isEmpty());
        QCOMPARE(journal.contains("AT+CPIN?"), !events.isEmpty());
        QCOMPARE(journal.contains("AT+CMEE=1"), !events.isEmpty());
    }

    void sendsMessages_data() { addRows("serial-sms.txt"); }

    void sendsMessages()
    {
        PtyModem &modem = plug("gsm umts");
        const Card card(modem);
        modem.setAnswer("message 1", cell("first"));
        modem.setAnswer("message 2", cell("second"));
        if (!cell("prompt").isEmpty())
            modem.setAnswer("prompt", cell("prompt"));
        modem.takeJournal();
        const QString text = cell("text").repeated(cell("times").toInt());
        const QString number = cell("case") == "nobody" ? "" : "+34600111222";
        if (!cell("says").isEmpty())
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(QRegularExpression::escape(cell("says"))));
        const bool isSent = card->sendSms({number.toStdU16String(), text.toStdU16String(), true});
        QCOMPARE(isSent, cell("sent") == "yes");
        const QByteArrayList journal = modem.takeJournal();
        int parts = 0;
        for (qsizetype at = 0; at < journal.size(); ++at) {
            if (!journal[at].startsWith("AT+CMGS="))
                continue;
            ++parts;
            QVERIFY(at + 1 < journal.size());
            if (cell("prompt") == "silence") {
                QCOMPARE(journal[at + 1], "ESC");
                continue;
            }
            QCOMPARE(journal[at + 1].size(), 2 * (journal[at].mid(8).toInt() + 1));
            QVERIFY2(journal[at + 1].mid(2, 2).toInt(nullptr, 16) & 0x20,
                     "no receipt is asked for");
        }
        QCOMPARE(parts, cell("parts").toInt());
        QVERIFY(card->imei());
    }

    void endsWithoutThePort()
    {
        PtyModem &modem = plug("gsm umts");
        modem.setAnswer("AT+CREG?", "+CREG: 0,1");
        modem.setAnswer("AT+CMEE?", "+CMEE: 0");
        modem.setAnswer("AT+CMEE=0", "silence");
        std::optional<Card> card(modem);
        std::thread puller([&] {
            while (!modem.allCommands().contains("AT+CMEE=0"))
                QTest::qSleep(5);
            modem.unplug();
        });
        QElapsedTimer timer;
        timer.start();
        card.reset();
        QVERIFY2(timer.elapsed() < kTimeoutMs, "the modes are put back on a port that is gone");
        puller.join();
    }

    void comesBackAfterUnplugging()
    {
        PtyModem &modem = plug("gsm umts");
        Card card(modem);
        const auto usual = valuesOf(card);
        modem.unplug();
        QVERIFY(card.raises("6601 6002"));
        QCOMPARE(lostIn(usual, valuesOf(card)), kEveryValue);
        modem.plug();
        QVERIFY(card.raises("6002 6014"));
        QCOMPARE(lostIn(usual, valuesOf(card)), "");
        const Usage before;
        for (int count = 0; count < 100; ++count) {
            modem.unplug();
            if (count % 2 == 0) // in the middle of a query, or between queries
                card->status();
            QVERIFY(card.raises("6601 6002"));
            modem.plug();
            QVERIFY(card.raises("6002 6014"));
        }
        const Usage after;
        QCOMPARE(after.descriptors, before.descriptors);
        QCOMPARE(after.threads, before.threads);
        QCOMPARE(lostIn(usual, valuesOf(card)), "");
    }

    void readsDialect()
    {
        PtyModem &modem = plug("gsm umts");
        modem.setAnswer("AT^HWVER", "^HWVER:\"FR210 Ver.B\"");
        modem.setAnswer("AT^SN", "^SN: 4711");
        modem.setAnswer("AT+CGSN=0", "490154203237518");
        QCOMPARE(Card(modem)->serialNumber(), std::nullopt); // the IMEI again
        Card card(modem, "?initial=ATE1&modem=" MODEM_FILES "/caret.ini");
        QVERIFY(modem.takeJournal().contains("ATE1"));
        QCOMPARE(card->versions().value_or(Versions()).hardware, "FR210 Ver.B");
        QCOMPARE(card->serialNumber(), "4711");
        QCOMPARE(card->model(), "FR210");
        QVERIFY(card.raises("")); // the echo is no sign of a reset
    }

    void saysWhyAPortCannotBeUsed_data() { addRows("serial-choices.txt"); }

    void saysWhyAPortCannotBeUsed()
    {
        std::string error;
        QVERIFY(!makeBackend(cell("card").toStdString(), {}, error).card);
        QVERIFY2(QString::fromStdString(error).contains(cell("says")), error.c_str());
    }

    void saysThatAPortIsSilentOrBusy()
    {
        PtyModem &modem = plug("gsm umts");
        QString reason;
        QVERIFY(answersOn(modem.port(), 115'200, reason));
        const Card first(modem);
        QVERIFY(first->imei());
        QVERIFY(!answersOn(modem.port(), 115'200, reason));
        QVERIFY2(
            Card(modem).error.starts_with("another program uses " + modem.port().toStdString()),
            Card(modem).error.c_str());
        PtyModem mute("none");
        mute.setAnswer("AT", "OK");
        for (const char *command : {"ATE0", "AT+CMEE?", "AT+CMEE=1"})
            mute.setAnswer(command, "silence");
        QVERIFY(Card(mute).error.find("answers AT and no other command") != std::string::npos);
        PtyModem other("gsm umts");
        other.isSilent = true;
        QElapsedTimer timer;
        timer.start();
        const Card silent(other, "");
        QVERIFY(silent.error.starts_with("no card answers AT commands on "));
        QVERIFY(timer.elapsed() < 5'000);
        QVERIFY(!answersOn(other.port(), 115'200, reason));
        QCOMPARE(reason, "no card answers on " + other.port());
    }
};

QTEST_GUILESS_MAIN(tst_SerialCard)
#include "tst_serialcard.moc"
