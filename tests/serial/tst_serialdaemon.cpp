// SPDX-License-Identifier: MIT

// The same scripted modem first below the real daemon, then on a port: both reports are the same,
// but for what the daemon does not tell.

#include "../modemmanager/TestBed.h"
#include "PtyModem.h"

namespace {

QMap<QString, QString> valuesOf(const QString &card)
{
    CardHost host({"report", "--json"}, card);
    if (!host.ends())
        return {};
    QMap<QString, QString> values = host.values();
    for (const char *key : {"Time", "Command/Device/SmsTriggerState", "SN"})
        values.remove(key);
    return values;
}

} // namespace

class tst_SerialDaemon : public QObject
{
    Q_OBJECT

private:
    TestBed m_bed;

private Q_SLOTS:
    void cleanup() { m_bed.daemon.end(); }

    void reportsTheSame_data() { addRows("serial-dialects.txt"); }

    void reportsTheSame()
    {
        QHash<QString, QString> answers;
        for (const QString &command : cell("commands").split(' ', Qt::SkipEmptyParts))
            answers[command] = cell("answer").replace("NAME", command.mid(2, command.size() - 3));
        QVERIFY(m_bed.startDaemon());
        ScriptedModem *const modem = m_bed.plug(cell("kinds"), answers);
        QVERIFY(modem);
        const auto byDaemon = valuesOf("modemmanager");
        QVERIFY(byDaemon.contains("Command/Device/Model"));

        PtyModem port(cell("kinds"));
        for (const QString &command : answers.keys())
            port.setAnswer(command, answers[command]);
        QCOMPARE(valuesOf(port.card()), byDaemon);
    }
};

QTEST_GUILESS_MAIN(tst_SerialDaemon)
#include "tst_serialdaemon.moc"
