// SPDX-License-Identifier: MIT
#include "Command.h"

#include "Output.h"
#include "Suggestion.h"
#include "commands/Commands.h"

namespace {

constexpr Option kOutputOptions[] = {
    {"quiet", nullptr, "Show no source of the values and no warnings."},
    {"output", "FILE", "Write to FILE instead of standard output."},
    kRedactOption,
};

constexpr Option kLog = {"log", nullptr, "Show the plug-in's log on standard error."};

constexpr Option kMetricsLabels = {
    "metrics-labels", "imei", "Name the card in the metrics; by default no label has an identity."};

constexpr Option kReportOptions[] = {
    {"xml", nullptr, "Print the file without changes."},
    {"json", nullptr, "Print a JSON object with the values by element path."},
    {"field", "PATH", "Print only the value of one element, for example Client/IMEI."},
    {"metrics", nullptr, "Print metrics of the card and the report as OpenMetrics text."},
    kMetricsLabels,
    {"explain", nullptr, "Show where each value comes from, and why it is empty."},
};

constexpr Option kRecordOptions[] = {
    {"delays", nullptr, "Record how long each function of the device service takes, too."},
    {"at", "COMMAND", "Record the answer to an AT command, too; can be given several times."},
};

constexpr Option kWatchOptions[] = {
    {"json", nullptr, "Print one JSON object on each line."},
    {"metrics", "FILE",
     "Keep FILE current: OpenMetrics text, written at each event and every 60 s."},
    kMetricsLabels,
    {"record", "FILE", "Record each event with the card's state and its effects in a new FILE."},
};

constexpr Option kReplayOptions[] = {
    {"speed", "N", "Replay N times as fast, or without waits with \"max\"; by default 1."},
    {"check", nullptr, "Compare signals, rewrites and values, and end at the first difference."},
    kRootOption,
    kLog,
};

constexpr Option kSmsOptions[] = {
    {"receipt", nullptr, "Ask for delivery receipts before the message is sent."},
};

constexpr Option kInspectOptions[] = {
    {"report", "FILE", "Show whether a report has the right form instead."},
};

constexpr Option kCheckOptions[] = {
    {"json", nullptr, "Print a JSON object."},
};

constexpr Option kCardsOptions[] = {
    {"fields", nullptr, "List the fields of a card file and of a modem file instead."},
    {"ports", nullptr, "List the serial ports instead, and on which a card answers."},
};

constexpr Command kCommands[] = {
    {"report",
     "write a report as a dashboard does when it starts, and show it",
     "Starts the plug-in once, as a dashboard does, and shows the report that it writes.",
     SharedOptions::Host,
     kReportOptions,
     {},
     runReport},
    {"watch",
     "show signals, rewrites and changed values until Ctrl-C",
     "Starts the plug-in and shows its signals, each rewrite of the report and each value that "
     "changes, until Ctrl-C or SIGTERM. Reads commands for the emulated card from standard input: "
     "insert [CARD], remove, event NUMBER, set FIELD VALUE.",
     SharedOptions::Host,
     kWatchOptions,
     {},
     runWatch},
    {"replay",
     "drive the plug-in through a recording of watch --record",
     "Drives the plug-in with an emulated card through the life that \"kestrun watch --record\" "
     "recorded. Uses a temporary root unless --root names one.",
     SharedOptions::Libraries,
     kReplayOptions,
     {"FILE", "The recording.", 1, 1},
     runReplay},
    {"record",
     "ask a card everything, and write a card file that answers alike",
     "Asks a card everything and writes a card file; with --card FILE, the other commands then "
     "work "
     "as with that card. The file is written whole or not at all. No message is sent.",
     SharedOptions::Card,
     kRecordOptions,
     {"FILE", "The card file to write.", 1, 1},
     runRecord},
    {"sms",
     "send a message, or switch delivery receipts",
     "Sends a message, or switches delivery receipts, with the plug-in and the card.",
     SharedOptions::Host,
     kSmsOptions,
     {"send NUMBER TEXT | receipts on|off", "Write -- before a text that begins with a dash.", 2, 3,
      "send receipts"},
     runSms},
    {"notify",
     "send the plug-in a message",
     "Sends the plug-in a message and shows its effect.",
     SharedOptions::Host,
     {},
     {"MESSAGE [P1 P2]", "Numbers such as 4096 or 0x802. These two messages rewrite the report.", 1,
      3},
     runNotify},
    {"cards",
     "list the cards and backends, or the fields of a card file",
     "Lists the values of --card: the shipped cards, the backends of the device service, and the "
     "devices that the backends find.",
     SharedOptions::Libraries,
     kCardsOptions,
     {},
     runCards},
    {"inspect",
     "show whether a dashboard would accept a plug-in file",
     "Shows whether a dashboard would accept a plug-in file, or with --sdk whether the plug-in can "
     "use a device service. Only a child process runs code of the file.",
     SharedOptions::Sdk,
     kInspectOptions,
     {"[FILE]", "The plug-in; without it, that of this installation.", 0, 1},
     runInspect},
    {"check",
     "try whether a device service keeps to its rules",
     "Tries a device service with a list of rules: bounds and forms of texts, callbacks, threads, "
     "messages. Each rule is tried in a child process; no message is sent.",
     SharedOptions::Sdk,
     kCheckOptions,
     {},
     runCheck},
    {"help",
     "show the options of a command, or this list",
     "Shows the options of a command, or the list of commands.",
     SharedOptions::None,
     {},
     {"[COMMAND]", "The command.", 0, 1},
     runHelp},
    {"--version",
     "show the versions of kestrun and Qt, and the backends",
     "Shows the versions of kestrun and Qt, and the backends of the device service.",
     SharedOptions::Libraries,
     {},
     {},
     runVersion},
};

} // namespace

std::span<const Command> commands()
{
    return kCommands;
}

const Command &findCommand(const QString &name)
{
    QStringList names;
    for (const Command &command : kCommands) {
        if (name == QLatin1String(command.name))
            return command;
        names << QLatin1String(command.name);
    }
    failUsage(QStringLiteral("there is no command \"%1\"%2\n\n%3")
                  .arg(name, suggestion(name, names), usage()));
}

QList<Option> optionsOf(const Command &command)
{
    QList<Option> options(command.own.begin(), command.own.end());
    if (command.shared >= SharedOptions::Sdk)
        options << kSdkOption;
    if (command.shared >= SharedOptions::Libraries)
        options << kPluginOption;
    if (command.shared >= SharedOptions::Card)
        options << kCardOption;
    if (command.shared >= SharedOptions::Host)
        options << kRootOption;
    if (command.shared >= SharedOptions::Card)
        options << kLog;
    options.append({std::begin(kOutputOptions), std::end(kOutputOptions)});
    return options;
}

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
