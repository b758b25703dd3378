// SPDX-License-Identifier: MIT

// Runs the command on the "modemmanager" backend, either with the real daemon and scripted modems
// or with a fake daemon that gives wrong answers.

#include "Schema.h"
#include "TestBed.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

namespace {

constexpr char kImei[] = "490154203237518";

using Host = CardHost;

// The events that the plug-in received, by its log, sorted: two threads deliver them.
QStringList eventsIn(const QByteArray &log)
{
    static const QRegularExpression event("Dev Evenet\\((\\d+)\\)");
    QStringList events;
    for (const auto &match : event.globalMatch(log))
        events << match.captured(1);
    events.sort();
    return events;
}

} // namespace

class tst_ModemManager : public QObject
{
    Q_OBJECT

private:
    TestBed m_bed;
    QTemporaryDir m_directory;
    const QList<TableRow> m_fields = readTable("modem-fields.txt");
    QMap<QString, QString> m_usual; // the values of the fake daemon's unchanged modem

private Q_SLOTS:
    void cleanup()
    {
        m_bed.daemon.end();
        m_bed.authority.grants = true;
    }

    void reportsWhatTheDaemonTells()
    {
        QVERIFY(m_bed.startDaemon());
        const QStringList modems{"cdma",    "gsm umts",        "gsm umts hspa",
                                 "gsm lte", "gsm umts no-sim", "gsm lte locked"};
        ScriptedModem *modem = nullptr;
        for (const QString &kinds : modems)
            QVERIFY2((modem = m_bed.plug(kinds)), qPrintable(kinds));

        // Without authorization to enable the modem the report has what a disabled modem tells.
        m_bed.authority.grants = false;
        Host refused({"report", "--json"}, QString("modemmanager:") + kImei);
        QVERIFY(refused.says({"Enable failed: org.freedesktop.ModemManager1.Error.Core.Unauth",
                              "grants org.freedesktop.ModemManager1.Device.Control"}));
        QVERIFY(refused.ends());
        m_bed.authority.grants = true;

        QStringList lines;
        for (int number = 0; number < modems.size(); ++number) {
            // The modem of the lowest number is the default.
            auto seen = m_bed.witness(number);
            const QString card = "modemmanager"
                + (number > 0 ? ":" + seen["modem.generic.equipment-identifier"] : QString());
            Host host({"report", "--json", "--explain"}, card);
            QVERIFY(host.ends());
            const QByteArray json = host.readAllStandardOutput();
            const auto values = host.values(json, host.readAllStandardError());
            QVERIFY(isValidReport(readFile(host.file)));
            for (const QJsonValue row : QJsonDocument::fromJson(json)["explanation"].toArray()) {
                const QString state = row["state"].toString();
                const QString value = row["value"].toString();
                QVERIFY2(value.isEmpty() != (state == "ok"), qPrintable(row["field"].toString()));
                QVERIFY2(state == "ok" || !row["advice"].toString().isEmpty(), qPrintable(state));
            }

            Host redacted({"report", "--xml", "--redact=all"}, card);
            QVERIFY(redacted.ends());
            const QByteArray shown = redacted.readAllStandardOutput()
                + redacted.readAllStandardError();
            for (const char *field : {"IMEI", "IMSI", "ESN", "MEID", "MSISDN",
                                      "Command/Network/CellID", "Command/Network/PLMN"}) {
                const QByteArray identity = values[field].toLatin1();
                QVERIFY2(identity.isEmpty() || !shown.contains(identity), identity.constData());
            }

            const QString file = m_directory.filePath("record.ini");
            HostProcess record({"record", file, "--card", card});
            QVERIFY(record.ends());
            QCOMPARE(record.exitCode(), 0);
            Host replay({"report", "--json"}, file);
            QVERIFY(replay.ends());
            QCOMPARE(replay.values(), values);

            seen = m_bed.witness(number);
            seen.insert(m_bed.witness(number, {"--location-get"}));
            if (values["Command/Network/AcT"] == "LTE")
                seen["modem.location.3gpp.lac"] = seen["modem.location.3gpp.tac"];
            for (const TableRow &field : m_fields) {
                const QString value = values[field["field"]];
                const QString other = seen[field["witness"]];
                lines << modems[number] + ": " + field["field"] + '=' + value;
                // Hexadecimal numbers are padded in different ways.
                if (!field["witness"].isEmpty() && value != other)
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

    // The life of the modem is recorded; the emulated card then lives through the same.
    void watchesModemAndDaemonComeAndGo()
    {
        const QTemporaryDir directory;
        const QString recording = directory.filePath("life.jsonl");
        Host host({"watch", "--json", "--record", recording});
        QVERIFY(host.says({"the daemon does not run", "\"type\":\"report\""}));
        QVERIFY(m_bed.startDaemon(true));
        ScriptedModem *modem = m_bed.plug("gsm umts");
        QVERIFY(modem);
        QVERIFY(host.says({kImei, "DeviceAvailable", "\"new\":\"83F7CD\"", "Evenet(6614)"}));
        QCOMPARE(eventsIn(host.said).mid(0, 2), QStringList({"6002", "6014"}));
        modem->say("+CREG: 1,\"31C5\",\"83F7CE\",2");
        QVERIFY(host.says({"\"new\":\"83F7CE\",\"old\":\"83F7CD\""}));

        // At most one event per quarter of a second reports the changes.
        QElapsedTimer timer;
        timer.start();
        for (int cell = 0x100001; cell <= 0x100000 + 1'000; ++cell) {
            modem->say("+CREG: 1,\"31C5\",\"" + QByteArray::number(cell, 16) + "\",2");
            QCoreApplication::processEvents();
            QTest::qSleep(1);
        }
        QVERIFY(host.says({"\"new\":\"1003E8\""}));
        QVERIFY(eventsIn(host.said).size() <= timer.elapsed() / 250 + 1);

        QVERIFY(m_bed.inhibit(*modem, true));
        QVERIFY(host.says({"DeviceUnavailable", "\"new\":\"\",\"old\":\"490154203237518\""}));
        QStringList events = eventsIn(host.said);
        events.removeAll("6614"); // of the last changes, which the report before already had
        QCOMPARE(events, QStringList({"6002", "6601"}));
        QVERIFY(m_bed.inhibit(*modem, false));
        QVERIFY(host.says({"DeviceAvailable", "\"new\":\"490154203237518\"", "Evenet(6614)"}));
        m_bed.daemon.end();
        QVERIFY(host.says({"DeviceUnavailable", "Evenet(6603)"}));
        QVERIFY(m_bed.startDaemon());
        QVERIFY(m_bed.plugAgain(*modem));
        QVERIFY(host.says({"Evenet(6002)", "DeviceAvailable", "Evenet(6614)"}));

        // A modem that its user disables is not enabled again.
        QVERIFY(m_bed.call(kPath + "/Modem/0", kService + ".Modem", "Enable", {false}));
        QVERIFY(host.says({"Evenet(6614)"}));
        QTest::qWait(500);
        QCOMPARE(m_bed.witness(0)["modem.generic.state"], "disabled");

        QVERIFY(host.stop());
        HostProcess replay({"replay", recording, "--speed", "max", "--check"});
        QVERIFY(replay.says({"6603   DeviceUnavailable", "; no difference"}) && replay.ends());
    }

    void completesReportWhenModemOrDaemonBreaksDown()
    {
        QVERIFY(m_bed.startDaemon(true));
        ScriptedModem *modem = m_bed.plug("gsm umts");
        QVERIFY(modem);
        Host first({"report", "--json"});
        QVERIFY(
            first.says({"Response data: \\015\\012^RSTRIGGER: 1\\015\\012\\015\\012OK\\015\\012"})
            && first.ends());
        modem->answers["AT^RSTRIGGER?"] = "ERROR";
        Host second({"report", "--json"});
        QVERIFY(second.says({"Response data: \\015\\012ERROR\\015\\012"}) && second.ends());

        modem->answers["AT^RSTRIGGER?"] = "silence";
        for (const QString how : {"silent", "unplugged", "killed"}) {
            modem->journal.clear();
            Host host({"report", "--json"}, "modemmanager?at-timeout=2");
            QTRY_VERIFY_WITH_TIMEOUT(modem->journal.contains("AT^RSTRIGGER?"), 10'000);
            if (how == "unplugged")
                QVERIFY(m_bed.inhibit(*modem, true));
            else if (how == "killed")
                m_bed.daemon.end();
            QVERIFY2(host.ends(), qPrintable(how));
            QCOMPARE(host.exitCode(), 0);
            // The report goes on with the modem with which it began. The file may already have the
            // next report, of which the modem's end is the reason.
            const QByteArray log = host.readAllStandardError();
            QCOMPARE(host.values(log)["Command/Device/SmsTriggerState"], "");
            QVERIFY(log.contains(QByteArray("strIMEI===========") + kImei));
            QVERIFY(log.contains("strCellID===========83F7CD"));
            if (how == "unplugged")
                QVERIFY(m_bed.inhibit(*modem, false) && m_bed.waitForModem(1));
        }
    }

    void sendsSms()
    {
        QVERIFY(m_bed.startDaemon());
        ScriptedModem *modem = m_bed.plug("gsm umts");
        QVERIFY(modem);
        for (const TableRow &row : readTable("modem-sms.txt")) {
            modem->journal.clear();
            modem->answers["message"] = row["network"];
            m_bed.authority.grants = row["authorized"] == "yes";
            Host host(QStringList{"sms"} + row["options"].split(' ', Qt::SkipEmptyParts)
                      + QStringList{"send", row["number"], "hello"});
            QVERIFY2(host.says({row["says"].toUtf8()}) && host.ends(), qPrintable(row["case"]));
            QCOMPARE(QString::number(host.exitCode()), row["status"]);
            const bool tried = modem->journal.join().contains("AT+CMGS=");
            QCOMPARE(tried, m_bed.authority.grants && !row["number"].isEmpty());
            m_bed.authority.grants = true;
            // The message is not left in the daemon.
            QVERIFY(m_bed.witness(0, {"--messaging-list-sms"})["modem.messaging.sms.length"].toInt()
                    == 0);
            if (!tried)
                continue;
            // The PDU has the number with its digits swapped, and the bit for the receipt.
            const QByteArray message = modem->journal.last();
            const auto flags = message.mid(2 + 2 * message.left(2).toInt(nullptr, 16), 2);
            QVERIFY2(message.contains("4306101122F2"), message);
            QCOMPARE((flags.toInt(nullptr, 16) & 0x20) != 0, !row["options"].isEmpty());
        }
    }

    void losesOnlyTheValuesOfAWrongAnswer_data() { addRows("fake-modem-odd.txt"); }

    void losesOnlyTheValuesOfAWrongAnswer()
    {
        FakeManager daemon(m_bed.connection);
        if (m_usual.isEmpty()) {
            Host usual({"report", "--json"});
            QVERIFY(usual.ends());
            m_usual = usual.values();
            QCOMPARE(m_usual["IMEI"], kImei);
        }
        daemon.set(cell("what"), cell("value"));
        Host host({"report", "--json"});
        QVERIFY(host.ends());
        const QByteArray log = host.readAllStandardError();
        const auto values = host.values(log);
        QVERIFY(isValidReport(readFile(host.file)));
        QStringList lost;
        for (const TableRow &row : m_fields) {
            if (const QString field = row["field"]; values[field] != m_usual[field])
                lost << field.section('/', -1);
        }
        if (cell("lost") == "ALL")
            QVERIFY(values["IMEI"].isEmpty() && lost.size() > 9);
        else
            QTEST(lost.join(' '), "lost");
        // One warning, however often the value is asked for.
        const auto warnings = log.count("modemmanager: ") + log.count("device service: ");
        QVERIFY2(warnings == !cell("warning").isEmpty(), log);
        QVERIFY2(log.contains(cell("warning").toUtf8()), log);
    }

    void keepsTheMirrorOfASilentDaemon()
    {
        FakeManager daemon(m_bed.connection);
        Host watch({"watch", "--json"}, "modemmanager?at-timeout=1");
        QVERIFY(watch.says({kImei, "\"new\":\"83F7CD\""}));
        daemon.isSilent = true;
        daemon.change("Modem.Location.Location", "place:214,07,31C5,83F7CE,0");
        QVERIFY(watch.says({"Evenet(6614)", "\"new\":\"83F7CE\""}));
        // A new process has no mirror.
        Host report({"report", "--json"});
        QVERIFY(report.ends());
        const QByteArray log = report.readAllStandardError();
        QCOMPARE(log.count("modemmanager: "), 1);
        QCOMPARE(report.values(log)["IMEI"], "");
        QVERIFY(watch.stop());
        QVERIFY(!watch.said.contains("DeviceUnavailable"));
    }
};

QTEST_GUILESS_MAIN(tst_ModemManager)
#include "tst_modemmanager.moc"
