// SPDX-License-Identifier: MIT

// Measures reports on a scripted modem on a serial port, each of whose answers takes 20 ms, against
// the same number of answers to a program that does no more than read and write.
#include "Bench.h"
#include "devsrv/DeviceServiceControl.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kAnswerMs = 20;
constexpr int kRounds = 10;

// The commands that the modem has received since it was asked the last time.
int commandCount(QProcess &modem)
{
    while (modem.waitForReadyRead(kAnswerMs)) {}
    return static_cast<int>(modem.readAllStandardOutput().count("<- "));
}

struct Measured
{
    double ms;
    int answers;
};

Measured report(QProcess &modem)
{
    commandCount(modem);
    const double ms = milliseconds([] { CCollectionDataLogic::GetInstance()->WriteDataToFile(); });
    return {ms, commandCount(modem)};
}

// The mean time of an answer if the port is only written and read.
double answerMs(const QByteArray &path, int count)
{
    const int port = ::open(path.constData(), O_RDWR | O_NOCTTY);
    const double ms = milliseconds([&] {
        for (int answer = 0; answer < count; ++answer) {
            QByteArray line;
            char bytes[256];
            ssize_t size = ::write(port, "AT\r", 3);
            while (size > 0 && !line.contains("OK\r\n")) {
                size = ::read(port, bytes, sizeof bytes);
                line.append(bytes, static_cast<qsizetype>(size));
            }
        }
    });
    ::close(port);
    return ms / count;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const QTemporaryDir root;
    moveTo(root.path());

    QProcess modem;
    modem.start(QStringLiteral(MODEM), {QStringLiteral("--delay"), QString::number(kAnswerMs)});
    if (!modem.waitForReadyRead()) {
        std::printf("The scripted modem did not start: the serial port was not measured.\n");
        return 1;
    }
    const QByteArray port = modem.readLine().trimmed();
    const QByteArray card = "serial:" + port;
    const DeviceServiceControl &control = *DevSrv_GetControl();
    // The best of the rounds: what else the machine does only adds.
    double first = 1e9;
    double second = 1e9;
    double answers = 1e9;
    double answer = 0;
    for (int round = 0; round < kRounds; ++round) {
        if (control.start(card.constData()) != 0) {
            std::printf("%s\n", control.lastError());
            return 1;
        }
        const Measured measured = report(modem);
        first = std::min(first, measured.ms);
        second = std::min(second, report(modem).ms);
        control.stop();
        commandCount(modem);
        answer = answerMs(port, measured.answers);
        answers = std::min(answers, answer * measured.answers);
    }
    modem.kill();
    modem.waitForFinished();

    row("first report on a serial port, less 2 ms / its answers", (first - 2) / answers, "x",
        "goal: at most 1.05");
    row("second report / answers of the first", second / answers, "x", "goal: at most 0.2");
    row("one answer of the modem, which waits 20 ms", answer, "ms", "");
    return 0;
}
