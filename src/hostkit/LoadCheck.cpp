// SPDX-License-Identifier: MIT
#include "LoadCheck.h"

#include "DeviceServiceLibrary.h"
#include "PluginLibrary.h"
#include "Trial.h"

namespace {

constexpr int kTimeoutMs = 10'000;

// The child tells this and a line with the file when it has loaded the device service. A message
// that refuses a library may follow.
constexpr char kServiceLoaded = '\n';

} // namespace

LoadResult checkLoading(const QString &sdk, const QString &plugin)
{
    const TrialResult result = runTrial({QLatin1String(kLoadCheckCommand), sdk, plugin},
                                        kTimeoutMs);
    if (!result.notStarted.isEmpty()) {
        return {sdk,
                QStringLiteral("the libraries cannot be checked in a child process: %1; try again")
                    .arg(result.notStarted),
                {}};
    }
    QString answer = QString::fromUtf8(result.answer);
    const bool serviceLoaded = answer.startsWith(QLatin1Char(kServiceLoaded));
    QString service = sdk;
    if (serviceLoaded) {
        service = answer.section(QLatin1Char('\n'), 1, 1);
        answer = answer.section(QLatin1Char('\n'), 2);
    }
    if (result.ending.isEmpty())
        return {service, {}, answer};
    const QString fatal = serviceLoaded
        ? QStringLiteral("the plug-in %1 %2 while it is loaded; use another one with --plugin FILE")
              .arg(plugin, result.ending)
        : QStringLiteral("the device service %1 %2 while it is loaded; use another one with "
                         "--sdk FILE")
              .arg(sdk, result.ending);
    return {service, fatal, {}};
}

QString requireLoadingReturns(const QString &sdk, const QString &plugin)
{
    const LoadResult result = checkLoading(sdk, plugin);
    if (!result.fatal.isEmpty())
        failRun(result.fatal);
    return result.service;
}

void runLoadCheck(const QStringList &files)
{
    answerTrial([&](const TellParent &tell) {
        const DeviceServiceLibrary service(files.value(0));
        tell(kServiceLoaded + service.loadedFile().toUtf8() + '\n');
        if (!files.value(1).isEmpty()) {
            PluginLibrary plugin(files.value(1));
            plugin.load();
            plugin.instance();
        }
    });
}
