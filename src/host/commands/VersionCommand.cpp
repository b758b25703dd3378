// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"

#include <QtGlobal>

ExitStatus runVersion(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("--version"),
                     QStringLiteral("Shows the version of kestrun, and of Qt as it runs."));
    line.read(arguments);

    print(table({{QStringLiteral("kestrun"), QStringLiteral(KESTRUN_VERSION)},
                 {QStringLiteral("Qt"), QLatin1String(qVersion())}}));
    return ExitStatus::Done;
}
