// SPDX-License-Identifier: MIT
#include "CommandLine.h"

#include "Failure.h"

namespace {

const QString kPlugin = QStringLiteral("plugin");
const QString kSdk = QStringLiteral("sdk");
const QString kCard = QStringLiteral("card");
const QString kRoot = QStringLiteral("root");
const QString kLog = QStringLiteral("log");

} // namespace

CommandLine::CommandLine(const QString &description)
{
    m_parser.setApplicationDescription(description);
    m_parser.addHelpOption();
}

void CommandLine::addHostOptions()
{
    m_parser.addOptions({
        {kCard,
         QStringLiteral("A shipped card (see \"kestrun cards\"), a card file, or "
                        "modemmanager[:IMEI]."),
         QStringLiteral("CARD")},
        {kRoot,
         QStringLiteral("A directory in whose place \"/\" and the working directory stand; made "
                        "ready on first use."),
         QStringLiteral("DIR")},
        {kPlugin, QStringLiteral("The plug-in to load."), QStringLiteral("FILE")},
        {kSdk, QStringLiteral("The device-service library to load."), QStringLiteral("FILE")},
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

void CommandLine::read(const QStringList &arguments, qsizetype least, qsizetype most)
{
    if (!m_parser.parse(arguments))
        failUsage(m_parser.errorText() + QStringLiteral(" --help lists the options."));
    if (m_parser.isSet(QStringLiteral("help")))
        m_parser.showHelp();
    const qsizetype count = positional().size();
    if (count < least)
        failUsage(QStringLiteral("an argument is missing; --help tells which"));
    if (count > most) {
        failUsage(QStringLiteral("\"%1\" is one argument too many; --help lists them")
                      .arg(positional().at(most)));
    }
}

HostOptions CommandLine::hostOptions() const
{
    const auto value = [&](const QString &name) {
        if (m_parser.isSet(name) && m_parser.value(name).isEmpty())
            failUsage(QStringLiteral("--%1 needs a value").arg(name));
        return m_parser.value(name);
    };
    return {.plugin = value(kPlugin),
            .sdk = value(kSdk),
            .card = value(kCard),
            .root = value(kRoot),
            .log = m_parser.isSet(kLog)};
}
