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

NamedValues cardRows(const DeviceServiceLibrary &library, bool ports)
{
    NamedValues rows;
    if (!ports)
        rows = rowsOf(library.requireControl().shippedCard) + backendRows(library);
    const DeviceList devices = findDevices(library, ports);
    return rows + devices.rows + devices.failures;
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
    else
        print(table(cardRows(library, line.has("ports"))));
    return ExitStatus::Done;
}
