// SPDX-License-Identifier: MIT

// The same scripted modem first below the real daemon, then on a port: both reports are the same,
// but for what the daemon does not tell.

#include "../modemmanager/TestBed.h"
#include "PtyModem.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

QMap<QString, QString> valuesOf(const QString &card)
{
    QTemporaryDir root;
    HostProcess host({"report", "--json", "--log", "--root", root.path(), "--card", card});
    if (!host.ends())
        return {};
    static const QRegularExpression lock("success  card state = (\\d+)");
    static const QRegularExpression number("strMSISDN=+(.*)");
    const QString log = host.readAllStandardError();
    QMap<QString, QString> values{{"lock", lock.match(log).captured(1)},
                                  {"number", number.match(log).captured(1)}};
    const auto json = QJsonDocument::fromJson(host.readAllStandardOutput());
    const QJsonObject report = json["values"].toObject();
    for (const QString &key : report.keys())
        values[key] = report[key].toString();
    for (const char *key : {"Client/Time", "Client/Command/Device/SmsTriggerState", "Client/SN"})
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
        QVERIFY(byDaemon.contains("Client/Command/Device/Model"));

        PtyModem port(cell("kinds"));
        for (const QString &command : answers.keys())
            port.setAnswer(command.toUtf8(), answers[command].toUtf8());
        QCOMPARE(valuesOf(port.card()), byDaemon);
    }
};

QTEST_GUILESS_MAIN(tst_SerialDaemon)
#include "tst_serialdaemon.moc"
