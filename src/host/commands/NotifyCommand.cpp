// SPDX-License-Identifier: MIT
#include "CommandLineDashboard.h"
#include "Commands.h"
#include "Output.h"
#include "Report.h"

#include <QRegularExpression>

#include <algorithm>

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

// The plug-in answers 0 to every message, also if it cannot write.
bool asksForReport(unsigned int message)
{
    constexpr unsigned int kMessages[] = {4096, 2050};
    return std::find(std::begin(kMessages), std::end(kMessages), message) != std::end(kMessages);
}

} // namespace

ExitStatus runNotify(const CommandLine &line)
{
    QList<unsigned int> numbers;
    for (const QString &text : line.positional())
        numbers << toNumber(text);
    if (numbers.size() == 2)
        failUsage(QStringLiteral("give two parameters or none"));
    numbers.resize(3);

    CommandLineDashboard dashboard(line.hostOptions());
    dashboard.init();
    const QString file = dashboard.reportFile();
    const FileState snapshot(file);
    const int result = dashboard.notify(numbers.at(0), numbers.at(1), numbers.at(2));
    if (file.isEmpty()) {
        print(QStringLiteral("Result %1; the plug-in does not tell where it writes its report.\n")
                  .arg(result));
        return ExitStatus::Done;
    }
    const bool rewritten = readWrittenReport(file, snapshot).has_value();
    if (!rewritten && asksForReport(numbers.at(0)))
        failRun(QStringLiteral("the report was not written: ") + whyNotWritten(file));
    print(QStringLiteral("Result %1; the report was %2.\n")
              .arg(result)
              .arg(rewritten ? QStringLiteral("rewritten") : QStringLiteral("not rewritten")));
    return ExitStatus::Done;
}
