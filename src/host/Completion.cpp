// SPDX-License-Identifier: MIT
#include "Completion.h"

#include "Command.h"
#include "DeviceServiceLibrary.h"
#include "Output.h"
#include "PluginLibrary.h"
#include "ReportCheck.h"

#include <algorithm>

namespace {

QStringList commandNames()
{
    QStringList names;
    for (const Command &command : commands())
        names << QLatin1String(command.name);
    return names;
}

QStringList optionNames(const Command &command)
{
    QStringList names{QStringLiteral("--help")};
    for (const Option &option : optionsOf(command))
        names << QStringLiteral("--") + QLatin1String(option.name);
    return names;
}

// Whether the word is an option with a value, which is then the next word.
bool takesValue(const Command &command, const QString &word)
{
    const QList<Option> options = optionsOf(command);
    return std::any_of(options.begin(), options.end(), [&](const Option &option) {
        return option.value && word == QStringLiteral("--") + QLatin1String(option.name);
    });
}

QStringList cardNames()
{
    const QString file = DeviceServiceLibrary::find({}, PluginLibrary::defaultFile());
    return DeviceServiceLibrary(file).cardNames();
}

QStringList candidates(const QStringList &words)
{
    if (words.size() < 2)
        return commandNames() << QStringLiteral("--help");
    const Command &command = findCommand(words.constFirst());
    const QString &previous = words.at(words.size() - 2);
    if (takesValue(command, previous)) {
        if (previous == QLatin1String("--field"))
            return reportFields();
        return previous == QLatin1String("--card") ? cardNames() : QStringList();
    }
    if (words.constLast().startsWith(QLatin1Char('-')))
        return optionNames(command);
    if (words.size() > 2)
        return {};
    if (command.run == findCommand(QStringLiteral("help")).run)
        return commandNames();
    return QString::fromLatin1(command.arguments.words).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

void printCompletions(const QStringList &words)
{
    const QString begun = words.isEmpty() ? QString() : words.constLast();
    for (const QString &candidate : candidates(words)) {
        if (candidate.startsWith(begun))
            print(candidate + QLatin1Char('\n'));
    }
}
