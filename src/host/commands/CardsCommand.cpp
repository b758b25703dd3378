// SPDX-License-Identifier: MIT
#include "CardList.h"
#include "Commands.h"
#include "LoadCheck.h"
#include "Output.h"

#include <cstddef>

namespace {

NamedValues fieldRows(const DeviceServiceControl &control)
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
