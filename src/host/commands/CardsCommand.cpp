// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"

ExitStatus runCards(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("cards"),
                     QStringLiteral("Lists the cards that the device service brings along."));
    line.addLibraryOptions();
    line.addFlag(QStringLiteral("fields"),
                 QStringLiteral("List the fields of a card file instead."));
    line.read(arguments);

    const DeviceServiceLibrary library(line.sdkFile(), line.pluginFile());
    const DeviceServiceControl &control = library.requireControl();
    const auto next = line.has(QStringLiteral("fields")) ? control.cardField : control.shippedCard;
    QList<std::pair<QString, QString>> rows;
    const char *about = nullptr;
    for (std::int32_t index = 0; const char *name = next(index, &about); ++index)
        rows.append({QString::fromUtf8(name), QString::fromUtf8(about)});
    print(table(rows));
    return ExitStatus::Done;
}
