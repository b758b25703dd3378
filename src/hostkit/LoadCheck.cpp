// SPDX-License-Identifier: MIT
#include "LoadCheck.h"

#include "DeviceServiceLibrary.h"
#include "PluginLibrary.h"
#include "Trial.h"

namespace {

constexpr int kTimeoutMs = 10'000;

// The child tells this when it has loaded the device service. A message that refuses a library may
// follow.
constexpr char kServiceLoaded = '\n';

} // namespace

LoadResult checkLoading(const QString &sdk, const QString &plugin)
{
    const TrialResult result = runTrial({QLatin1String(kLoadCheckCommand), sdk, plugin},
                                        kTimeoutMs);
    if (!result.notStarted.isEmpty()) {
        return {QStringLiteral("the libraries cannot be checked in a child process: %1; try again")
                    .arg(result.notStarted),
                {}};
    }
    const bool serviceLoaded = result.answer.startsWith(kServiceLoaded);
    if (result.ending.isEmpty())
        return {{}, QString::fromUtf8(result.answer.mid(serviceLoaded ? 1 : 0))};
    const QString fatal = serviceLoaded
        ? QStringLiteral("the plug-in %1 %2 while it is loaded; use another one with --plugin FILE")
              .arg(plugin, result.ending)
        : QStringLiteral("the device service %1 %2 while it is loaded; use another one with "
                         "--sdk FILE")
              .arg(sdk, result.ending);
    return {fatal, {}};
}

void requireLoadingReturns(const QString &sdk, const QString &plugin)
{
    if (const QString fatal = checkLoading(sdk, plugin).fatal; !fatal.isEmpty())
        failRun(fatal);
}

void runLoadCheck(const QStringList &files)
{
    answerTrial([&](const TellParent &tell) {
        const DeviceServiceLibrary service(files.value(0));
        tell(QByteArray(1, kServiceLoaded));
        if (!files.value(1).isEmpty()) {
            PluginLibrary plugin(files.value(1));
            plugin.load();
            plugin.instance();
        }
    });
}
