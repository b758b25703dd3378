// SPDX-License-Identifier: MIT
#pragma once

#include "Dashboard.h"

#include <QCommandLineParser>

/// The command line of one command: its own options, the shared options and --help.
class CommandLine
{
public:
    CommandLine(const QString &command, const QString &description);

    /// Adds --plugin and --sdk.
    void addLibraryOptions();

    /// Adds --plugin, --sdk, --card, --root and --log.
    void addHostOptions();
    void addFlag(const QString &name, const QString &description);
    void addArgument(const QString &name, const QString &description, const QString &syntax = {});

    /// Parses the arguments. With --help, prints the help and ends the program. Throws Failure if
    /// they are wrong, also if the number of positional arguments is not between `minimum` and
    /// `maximum`.
    void read(const QStringList &arguments, qsizetype minimum = 0, qsizetype maximum = 0);

    /// Returns the file of --plugin, or the plug-in of this installation.
    QString pluginFile() const;

    /// Returns the file of --sdk, or an empty text.
    QString sdkFile() const;

    HostOptions hostOptions() const;
    bool has(const QString &flag) const { return m_parser.isSet(flag); }
    QStringList positional() const { return m_parser.positionalArguments(); }

private:
    [[noreturn]] void showHelp() const;
    QString value(const QString &option) const;

    const QString m_command;
    QCommandLineParser m_parser;
};
