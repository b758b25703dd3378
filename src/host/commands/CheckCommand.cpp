// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "Conformance.h"
#include "Json.h"
#include "LoadCheck.h"
#include "Output.h"
#include "VisibleText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

using Mark = ConformanceResult::Mark;

// How a mark is shown, and how it is counted in the last line and named in JSON.
struct Shown
{
    const char *mark;
    Color color;
    const char *name;
};

Shown shown(Mark mark)
{
    switch (mark) {
    case Mark::Passed:
        return {"ok   ", Color::Green, "passed"};
    case Mark::Failed:
        return {"BAD  ", Color::Red, "failed"};
    case Mark::Untried:
        break;
    }
    return {"?    ", Color::Yellow, "not tried"};
}

QList<ConformanceResult> check(const QString &file)
{
    const LoadResult loading = checkLoading(file, {});
    const QString why = loading.fatal + loading.refusal;
    const ConformanceResult first{QStringLiteral("loading"),
                                  why.isEmpty() ? Mark::Passed : Mark::Failed, why};
    return why.isEmpty() ? QList{first} + checkConformance(file) : QList{first};
}

// Leaves out the values of the card, which the details have in quotes.
QList<ConformanceResult> redacted(QList<ConformanceResult> results)
{
    for (ConformanceResult &result : results) {
        if (result.detail.contains(QLatin1Char('"')))
            result.detail = QStringLiteral("not shown, because it has values of the card");
    }
    return results;
}

int count(const QList<ConformanceResult> &results, Mark mark)
{
    return int(std::count_if(results.begin(), results.end(),
                             [mark](const auto &result) { return result.mark == mark; }));
}

QString toText(const QString &file, const QList<ConformanceResult> &results)
{
    QList<std::pair<QString, QString>> rows;
    for (const ConformanceResult &result : results)
        rows.append({result.name, result.detail});
    const QStringList lines = table(rows).split(QLatin1Char('\n'));
    QString text;
    for (qsizetype index = 0; index < results.size(); ++index) {
        const Shown mark = shown(results.at(index).mark);
        text += colored(QLatin1String(mark.mark), mark.color) + lines.at(index) + QLatin1Char('\n');
    }
    QStringList counts;
    for (const Mark mark : {Mark::Passed, Mark::Failed, Mark::Untried})
        counts << QStringLiteral("%1 %2")
                      .arg(count(results, mark))
                      .arg(QLatin1String(shown(mark).name));
    return text
        + QStringLiteral("\n%1: %2.\n").arg(visible(file), counts.join(QStringLiteral(", ")));
}

QByteArray toJson(const QString &file, const QList<ConformanceResult> &results)
{
    QJsonArray checks;
    for (const ConformanceResult &result : results) {
        checks.append(
            QJsonObject{{QStringLiteral("name"), result.name},
                        {QStringLiteral("result"), QLatin1String(shown(result.mark).name)},
                        {QStringLiteral("detail"), result.detail}});
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("version"), kJsonVersion},
                                     {QStringLiteral("file"), file},
                                     {QStringLiteral("checks"), checks}})
        .toJson();
}

} // namespace

ExitStatus runCheck(const CommandLine &line)
{
    const QString file = DeviceServiceLibrary::find(line.value("sdk"),
                                                    PluginLibrary::defaultFile());
    const QList<ConformanceResult> results = redactor() ? redacted(check(file)) : check(file);
    print(line.has("json") ? QString::fromUtf8(toJson(file, results)) : toText(file, results));
    return count(results, Mark::Failed) == 0 ? ExitStatus::Done : ExitStatus::NotDone;
}
