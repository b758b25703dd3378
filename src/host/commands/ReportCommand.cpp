// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"
#include "Report.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QByteArray readWritten(const QString &file, const FileState &previous)
{
    QFile report(file);
    if (FileState(file) == previous || !report.open(QIODevice::ReadOnly))
        return {};
    return report.readAll();
}

QJsonDocument toJson(const ReportValues &values)
{
    QJsonObject object;
    for (const auto &[path, value] : values)
        object.insert(path, value);
    return QJsonDocument(object);
}

} // namespace

ExitStatus runReport(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("report"),
                     QStringLiteral("Starts the plug-in once, as a dashboard does, and shows the "
                                    "report that it writes."));
    line.addHostOptions();
    line.addFlag(QStringLiteral("xml"), QStringLiteral("Print the file without changes."));
    line.addFlag(QStringLiteral("json"), QStringLiteral("Print the values by element path."));
    line.read(arguments);

    Dashboard dashboard(line.hostOptions());
    const QString file = dashboard.reportFile();
    const FileState previous(file);
    const ConfigState previousConfig(dashboard.configFile());
    dashboard.init();
    const QByteArray xml = readWritten(file, previous);
    const ConfigState currentConfig(dashboard.configFile());
    dashboard.shutDown();

    dashboard.plugin().requireTable(QStringLiteral("tell where it wrote its report"));
    const auto values = reportValues(xml);
    if (!values)
        failRun(QStringLiteral("no report was written: ") + whyNotWritten(file));
    if (line.has(QStringLiteral("xml"))) {
        print(QString::fromUtf8(xml));
    } else if (line.has(QStringLiteral("json"))) {
        print(QString::fromUtf8(toJson(*values).toJson()));
    } else {
        print(table(*values));
        print(QStringLiteral("\nReport:     %1\nConfig.xml: %2\n")
                  .arg(file, configChange(previousConfig, currentConfig)));
    }
    return ExitStatus::Done;
}
