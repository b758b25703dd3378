// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "LoadCheck.h"
#include "Output.h"

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

QList<std::pair<QString, QString>> deviceRows(const DeviceServiceLibrary &library)
{
    QList<std::pair<QString, QString>> rows;
    for (const DevSrvBackend &backend : library.backends()) {
        QString why;
        rows += library.devices(backend.name, why);
        if (!why.isEmpty())
            rows.append({QString::fromUtf8(backend.name), why});
    }
    return rows;
}

} // namespace

ExitStatus runCards(const CommandLine &line)
{
    const QString file = DeviceServiceLibrary::find(line.value("sdk"), line.pluginFile());
    requireLoadingReturns(file, {});
    const DeviceServiceLibrary library(file);
    const DeviceServiceControl &control = library.requireControl();
    const bool fields = line.has("fields");
    const auto next = fields ? control.cardField : control.shippedCard;
    QList<std::pair<QString, QString>> rows;
    const char *about = nullptr;
    for (std::int32_t index = 0; const char *name = next(index, &about); ++index)
        rows.append({QString::fromUtf8(name), QString::fromUtf8(about)});
    if (!fields)
        rows += backendRows(library) + deviceRows(library);
    print(table(rows));
    return ExitStatus::Done;
}
