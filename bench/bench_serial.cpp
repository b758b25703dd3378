// SPDX-License-Identifier: MIT

// Measures reports on a scripted modem on a serial port, each of whose answers takes 20 ms, against
// the answers that it gave.
#include "devsrv/DeviceServiceControl.h"
#include "kestrun/CollectionDataLogic.h"
#include "kestrun/KestrunHostTable.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr int kAnswerMs = 20;

// The commands that the modem has received since it was asked the last time.
int commandCount(QProcess &modem)
{
    while (modem.waitForReadyRead(kAnswerMs)) {}
    return static_cast<int>(modem.readAllStandardOutput().count("<- "));
}

struct Measured
{
    double reportMs;
    double answersMs;
};

Measured report(QProcess &modem)
{
    commandCount(modem);
    QElapsedTimer timer;
    timer.start();
    CCollectionDataLogic::GetInstance()->WriteDataToFile();
    const double ms = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    return {ms, static_cast<double>(commandCount(modem)) * kAnswerMs};
}

void row(const char *what, double value, const char *unit, const char *goal)
{
    std::printf("%-58s %9.3f %-4s %s\n", what, value, unit, goal);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const QTemporaryDir root;
    KestrunSetSystemRoot(root.path().toUtf8().constData());
    QDir::setCurrent(root.path());
    std::wstring path;
    CCollectionDataLogic::GetInstance()->GetPath(path);
    QDir().mkpath(QString::fromStdWString(path));

    QProcess modem;
    modem.start(QStringLiteral(MODEM), {QStringLiteral("--delay"), QString::number(kAnswerMs)});
    if (!modem.waitForReadyRead()) {
        std::printf("The scripted modem did not start: the serial port was not measured.\n");
        return 1;
    }
    const QByteArray card = "serial:" + modem.readLine().trimmed();
    const DeviceServiceControl &control = *DevSrv_GetControl();
    if (control.start(card.constData()) != 0) {
        std::printf("%s\n", control.lastError());
        return 1;
    }
    const Measured first = report(modem);
    const Measured second = report(modem);
    control.stop();
    modem.kill();
    modem.waitForFinished();

    row("first report on a serial port, less 2 ms / its answers",
        (first.reportMs - 2) / first.answersMs, "x", "goal: at most 1.05");
    row("second report / first report", second.reportMs / first.reportMs, "x", "goal: at most 0.2");
    row("answers of the first report", first.answersMs, "ms", "");
    return 0;
}
