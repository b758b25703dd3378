// SPDX-License-Identifier: MIT
#pragma once

#include "Dashboard.h"

#include <QCommandLineParser>

/// The command line of one command: its options, those that all commands share, and --help.
class CommandLine
{
public:
    CommandLine(const QString &command, const QString &description);

    /// Adds --plugin and --sdk.
    void addLibraryOptions();

    /// Adds those two, and --card, --root and --log.
    void addHostOptions();
    void addFlag(const QString &name, const QString &description);
    void addArgument(const QString &name, const QString &description, const QString &syntax = {});

    /// Reads the arguments; prints the help and ends the program if that is asked for. The number
    /// of positional arguments must lie between `least` and `most`. Throws Failure.
    void read(const QStringList &arguments, qsizetype least = 0, qsizetype most = 0);

    /// The plug-in that is named, or else this installation's.
    QString pluginFile() const;

    /// The device service that is named; empty if none is.
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
