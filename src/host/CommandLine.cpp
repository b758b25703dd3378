// SPDX-License-Identifier: MIT
#include "CommandLine.h"

#include "Failure.h"
#include "Output.h"

#include <cstdlib>

namespace {

const QString kPlugin = QStringLiteral("plugin");
const QString kSdk = QStringLiteral("sdk");
const QString kCard = QStringLiteral("card");
const QString kRoot = QStringLiteral("root");
const QString kLog = QStringLiteral("log");
const QString kHelp = QStringLiteral("help");

} // namespace

CommandLine::CommandLine(const QString &command, const QString &description) : m_command(command)
{
    m_parser.setApplicationDescription(description);
    m_parser.addOption({{QStringLiteral("h"), kHelp}, QStringLiteral("Show this help.")});
}

void CommandLine::addLibraryOptions()
{
    m_parser.addOptions({
        {kPlugin, QStringLiteral("The plug-in to load."), QStringLiteral("FILE")},
        {kSdk, QStringLiteral("The device-service library to load."), QStringLiteral("FILE")},
    });
}

void CommandLine::addHostOptions()
{
    addLibraryOptions();
    m_parser.addOptions({
        {kCard,
         QStringLiteral("A shipped card, a card file, or a backend with its argument; \"kestrun "
                        "cards\" lists them."),
         QStringLiteral("CARD")},
        {kRoot,
         QStringLiteral(
             "Use DIR in place of \"/\" and of the working directory; DIR is prepared on "
             "first use."),
         QStringLiteral("DIR")},
        {kLog, QStringLiteral("Show the plug-in's log on standard error.")},
    });
}

void CommandLine::addFlag(const QString &name, const QString &description)
{
    m_parser.addOption({name, description});
}

void CommandLine::addArgument(const QString &name, const QString &description,
                              const QString &syntax)
{
    m_parser.addPositionalArgument(name, description, syntax);
}

void CommandLine::read(const QStringList &arguments, qsizetype minimum, qsizetype maximum)
{
    if (!m_parser.parse(arguments))
        failUsage(m_parser.errorText() + QStringLiteral(" --help lists the options."));
    if (m_parser.isSet(kHelp))
        showHelp();
    const qsizetype count = positional().size();
    if (count < minimum)
        failUsage(QStringLiteral("an argument is missing; --help lists the arguments"));
    if (count > maximum) {
        failUsage(QStringLiteral("\"%1\" is one argument too many; --help lists the arguments")
                      .arg(positional().at(maximum)));
    }
}

void CommandLine::showHelp() const
{
    QString help = m_parser.helpText();
    help.insert(help.indexOf(QStringLiteral("[options]")), m_command + QLatin1Char(' '));
    print(help);
    requirePrinted();
    std::exit(0);
}

QString CommandLine::value(const QString &option) const
{
    if (m_parser.isSet(option) && m_parser.value(option).isEmpty())
        failUsage(QStringLiteral("--%1 needs a value").arg(option));
    return m_parser.value(option);
}

QString CommandLine::pluginFile() const
{
    const QString file = value(kPlugin);
    return file.isEmpty() ? PluginLibrary::defaultFile() : file;
}

QString CommandLine::sdkFile() const
{
    return value(kSdk);
}

HostOptions CommandLine::hostOptions() const
{
    return {.plugin = pluginFile(),
            .sdk = sdkFile(),
            .card = value(kCard),
            .root = value(kRoot),
            .log = m_parser.isSet(kLog)};
}
