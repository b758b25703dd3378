// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"
#include "Dashboard.h"

#include <QCommandLineParser>

/// The parsed command line of one command.
class CommandLine
{
public:
    /// Parses the arguments behind the name of the command; the first one is the program's name.
    /// Throws Failure if they are wrong, unless they ask for help.
    CommandLine(const Command &command, const QStringList &arguments);

    bool wantsHelp() const { return has("help"); }
    QString help() const;

    bool has(const char *option) const { return m_parser.isSet(QLatin1String(option)); }

    /// Returns the value of an option, or an empty text if it is not given. Throws Failure for an
    /// empty value.
    QString value(const char *option) const;

    /// Returns the value of --metrics-labels. Throws Failure if it is given without --metrics.
    QString metricsLabels() const;

    /// Returns the values of an option that may be given several times.
    QStringList values(const char *option) const { return m_parser.values(QLatin1String(option)); }

    QStringList positional() const { return m_parser.positionalArguments(); }

    /// Whether the user names another library than those of this installation.
    bool namesLibrary() const { return has("plugin") || has("sdk"); }

    /// Returns the file of --plugin, or the plug-in of this installation.
    QString pluginFile() const;

    HostOptions hostOptions() const;

private:
    [[noreturn]] void failUnknown() const;

    const Command &m_command;
    QCommandLineParser m_parser;
};
