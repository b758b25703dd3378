// SPDX-License-Identifier: MIT
#include "Trial.h"

#include "Failure.h"
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

// A library may end the process with 0 or 1.
constexpr int kReturned = 42;

void prepareChild()
{
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
#if defined(Q_OS_LINUX)
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
}

QString howItEnded(QProcess &child, int timeoutMs, bool inTime)
{
    if (!inTime)
        return QStringLiteral("does not return within %1 s").arg(timeoutMs / 1000);
    if (child.exitStatus() == QProcess::CrashExit) {
        return QStringLiteral("crashes (%1)")
            .arg(QString::fromLocal8Bit(strsignal(child.exitCode())));
    }
    if (child.exitCode() == kReturned)
        return {};
    const QString said = QString::fromUtf8(child.readAllStandardError()).trimmed();
    return QStringLiteral("ends the process with status %1%2")
        .arg(child.exitCode())
        .arg(said.isEmpty() ? said : QStringLiteral(" (\"%1\")").arg(visible(said)));
}

} // namespace

TrialResult runTrial(const QStringList &arguments, int timeoutMs)
{
    QProcess child;
    child.setChildProcessModifier(prepareChild);
    child.start(QCoreApplication::applicationFilePath(), arguments);
    const bool inTime = child.waitForFinished(timeoutMs);
    if (child.error() == QProcess::FailedToStart)
        return {.notStarted = child.errorString(), .ending = {}, .answer = {}};
    TrialResult result{
        .notStarted = {}, .ending = howItEnded(child, timeoutMs, inTime), .answer = {}};
    child.kill();
    child.waitForFinished();
    result.answer = child.readAllStandardOutput();
    return result;
}

void answerTrial(const std::function<void(const TellParent &tell)> &work)
{
    // What the libraries print must not look like an answer to the parent.
    const int parent = dup(STDOUT_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    const auto tell = [parent](const QByteArray &answer) {
        [[maybe_unused]] const ssize_t written = write(parent, answer.constData(),
                                                       static_cast<std::size_t>(answer.size()));
    };
    try {
        work(tell);
    } catch (const Failure &failure) {
        tell(failure.message.toUtf8());
    }
    _exit(kReturned);
}
