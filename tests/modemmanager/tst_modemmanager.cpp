// SPDX-License-Identifier: MIT

// The command on the device service of real modems, with a real daemon that talks to scripted
// modems, or with one that does everything wrong.

#include "TestBed.h"
#include "TestData.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

namespace {

constexpr char kImei[] = "490154203237518";

// The command with its log; runs for as long as the object lives.
class Host : public Child
{
public:
    Host(const QStringList &command, const QString &card = "modemmanager")
    {
        m_time.start();
        start(HOST, command + QStringList{"--log", "--root", m_root.path(), "--card", card});
    }

    QHash<QString, QString> values() { return values(readAllStandardError()); }
    QHash<QString, QString> values(const QByteArray &log)
    {
        // Some values are in the log alone.
        static const QRegularExpression number("strMSISDN=+(.*)");
        static const QRegularExpression lock("success  card state = (\\d+)");
        QHash<QString, QString> values{{"MSISDN", number.match(QString(log)).captured(1)},
                                       {"SimLock", lock.match(QString(log)).captured(1)}};
        const auto report = QJsonDocument::fromJson(readAllStandardOutput()).object();
        for (const QString &key : report.keys())
            values[key.section('/', 1)] = report[key].toString();
        return values;
    }

    // Waits until it has said each of these, in any order, since it was waited for the last time.
    bool says(const QByteArrayList &texts)
    {
        QByteArrayList missing = texts;
        const auto isComplete = [&] {
            said += readAllStandardOutput() + readAllStandardError();
            missing.removeIf([this](const QByteArray &text) { return said.contains(text); });
            return missing.isEmpty();
        };
        said.clear();
        const bool complete = QTest::qWaitFor(isComplete, 15'000);
        if (!complete)
            qWarning().noquote() << "no" << missing << "in" << said;
        return complete;
    }

    // By Ctrl-C; nothing is left registered.
    bool stop()
    {
        ::kill(pid_t(processId()), SIGINT);
        return says({"\"callbacks\":0"}) && ends() && exitCode() == 0;
    }

    QStringList events() const
    {
        static const QRegularExpression event("Dev Evenet\\((\\d+)\\)");
        QStringList events;
        for (const auto &match : event.globalMatch(said))
            events << match.captured(1);
        return events;
    }

    qint64 elapsed() const { return m_time.elapsed(); }

    QByteArray said;

private:
    QTemporaryDir m_root;
    QElapsedTimer m_time;
};

} // namespace

class tst_ModemManager : public QObject
{
    Q_OBJECT

private:
    TestBed m_bed;
    const QList<QStringList> m_fields = readTable("modem-fields.txt").mid(1);

private Q_SLOTS:
    void cleanup()
    {
        m_bed.daemon.end();
        m_bed.authority.grants = true;
    }

    void values()
    {
        QVERIFY(m_bed.startDaemon());
        const QStringList modems{"cdma",    "gsm umts",        "gsm umts hspa",
                                 "gsm lte", "gsm umts no-sim", "gsm lte locked"};
        ScriptedModem *modem = nullptr;
        for (const QString &kinds : modems)
            QVERIFY2((modem = m_bed.plug(kinds)), qPrintable(kinds));

        // May switch the modem on only when the authority says so, and tells what it has.
        m_bed.authority.grants = false;
        Host refused({"report", "--json"}, QString("modemmanager:") + kImei);
        QVERIFY(refused.says({"Enable failed: org.freedesktop.ModemManager1.Error.Core.Unauth"}));
        QVERIFY(refused.ends());
        m_bed.authority.grants = true;

        QStringList lines;
        for (int number = 0; number < modems.size(); ++number) {
            // The one of the lowest number needs no choice.
            auto seen = m_bed.witness(number);
            const QString card = "modemmanager"
                + (number > 0 ? ":" + seen["modem.generic.equipment-identifier"] : QString());
            Host host({"report", "--json"}, card);
            QVERIFY(host.ends());
            const auto values = host.values();
            seen = m_bed.witness(number);
            seen.insert(m_bed.witness(number, {"--location-get"}));
            if (values["Command/Network/AcT"] == "LTE")
                seen["modem.location.3gpp.lac"] = seen["modem.location.3gpp.tac"];
            for (const QStringList &field : m_fields) {
                const QString value = values[field[0]];
                const QString other = seen[field[1]];
                lines << modems[number] + ": " + field[0] + '=' + value;
                // Hexadecimal numbers are padded in different ways.
                if (!field[1].isEmpty() && value != other)
                    QCOMPARE(value.toInt(nullptr, 16), other.toInt(nullptr, 16));
            }
        }
        compareWithGolden("values-of-modems.txt", lines);

        const QString sim = m_bed.witness(5)["modem.generic.sim"];
        Host watch({"watch", "--json"}, "modemmanager:350077523237513");
        QVERIFY(watch.says({"\"new\":\"350077523237513\""}));
        modem->answers["AT+CPIN?"] = "+CPIN: READY";
        modem->answers["AT+CIMI"] = "214070123456789";
        QVERIFY(m_bed.call(sim, kService + ".Sim", "SendPin", {"1234"}));
        QVERIFY(watch.says({"Evenet(6016)", "DeviceAvailable", "\"new\":\"214070123456789\"",
                            "\"new\":\"102F304\""}));

        Host unknown({"report", "--json"}, "modemmanager:000000000000000");
        QVERIFY(unknown.says({"the daemon knows no modem of IMEI 000000000000000"}));
    }

