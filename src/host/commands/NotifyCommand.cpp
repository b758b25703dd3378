// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"
#include "Report.h"

#include <QRegularExpression>

namespace {

unsigned int toNumber(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^(0[xX][0-9a-fA-F]+|[0-9]+)$"));
    bool ok = form.match(text).hasMatch();
    const int base = text.startsWith(QStringLiteral("0x"), Qt::CaseInsensitive) ? 16 : 10;
    const unsigned int number = ok ? text.toUInt(&ok, base) : 0;
    if (!ok) {
        failUsage(
            QStringLiteral("\"%1\" is not a number; write it as 4096 or 0x1000, up to 0xffffffff")
                .arg(text));
    }
    return number;
}

} // namespace

ExitStatus runNotify(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("notify"),
                     QStringLiteral("Sends the plug-in a message and shows its effect."));
    line.addHostOptions();
    line.addArgument(QStringLiteral("message"),
                     QStringLiteral("A number; 4096 and 0x802 rewrite the report."));
    line.addArgument(QStringLiteral("p1 p2"), QStringLiteral("The two parameters of the message."),
                     QStringLiteral("[p1 p2]"));
    line.read(arguments, 1, 3);
    QList<unsigned int> numbers;
    for (const QString &text : line.positional())
        numbers << toNumber(text);
    if (numbers.size() == 2)
        failUsage(QStringLiteral("give two parameters or none"));
    numbers.resize(3);

    Dashboard dashboard(line.hostOptions());
    dashboard.init();
    const QString file = dashboard.reportFile();
    const FileState snapshot(file);
    const int result = dashboard.notify(numbers.at(0), numbers.at(1), numbers.at(2));
    const bool rewritten = !(FileState(file) == snapshot);
    QString effect = rewritten ? QStringLiteral("the report was rewritten")
                               : QStringLiteral("the report was not rewritten");
    if (file.isEmpty())
        effect = QStringLiteral("the plug-in does not tell where it writes its report");
    print(QStringLiteral("Result %1; %2.\n").arg(result).arg(effect));
    return ExitStatus::Done;
}
