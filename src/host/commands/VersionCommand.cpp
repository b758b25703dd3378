// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "LoadCheck.h"
#include "Output.h"

#include <QtGlobal>

namespace {

// Returns the backends that are built into the device service, or why they are not known.
QString builtBackends(const CommandLine &line)
{
    try {
        const QString file = DeviceServiceLibrary::find(line.value("sdk"), line.pluginFile());
        if (line.namesLibrary())
            requireLoadingReturns(file, {});
        const DeviceServiceLibrary library(file);
        QStringList names;
        for (const DevSrvBackend &backend : library.backends()) {
            if (backend.built)
                names << QString::fromUtf8(backend.name);
        }
        return names.join(QStringLiteral(", "));
    } catch (const Failure &failure) {
        return QStringLiteral("(%1)").arg(failure.message);
    }
}

} // namespace

ExitStatus runVersion(const CommandLine &line)
{
    print(table({{QStringLiteral("kestrun"), QStringLiteral(KESTRUN_VERSION)},
                 {QStringLiteral("Qt"), QLatin1String(qVersion())},
                 {QStringLiteral("backends"), builtBackends(line)}}));
    return ExitStatus::Done;
}