    void startRefused()
    {
        Host unnamed({"report"}, "modemmanager:");
        QVERIFY(unnamed.says({"modemmanager:IMEI"}) && unnamed.ends());
        QCOMPARE(unnamed.exitCode(), 1);
        const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");
        Host host({"report"});
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
        QVERIFY(host.says({"the system message bus cannot be reached"}) && host.ends());
        QCOMPARE(host.exitCode(), 1);
    }

    // First no daemon, then a modem whose cell changes, goes, comes back, and dies with its daemon.
    void watch()
    {
        Host host({"watch", "--json"});
        QVERIFY(host.says({"the daemon does not run", "\"type\":\"report\""}));
        QVERIFY(m_bed.startDaemon(true));
        ScriptedModem *modem = m_bed.plug("gsm umts");
        QVERIFY(modem);
        QVERIFY(host.says({kImei, "DeviceAvailable", "\"new\":\"83F7CD\"", "Evenet(6614)"}));
        QCOMPARE(host.events().mid(0, 2), QStringList({"6002", "6014"}));
        modem->say("+CREG: 1,\"31C5\",\"83F7CE\",2");
        QVERIFY(host.says({"\"new\":\"83F7CE\",\"old\":\"83F7CD\""}));

        // Each change within a quarter of a second is told by one event.
        QElapsedTimer timer;
        timer.start();
        for (int cell = 0x100001; cell <= 0x100000 + 1'000; ++cell) {
            modem->say("+CREG: 1,\"31C5\",\"" + QByteArray::number(cell, 16) + "\",2");
            QCoreApplication::processEvents();
            QTest::qSleep(1);
        }
        QVERIFY(host.says({"\"new\":\"1003E8\""}));
        qInfo() << host.events().size() << "events of 1,000 changes";
        QVERIFY(host.events().size() <= timer.elapsed() / 250 + 1);

        QVERIFY(m_bed.inhibit(*modem, true));
        QVERIFY(host.says({"DeviceUnavailable", "\"new\":\"\",\"old\":\"490154203237518\""}));
        QCOMPARE(host.events(), QStringList({"6601", "6002"}));
        QVERIFY(m_bed.inhibit(*modem, false));
        QVERIFY(host.says({"DeviceAvailable", "\"new\":\"490154203237518\"", "Evenet(6614)"}));
        m_bed.daemon.end();
        QVERIFY(host.says({"DeviceUnavailable", "Evenet(6603)"}));
        QVERIFY(m_bed.startDaemon());
        QVERIFY(m_bed.plugAgain(*modem));
        QVERIFY(host.says({"Evenet(6002)", "DeviceAvailable", "Evenet(6614)"}));

        // A modem that its user switches off stays so.
        const auto enable = [this](bool on) {
            return m_bed.call(kPath + "/Modem/0", kService + ".Modem", "Enable", {on});
        };
        QVERIFY(enable(false));
        QVERIFY(host.says({"Evenet(6614)"}));
        QTest::qWait(500);
        QCOMPARE(m_bed.witness(0)["modem.generic.state"], "disabled");

        QVERIFY(host.stop());
    }

