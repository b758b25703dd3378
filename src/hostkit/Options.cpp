// SPDX-License-Identifier: MIT
#include "Options.h"

std::optional<Redactor::Extent> takeRedaction(QStringList &arguments)
{
    const QString option = QStringLiteral("--redact");
    std::optional<Redactor::Extent> extent;
    for (QString &argument : arguments) {
        if (argument == QLatin1String("--"))
            break;
        if (argument == option)
            extent = Redactor::Extent::Usual;
        else if (argument == option + QStringLiteral("=all"))
            extent = Redactor::Extent::All;
        else
            continue;
        argument = option;
    }
    return extent;
}
