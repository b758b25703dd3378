// SPDX-License-Identifier: MIT
#include "CommandLineDashboard.h"
#include "Commands.h"
#include "Explanation.h"
#include "Json.h"
#include "Metrics.h"
#include "Output.h"
#include "Report.h"
#include "Suggestion.h"
#include "VisibleText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString fieldOf(const ReportValues &values, const QString &field)
{
    QStringList fields;
    for (const auto &[path, value] : values) {
        if (path == field)
            return value;
        fields << path;
    }
    failUsage(
        QStringLiteral("the report has no element \"%1\"%2").arg(field, suggestion(field, fields)));
}

QJsonArray toJson(const QList<Explanation> &rows)
{
    QJsonArray array;
    for (const Explanation &row : rows) {
        array.append(QJsonObject{{QStringLiteral("field"), row.path},
                                 {QStringLiteral("value"), row.value},
                                 {QStringLiteral("kind"), row.kind},
                                 {QStringLiteral("origin"), row.origin},
                                 {QStringLiteral("state"), row.state},
                                 {QStringLiteral("reason"), row.reason},
                                 {QStringLiteral("advice"), row.advice}});
    }
    return array;
}

// A line for each element, and one more with the advice if its state is not "ok".
QString toText(const QList<Explanation> &rows)
{
    constexpr int kPathColumn = 38;
    constexpr int kValueColumn = 24;
    constexpr int kStateColumn = 14;
    QString text;
    for (const Explanation &row : rows) {
        const bool ok = row.advice.isEmpty();
        const QString state = row.state.leftJustified(kStateColumn);
        text += row.path.leftJustified(kPathColumn) + visible(row.value).leftJustified(kValueColumn)
            + QLatin1Char(' ') + (ok ? state : colored(state, Color::Yellow)) + QLatin1Char(' ')
            + visible(row.origin.isEmpty() ? row.kind : row.origin) + QLatin1Char('\n');
        if (!ok)
            text += QStringLiteral("    %1: %2\n").arg(visible(row.reason), row.advice);
    }
    return text;
}

void requireOneForm(const CommandLine &line)
{
    if (line.has("xml") + line.has("json") + line.has("field") + line.has("metrics") > 1) {
        failUsage(QStringLiteral("--xml, --json, --field and --metrics exclude each other; choose "
                                 "one"));
    }
    if (line.has("explain") && (line.has("xml") || line.has("field") || line.has("metrics"))) {
        failUsage(QStringLiteral("--explain goes with --json or with neither; leave out --xml, "
                                 "--field and --metrics"));
    }
}

ExitStatus reportMetrics(const CommandLine &line, const QString &labels)
{
    Metrics metrics(labels);
    CommandLineDashboard dashboard(line.hostOptions());
    {
        EventObserver observer(dashboard);
        QObject::connect(&observer, &EventObserver::handled, &observer,
                         [&](const HandledEvent &event) { metrics.add(presentable(event)); });
        observer.observe([&] { dashboard.init(); });
    }
    dashboard.shutDown();
    printPresentable(QString::fromUtf8(metrics.text()));
    if (metrics.reports == 0)
        failRun(QStringLiteral("no report was written: ") + whyNotWritten(dashboard.reportFile()));
    return ExitStatus::Done;
}

} // namespace

ExitStatus runReport(const CommandLine &line)
{
    requireOneForm(line);
    if (const QString labels = line.metricsLabels(); line.has("metrics"))
        return reportMetrics(line, labels);
    const QString field = line.value("field");
    const bool explained = line.has("explain");
    HostOptions options = line.hostOptions();
    options.trace = explained ? &callTrace() : nullptr;
    CommandLineDashboard dashboard(options);
    const QString file = dashboard.reportFile();
    const FileState previous(file);
    const ConfigState previousConfig(dashboard.configFile());
    dashboard.init();
    auto report = readWrittenReport(file, previous);
    const ConfigState currentConfig(dashboard.configFile());
    const QString source = dashboard.deviceService().source();
    const QList<TracedCall> calls = callTrace().reportCalls();
    dashboard.shutDown();

    dashboard.plugin().requireTable(QStringLiteral("tell where it wrote its report"));
    if (!report)
        failRun(QStringLiteral("no report was written: ") + whyNotWritten(file));
    QList<Explanation> rows;
    if (explained)
        rows = explain(report->values, calls, versionFiles(dashboard.root()));
    report->values = presentable(report->values);
    if (const Redactor *const redacting = redactor()) {
        for (Explanation &row : rows)
            row.value = redacting->redacted(row.path, row.value);
    }
    if (line.has("xml")) {
        print(QString::fromUtf8(report->xml));
    } else if (line.has("json")) {
        QJsonObject object{{QStringLiteral("version"), kJsonVersion},
                           {QStringLiteral("source"), source},
                           {QStringLiteral("file"), file},
                           {QStringLiteral("values"), toJson(report->values)}};
        if (explained)
            object.insert(QStringLiteral("explanation"), toJson(rows));
        print(QString::fromUtf8(QJsonDocument(object).toJson()));
    } else if (!field.isEmpty()) {
        print(visible(fieldOf(report->values, field)) + QLatin1Char('\n'));
    } else if (explained) {
        print(toText(rows));
    } else {
        print(table(report->values));
        print(QStringLiteral("\nReport:     %1\nConfig.xml: %2\n")
                  .arg(file, configChange(previousConfig, currentConfig)));
    }
    return ExitStatus::Done;
}
