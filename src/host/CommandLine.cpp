// SPDX-License-Identifier: MIT
#include "CommandLine.h"

#include "Failure.h"
#include "Suggestion.h"

CommandLine::CommandLine(const Command &command, const QStringList &arguments) : m_command(command)
{
    m_parser.setApplicationDescription(QLatin1String(command.description));
    for (const Option &option : optionsOf(command)) {
        m_parser.addOption({QLatin1String(option.name), QLatin1String(option.help),
                            option.value ? QLatin1String(option.value) : QString()});
    }
    m_parser.addOption(
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")});
    const Arguments &positionals = command.arguments;
    if (positionals.maximum > 0) {
        m_parser.addPositionalArgument(QLatin1String(positionals.syntax),
                                       QLatin1String(positionals.help),
                                       QLatin1String(positionals.syntax));
    }
    if (!m_parser.parse(arguments))
        failUnknown();
    if (wantsHelp())
        return;
    const qsizetype count = positional().size();
    if (count < positionals.minimum)
        failUsage(QStringLiteral("an argument is missing; --help lists the arguments"));
    if (count > positionals.maximum) {
        failUsage(QStringLiteral("\"%1\" is one argument too many; --help lists the arguments")
                      .arg(positional().at(positionals.maximum)));
    }
}

void CommandLine::failUnknown() const
{
    const QStringList unknown = m_parser.unknownOptionNames();
    if (unknown.isEmpty())
        failUsage(m_parser.errorText() + QStringLiteral(" --help lists the options."));
    QStringList known{QStringLiteral("--help")};
    for (const Option &option : optionsOf(m_command))
        known << QStringLiteral("--") + QLatin1String(option.name);
    const QString name = QString(unknown.constFirst().size() == 1 ? 1 : 2, QLatin1Char('-'))
        + unknown.constFirst();
    const QString similar = suggestion(name, known);
    failUsage(
        QStringLiteral("there is no option \"%1\"%2")
            .arg(name, similar.isEmpty() ? QStringLiteral("; --help lists the options") : similar));
}

QString CommandLine::help() const
{
    QString help = m_parser.helpText();
    help.insert(help.indexOf(QStringLiteral("[options]")),
                QLatin1String(m_command.name) + QLatin1Char(' '));
    return help;
}

QString CommandLine::value(const char *option) const
{
    QString value = m_parser.value(QLatin1String(option));
    if (has(option) && value.isEmpty())
        failUsage(QStringLiteral("--%1 needs a value").arg(QLatin1String(option)));
    return value;
}

QString CommandLine::metricsLabels() const
{
    if (has("metrics-labels") && !has("metrics"))
        failUsage(
            QStringLiteral("--metrics-labels goes with --metrics; add that, or leave it out"));
    return value("metrics-labels");
}

QString CommandLine::pluginFile() const
{
    const QString file = value("plugin");
    return file.isEmpty() ? PluginLibrary::defaultFile() : file;
}

HostOptions CommandLine::hostOptions() const
{
    return {.plugin = pluginFile(),
            .sdk = value("sdk"),
            .tried = namesLibrary(),
            .card = value("card"),
            .root = value("root"),
            .log = has("log")};
}
