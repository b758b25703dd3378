// SPDX-License-Identifier: MIT
#include "CommandLineDashboard.h"
#include "Commands.h"
#include "Latin1.h"
#include "Output.h"

namespace {

// Returns the messages in the journal of the emulated card, one a line.
QString sentMessages(const DeviceServiceLibrary &service)
{
    QString lines;
    if (!service.control())
        return lines;
    const QString journal = QString::fromUtf8(service.control()->journal());
    for (const QString &line : journal.split(QLatin1Char('\n'))) {
        if (line.startsWith(QStringLiteral("SMS ")))
            lines += line + QLatin1Char('\n');
    }
    return lines;
}

void send(const CommandLine &line)
{
    const QString number = line.positional().at(1);
    const QString text = line.positional().at(2);
    if (Redactor *const redacting = redactor()) {
        redacting->learn(Redactor::Kind::Number, number);
        redacting->learn(Redactor::Kind::Text, text);
    }
    requireLatin1(QStringLiteral("number"), number);
    requireLatin1(QStringLiteral("text"), text);
    CommandLineDashboard dashboard(line.hostOptions());
    const KestrunHostTable &table = dashboard.plugin().requireTable(
        QStringLiteral("send messages"));
    dashboard.init();
    if (line.has("receipt") && table.setReceipts(1) != KESTRUN_ACCEPTED)
        failRun(QStringLiteral("the device service refused delivery receipts; nothing was sent"));
    if (table.sendSms(number.toUtf8().constData(), text.toUtf8().constData()) != KESTRUN_ACCEPTED)
        failRun(QStringLiteral("the device service refused the message; --log shows the result"));
    print(QStringLiteral("The device service accepted the message.\n")
          + sentMessages(dashboard.deviceService()));
}

void setReceipts(const CommandLine &line)
{
    const QString choice = line.positional().at(1);
    const bool on = choice == QLatin1String("on");
    if (!on && choice != QLatin1String("off"))
        failUsage(QStringLiteral("\"%1\" is neither on nor off").arg(choice));
    CommandLineDashboard dashboard(line.hostOptions());
    const KestrunHostTable &table = dashboard.plugin().requireTable(
        QStringLiteral("switch delivery receipts"));
    dashboard.init();
    if (table.setReceipts(on) != KESTRUN_ACCEPTED)
        failRun(QStringLiteral("the device service refused the setting; --log shows the result"));
    print(QStringLiteral("The device service accepted the setting: delivery receipts %1.\n")
              .arg(choice));
}

} // namespace

ExitStatus runSms(const CommandLine &line)
{
    const QString what = line.positional().at(0);
    const qsizetype count = line.positional().size();
    if (what == QLatin1String("send") && count == 3)
        send(line);
    else if (what == QLatin1String("receipts") && count == 2)
        setReceipts(line);
    else
        failUsage(QStringLiteral("write \"sms send NUMBER TEXT\" or \"sms receipts on|off\""));
    return ExitStatus::Done;
}
