// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "LoadCheck.h"
#include "Output.h"

#include <cstddef>

namespace {

QList<std::pair<QString, QString>> backendRows(const DeviceServiceLibrary &library)
{
    QList<std::pair<QString, QString>> rows;
    for (const DevSrvBackend &backend : library.backends()) {
        QString help = QString::fromUtf8(backend.help);
        if (!backend.built) {
            // The option may be on and its library missing.
            help += QStringLiteral(" (not built; %1 and its library are needed)")
                        .arg(QString::fromUtf8(backend.option));
        }
        rows.append({QString::fromUtf8(backend.name) + QString::fromUtf8(backend.argument), help});
    }
    return rows;
}

// To find out which port has a card, commands have to be sent to each: only the user starts that.
QList<std::pair<QString, QString>> deviceRows(const DeviceServiceLibrary &library, bool ports)
{
    QList<std::pair<QString, QString>> rows;
    for (const DevSrvBackend &backend : library.backends()) {
        if ((qstrcmp(backend.name, "serial") == 0) != ports)
            continue;
        QString why;
        rows += library.devices(backend.name, why);
        if (!why.isEmpty())
            rows.append({QString::fromUtf8(backend.name), why});
    }
    return rows;
}

// The rows of a list of the control interface: a name, and what is said of it.
QList<std::pair<QString, QString>> rowsOf(const char *(*next)(std::int32_t, const char **),
                                          const QString &prefix = {}, const QString &about = {})
{
    QList<std::pair<QString, QString>> rows;
    const char *text = nullptr;
    for (std::int32_t index = 0; const char *name = next(index, &text); ++index)
        rows.append({prefix + QString::fromUtf8(name), about + QString::fromUtf8(text)});
    return rows;
}

QList<std::pair<QString, QString>> fieldRows(const DeviceServiceControl &control)
{
    auto rows = rowsOf(control.cardField);
    if (control.size > offsetof(DeviceServiceControl, modemField)) {
        rows += rowsOf(control.modemField, QStringLiteral("Commands/"),
                       QStringLiteral("in a modem file: "));
    }
    return rows;
}

} // namespace

ExitStatus runCards(const CommandLine &line)
{
    const QString file = DeviceServiceLibrary::find(line.value("sdk"), line.pluginFile());
    if (line.namesLibrary())
        requireLoadingReturns(file, {});
    const DeviceServiceLibrary library(file);
    const DeviceServiceControl &control = library.requireControl();
    if (line.has("fields"))
        print(table(fieldRows(control)));
    else if (line.has("ports"))
        print(table(deviceRows(library, true)));
    else
        print(
            table(rowsOf(control.shippedCard) + backendRows(library) + deviceRows(library, false)));
    return ExitStatus::Done;
}
