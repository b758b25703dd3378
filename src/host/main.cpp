// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "Completion.h"
#include "Conformance.h"
#include "LoadCheck.h"
#include "Output.h"
#include "ProcessSetup.h"

#include <QCoreApplication>

namespace {

ExitStatus runCommand(QStringList arguments)
{
    if (const auto extent = takeRedaction(arguments))
        setRedaction(*extent);
    if (arguments.size() < 2)
        failUsage(QStringLiteral("a command is missing\n\n") + usage());
    QString name = arguments.takeAt(1);
    if (name == QLatin1String(kLoadCheckCommand))
        runLoadCheck(arguments.mid(1));
    if (name == QLatin1String(kConformanceCommand))
        runConformance(arguments.mid(1));
    if (name == QLatin1String(kCompleteCommand)) {
        printCompletions(arguments.mid(1));
        return ExitStatus::Done;
    }
    if (name == QLatin1String("--help") || name == QLatin1String("-h"))
        name = QStringLiteral("help");
    const Command &command = findCommand(name);
    const CommandLine line(command, arguments);
    if (line.has("output"))
        setOutputFile(line.value("output"));
    setQuiet(line.has("quiet"));
    if (!line.wantsHelp())
        return command.run(line);
    print(line.help());
    return ExitStatus::Done;
}

} // namespace

int main(int argc, char **argv)
{
    prepareProcess();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kestrun"));
    try {
        const ExitStatus status = runCommand(QCoreApplication::arguments());
        requirePrinted();
        return static_cast<int>(status);
    } catch (const Failure &failure) {
        printError(QStringLiteral("kestrun: ") + failure.message);
        return static_cast<int>(failure.status);
    }
}