    // What goes or falls silent in the middle of a report ends none, and loses no more than itself.
    void breakdown()
    {
        QVERIFY(m_bed.startDaemon(true));
        ScriptedModem *modem = m_bed.plug("gsm umts");
        QVERIFY(modem);
        Host first({"report", "--json"});
        QVERIFY(first.says({"Response data: \r\n^RSTRIGGER: 1\r\n\r\nOK\r\n"}) && first.ends());
        modem->answers["AT^RSTRIGGER?"] = "ERROR";
        Host timed({"report", "--json"});
        QVERIFY(timed.says({"Response data: \r\nERROR\r\n"}) && timed.ends());
        QElapsedTimer timer;
        timer.start();
        const auto reportMs = timed.elapsed();
        m_bed.witness(0);
        qInfo() << "one report takes as long as" << double(reportMs) / timer.elapsed() << "mmcli";

        modem->answers["AT^RSTRIGGER?"] = "silence";
        for (const char *how : {"silent", "unplugged", "killed"}) {
            modem->journal.clear();
            Host host({"report", "--json"});
            QTRY_VERIFY_WITH_TIMEOUT(modem->journal.contains("AT^RSTRIGGER?"), 10'000);
            if (how == QString("unplugged"))
                QVERIFY(m_bed.inhibit(*modem, true));
            else if (how == QString("killed"))
                m_bed.daemon.end();
            QVERIFY2(host.ends(), how);
            QCOMPARE(host.exitCode(), 0);
            const auto values = host.values();
            QCOMPARE(values["IMEI"], kImei);
            QCOMPARE(values["Command/Device/SmsTriggerState"], "");
            QCOMPARE(values["Command/Network/CellID"], how == QString("silent") ? "83F7CD" : "");
            if (how == QString("unplugged"))
                QVERIFY(m_bed.inhibit(*modem, false) && m_bed.waitForModem(1));
        }
    }

    void sms()
    {
        QVERIFY(m_bed.startDaemon());
        ScriptedModem *modem = m_bed.plug("gsm umts");
        QVERIFY(modem);
        for (const QStringList &row : readTable("modem-sms.txt").mid(1)) {
            modem->journal.clear();
            modem->answers["message"] = row[3];
            m_bed.authority.grants = row[4] == "yes";
            Host host(QStringList{"sms"} + row[1].split(' ', Qt::SkipEmptyParts)
                      + QStringList{"send", row[2], "hello"});
            QVERIFY2(host.says({row[6].toUtf8()}) && host.ends(), qPrintable(row[0]));
            QCOMPARE(QString::number(host.exitCode()), row[5]);
            const bool tried = modem->journal.join().contains("AT+CMGS=");
            QCOMPARE(tried, row[4] == "yes" && !row[2].isEmpty());
            m_bed.authority.grants = true;
            // Nothing stays behind in the daemon.
            QVERIFY(m_bed.witness(0, {"--messaging-list-sms"})["modem.messaging.sms.length"].toInt()
                    == 0);
            if (!tried)
                continue;
            // As it went out: the number with its digits swapped, and the bit of the receipt.
            const QByteArray message = modem->journal.last();
            const auto flags = message.mid(2 + 2 * message.left(2).toInt(nullptr, 16), 2);
            QVERIFY2(message.contains("4306101122F2"), message);
            QCOMPARE((flags.toInt(nullptr, 16) & 0x20) != 0, !row[1].isEmpty());
        }
    }

    // Each costs the values that hang on it and no others, and is told once, however often asked.
    void oddAnswers()
    {
        QHash<QString, QString> all;
        for (const QStringList &row : readTable("fake-modem-odd.txt").mid(1)) {
            FakeManager daemon(m_bed.connection);
            daemon.set(row[1], row[2]);
            Host host({"report", "--json"});
            QVERIFY2(host.ends(), qPrintable(row[0]));
            const QByteArray log = host.readAllStandardError();
            const auto values = host.values(log);
            if (all.isEmpty())
                all = values;
            QStringList lost;
            for (const QStringList &field : m_fields) {
                if (values[field[0]] != all[field[0]])
                    lost << field[0].section('/', -1);
            }
            const bool isAll = row[3] == "ALL" && values["IMEI"].isEmpty() && lost.size() > 9;
            QVERIFY2(isAll || lost.join(' ') == row[3], qPrintable(row[0] + ": " + lost.join(' ')));
            QVERIFY2(log.count("modemmanager: ") == !row[4].isEmpty(), log);
            QVERIFY2(log.contains(row[4].toUtf8()), log);
        }
    }

    // Silence is bounded in time, told once, and over when the daemon answers again.
    void silence()
    {
        FakeManager daemon(m_bed.connection);
        Host watch({"watch", "--json"});
        QVERIFY(watch.says({kImei, "\"new\":\"83F7CD\""}));
        Host stopped({"watch", "--json"});
        QVERIFY(stopped.says({"\"new\":\"83F7CD\""}));
        QTest::qWait(300);
        daemon.answersLeft = 0;
        daemon.change();
        Host report({"report", "--json"});
        QTest::qWait(400); // until each waits for an answer
        QVERIFY(stopped.stop());
        QVERIFY(watch.says({"DeviceUnavailable", "Evenet(6603)"}));
        QVERIFY(report.ends());
        const QByteArray log = report.readAllStandardError();
        QCOMPARE(log.count("modemmanager: "), 1);
        QCOMPARE(report.values(log)["IMEI"], "");
        daemon.answersLeft = 1'000;
        QVERIFY(watch.says({"Evenet(6002)", "DeviceAvailable"}));
    }
};

QTEST_GUILESS_MAIN(tst_ModemManager)
#include "tst_modemmanager.moc"
