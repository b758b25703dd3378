// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "Output.h"

ExitStatus runHelp(const CommandLine &line)
{
    if (line.positional().isEmpty()) {
        print(usage());
        return ExitStatus::Done;
    }
    const Command &command = findCommand(line.positional().constFirst());
    print(CommandLine(command, {QString(), QStringLiteral("--help")}).help());
    return ExitStatus::Done;
}
