// SPDX-License-Identifier: MIT
#pragma once

#include "Failure.h"
#include "Options.h"

#include <QList>
#include <QString>

#include <span>

class CommandLine;

/// What the arguments of a command are.
struct Arguments
{
    const char *syntax = "";
    const char *help = "";
    int minimum = 0;
    int maximum = 0;
    const char *words = ""; ///< possible first arguments, separated by blanks
};

/// The options that several commands share.
enum class SharedOptions { None, Sdk, Libraries, Card, Host };

/// One command of the host. Help, completion and the command line are made from it.
struct Command
{
    const char *name;
    const char *summary;     ///< one line in the list of commands
    const char *description; ///< in its help
    SharedOptions shared;
    std::span<const Option> own;
    Arguments arguments;
    ExitStatus (*run)(const CommandLine &line);
};

std::span<const Command> commands();

/// Returns the command of that name. Throws Failure if there is none.
const Command &findCommand(const QString &name);

/// Returns all options of a command except --help.
QList<Option> optionsOf(const Command &command);

/// Returns the list of commands.
QString usage();
