// SPDX-License-Identifier: MIT
#include "LoadCheck.h"

#include "DeviceServiceLibrary.h"
#include "PluginLibrary.h"
#include "VisibleText.h"

#include <QCoreApplication>
#include <QProcess>

#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <unistd.h>
#if defined(Q_OS_LINUX)
#include <sys/prctl.h>
#endif

namespace {

constexpr int kTimeoutMs = 10'000;

// A library may end the process with 0 or 1.
constexpr int kReturned = 42;

// When the child has loaded the device service, it writes this and a line with the file to standard
// output. A message that refuses a library may follow.
constexpr char kServiceLoaded = '\n';

void prepareChild()
{
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
#if defined(Q_OS_LINUX)
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
}

QString howItEnded(QProcess &child, bool inTime)
{
    if (!inTime)
        return QStringLiteral("does not return within %1 s").arg(kTimeoutMs / 1000);
    if (child.exitStatus() == QProcess::CrashExit) {
        return QStringLiteral("crashes (%1)")
            .arg(QString::fromLocal8Bit(strsignal(child.exitCode())));
    }
    const QString said = QString::fromUtf8(child.readAllStandardError()).trimmed();
    return QStringLiteral("ends the process with status %1%2")
        .arg(child.exitCode())
        .arg(said.isEmpty() ? said : QStringLiteral(" (\"%1\")").arg(visible(said)));
}

} // namespace

LoadResult checkLoading(const QString &sdk, const QString &plugin)
{
    QProcess child;
    child.setChildProcessModifier(prepareChild);
    child.start(QCoreApplication::applicationFilePath(),
                {QLatin1String(kLoadCheckCommand), sdk, plugin});
    const bool inTime = child.waitForFinished(kTimeoutMs);
    if (child.error() == QProcess::FailedToStart) {
        return {sdk,
                QStringLiteral("the libraries cannot be checked in a child process: %1; try again")
                    .arg(child.errorString()),
                {}};
    }
    const QString ending = howItEnded(child, inTime);
    child.kill();
    child.waitForFinished();
    QString answer = QString::fromUtf8(child.readAllStandardOutput());
    const bool serviceLoaded = answer.startsWith(QLatin1Char(kServiceLoaded));
    QString service = sdk;
    if (serviceLoaded) {
        service = answer.section(QLatin1Char('\n'), 1, 1);
        answer = answer.section(QLatin1Char('\n'), 2);
    }
    if (inTime && child.exitStatus() == QProcess::NormalExit && child.exitCode() == kReturned)
        return {service, {}, answer};
    const QString fatal = serviceLoaded
        ? QStringLiteral("the plug-in %1 %2 while it is loaded; use another one with --plugin FILE")
              .arg(plugin, ending)
        : QStringLiteral("the device service %1 %2 while it is loaded; use another one with "
                         "--sdk FILE")
              .arg(sdk, ending);
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
    // What the libraries print must not look like a report to the parent.
    const int parent = dup(STDOUT_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    const auto tell = [parent](const QByteArray &answer) {
        [[maybe_unused]] const ssize_t written = write(parent, answer.constData(),
                                                       static_cast<std::size_t>(answer.size()));
    };
    try {
        const DeviceServiceLibrary service(files.value(0));
        tell(kServiceLoaded + service.loadedFile().toUtf8() + '\n');
        if (!files.value(1).isEmpty()) {
            PluginLibrary plugin(files.value(1));
            plugin.load();
            plugin.instance();
        }
    } catch (const Failure &failure) {
        tell(failure.message.toUtf8());
    }
    _exit(kReturned);
}
