// SPDX-License-Identifier: MIT
#include "LoadCheck.h"
#include "Output.h"
#include "commands/Commands.h"

#include <QCoreApplication>
#include <QHashSeed>

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

struct Command
{
    const char *name;
    const char *summary;
    ExitStatus (*run)(const QStringList &arguments);
};

ExitStatus runHelp(const QStringList &arguments);

constexpr Command kCommands[] = {
    {"report", "write a report as a dashboard does when it starts, and show it", runReport},
    {"watch", "show signals, rewrites and changed values until Ctrl-C", runWatch},
    {"sms", "send a message, or switch delivery receipts", runSms},
    {"notify", "send the plug-in a message", runNotify},
    {"cards", "list the cards and backends, or the fields of a card file", runCards},
    {"inspect", "show whether a dashboard would accept a plug-in file", runInspect},
    {"help", "show the options of a command, or this list", runHelp},
    {"--version", "show the versions of kestrun and Qt, and the backends", runVersion},
};

QString usage()
{
    QList<std::pair<QString, QString>> rows;
    for (const Command &command : kCommands)
        rows.append(
            {QStringLiteral("  ") + QLatin1String(command.name), QLatin1String(command.summary)});
    return QStringLiteral("Usage: kestrun COMMAND [options]\n\n%1\n\"kestrun help COMMAND\" shows "
                          "the options of a command.\n")
        .arg(table(rows));
}

ExitStatus runCommand(QStringList arguments)
{
    if (arguments.size() < 2)
        failUsage(QStringLiteral("a command is missing\n\n") + usage());
    const QString name = arguments.takeAt(1);
    if (name == QLatin1String("--help") || name == QLatin1String("-h"))
        return runHelp({arguments.at(0)});
    if (name == QLatin1String(kLoadCheckCommand))
        runLoadCheck(arguments.mid(1));
    for (const Command &command : kCommands) {
        if (name == QLatin1String(command.name))
            return command.run(arguments);
    }
    failUsage(QStringLiteral("there is no command \"%1\"\n\n").arg(name) + usage());
}

// "help COMMAND" is "COMMAND --help".
ExitStatus runHelp(const QStringList &arguments)
{
    const QString topic = arguments.value(1, QStringLiteral("--help"));
    if (arguments.size() > 2)
        failUsage(QStringLiteral("help takes one command; \"%1\" is one argument too many")
                      .arg(arguments.at(2)));
    if (topic == QLatin1String("--help") || topic == QLatin1String("-h")) {
        print(usage());
        return ExitStatus::Done;
    }
    return runCommand({arguments.at(0), topic, QStringLiteral("--help")});
}

} // namespace

int main(int argc, char **argv)
{
    openStandardStreams();
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
