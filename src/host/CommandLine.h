// SPDX-License-Identifier: MIT
#pragma once

#include "Dashboard.h"

#include <QCommandLineParser>

/// The command line of one command: its options, those that all commands share, and --help.
class CommandLine
{
public:
    explicit CommandLine(const QString &description);

    /// Adds --plugin, --sdk, --card, --root and --log.
    void addHostOptions();
    void addFlag(const QString &name, const QString &description);
    void addArgument(const QString &name, const QString &description, const QString &syntax = {});

    /// Reads the arguments; prints the help and ends the program if that is asked for. The number
    /// of positional arguments must lie between `least` and `most`. Throws Failure.
    void read(const QStringList &arguments, qsizetype least = 0, qsizetype most = 0);

    HostOptions hostOptions() const;
    bool has(const QString &flag) const { return m_parser.isSet(flag); }
    QStringList positional() const { return m_parser.positionalArguments(); }

private:
    QCommandLineParser m_parser;
};
