// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "Completion.h"
#include "Conformance.h"
#include "LoadCheck.h"
#include "Output.h"

#include <QCoreApplication>
#include <QHashSeed>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// If a standard stream is closed, the next file that is opened would take its place.
void openStandardStreams()
{
    int descriptor = 0;
    do
        descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

// Takes the extent from the option, which the parser then knows without a value. Everything that is
// printed later is redacted, also the complaint about another argument.
void startRedaction(QStringList &arguments)
{
    const QString option = QStringLiteral("--redact");
    for (QString &argument : arguments) {
        if (argument == QLatin1String("--"))
            return;
        if (argument == option)
            setRedaction(Redactor::Extent::Usual);
        else if (argument == option + QStringLiteral("=all"))
            setRedaction(Redactor::Extent::All);
        else
            continue;
        argument = option;
    }
}

ExitStatus runCommand(QStringList arguments)
{
    startRedaction(arguments);
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
    openStandardStreams();
    // A file that must not grow makes a write fail, and does not end the program.
    std::signal(SIGXFSZ, [](int) {});
    // The plug-in writes the attributes of "Config.xml" in hash order; a fixed seed makes that
    // order the same in each run.
    QHashSeed::setDeterministicGlobalSeed();
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
