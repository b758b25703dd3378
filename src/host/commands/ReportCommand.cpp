// SPDX-License-Identifier: MIT
#include "CommandLineDashboard.h"
#include "Commands.h"
#include "Json.h"
#include "Metrics.h"
#include "Output.h"
#include "Report.h"
#include "Suggestion.h"
#include "VisibleText.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

QJsonObject toJson(const ReportValues &values)
{
    QJsonObject object;
    for (const auto &[path, value] : values)
        object.insert(path, value);
    return object;
}

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

void requireOneForm(const CommandLine &line)
{
    if (line.has("xml") + line.has("json") + line.has("field") + line.has("metrics") > 1) {
        failUsage(QStringLiteral("--xml, --json, --field and --metrics exclude each other; choose "
                                 "one"));
    }
}

ExitStatus reportMetrics(const CommandLine &line)
{
    Metrics metrics(line.value("metrics-labels"));
    CommandLineDashboard dashboard(line.hostOptions());
    {
        EventObserver observer(dashboard);
        QObject::connect(&observer, &EventObserver::handled, &observer,
                         [&](const HandledEvent &event) { metrics.add(event); });
        observer.observe([&] { dashboard.init(); });
    }
    dashboard.shutDown();
    print(QString::fromUtf8(metrics.text()));
    if (metrics.reports == 0)
        failRun(QStringLiteral("no report was written: ") + whyNotWritten(dashboard.reportFile()));
    return ExitStatus::Done;
}

} // namespace

ExitStatus runReport(const CommandLine &line)
{
    requireOneForm(line);
    if (line.has("metrics"))
        return reportMetrics(line);
    const QString field = line.value("field");
    CommandLineDashboard dashboard(line.hostOptions());
    const QString file = dashboard.reportFile();
    const FileState previous(file);
    const ConfigState previousConfig(dashboard.configFile());
    dashboard.init();
    const auto report = readWrittenReport(file, previous);
    const ConfigState currentConfig(dashboard.configFile());
    const QString source = dashboard.deviceService().source();
    dashboard.shutDown();

    dashboard.plugin().requireTable(QStringLiteral("tell where it wrote its report"));
    if (!report)
        failRun(QStringLiteral("no report was written: ") + whyNotWritten(file));
    if (line.has("xml")) {
        print(QString::fromUtf8(report->xml));
    } else if (line.has("json")) {
        const QJsonObject object{{QStringLiteral("version"), kJsonVersion},
                                 {QStringLiteral("source"), source},
                                 {QStringLiteral("file"), file},
                                 {QStringLiteral("values"), toJson(report->values)}};
        print(QString::fromUtf8(QJsonDocument(object).toJson()));
    } else if (!field.isEmpty()) {
        print(visible(fieldOf(report->values, field)) + QLatin1Char('\n'));
    } else {
        print(table(report->values));
        print(QStringLiteral("\nReport:     %1\nConfig.xml: %2\n")
                  .arg(file, configChange(previousConfig, currentConfig)));
    }
    return ExitStatus::Done;
}
