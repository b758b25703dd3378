// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "Output.h"

ExitStatus runHelp(const CommandLine &line)
{
    const QStringList names = line.positional();
    if (names.isEmpty()) {
        print(usage());
        return ExitStatus::Done;
    }
    const Command &command = findCommand(names.constFirst());
    print(CommandLine(command, {QString(), QStringLiteral("--help")}).help());
    return ExitStatus::Done;
}
