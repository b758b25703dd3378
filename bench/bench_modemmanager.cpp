// SPDX-License-Identifier: MIT

// Measures reports on a modem of the real daemon against the daemon's own client, and on a machine
// with many modems and messages against one with a single modem; prints the ratios of one run.
#include "Bench.h"
#include "TestBed.h"
#include "devsrv/DeviceServiceControl.h"

#include <QEventLoop>

#include <algorithm>
#include <dlfcn.h>
#include <future>

namespace {

bool s_shell = true;

} // namespace

// Replaces the C library's function, to leave the commands out of what is measured.
extern "C" int system(const char *command)
{
    static const auto real = reinterpret_cast<int (*)(const char *)>(dlsym(RTLD_NEXT, "system"));
    return s_shell ? real(command) : 0;
}

namespace {

void discard(QtMsgType, const QMessageLogContext &, const QString &) {}

// The least of several times: whatever else the machine does only adds.
template <typename Action>
double best(int count, Action action)
{
    double least = milliseconds(action);
    for (int run = 1; run < count; ++run)
        least = std::min(least, milliseconds(action));
    return least;
}

// Runs `action` on another thread, since the peers on the bus answer on this one.
template <typename Action>
auto elsewhere(Action action)
{
    auto future = std::async(std::launch::async, action);
    while (future.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    return future.get();
}

void start(const char *backend)
{
    const int failed = elsewhere([=] { return DevSrv_GetControl()->start(backend); });
    if (failed)
        qFatal("%s", DevSrv_GetControl()->lastError());
}

// A report without its shell commands, in this process.
double reportMs()
{
    return elsewhere(
        [] { return best(200, [] { CCollectionDataLogic::GetInstance()->WriteDataToFile(); }); });
}

// A program from its start to its end.
double programMs(const QString &program, const QStringList &arguments)
{
    return best(100, [&] {
        Child child;
        QEventLoop loop;
        QObject::connect(&child, &QProcess::finished, &loop, [&] { loop.quit(); });
        child.start(program, arguments);
        loop.exec();
    });
}

double fakeReportMs(TestBed &bed, int modems, int messages)
{
    FakeManager daemon(bed.connection);
    daemon.modems = modems;
    daemon.messages = messages;
    // A daemon that passes on no commands, as the real one.
    daemon.set("Command", "s:" + kService + ".Error.Core.Unauthorized");
    daemon.errorText = "Cannot send AT command to modem: operation only allowed in debug mode";
    start("modemmanager");
    return reportMs();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler(discard);
    const QTemporaryDir root;
    moveTo(root.path());

    TestBed bed;
    if (!bed.startDaemon() || !bed.plug(QStringLiteral("gsm umts"))) {
        std::fprintf(stderr, "the modem daemon does not run\n");
        return 1;
    }
    start("modemmanager");
    const double client = programMs(QStringLiteral(MMCLI), {"-m", "any"});
    const QStringList report{"report", "--root", root.filePath("host"), "--card", "modemmanager"};
    const double host = programMs(QStringLiteral(HOST), report);
    const QStringList emulated{"report", "--root", root.filePath("host"), "--card", "lte"};
    const double emulatedHost = programMs(QStringLiteral(HOST), emulated);
    s_shell = false;
    const double inProcess = reportMs();
    bed.daemon.end();
    const double one = fakeReportMs(bed, 1, 0);
    const double many = fakeReportMs(bed, 50, 1'000);
    elsewhere([] { DevSrv_GetControl()->stop(); });

    row("mmcli -m any", client, "ms", "");
    row("modem: report without the commands", inProcess, "ms", "");
    row("modem: report without the commands / mmcli -m any", inProcess / client, "x",
        "goal: at most 0.1");
    row("modem: kestrun report, from exec to exit / mmcli -m any", host / client, "x",
        "goal: at most 2");
    row("emulated card: kestrun report / mmcli -m any", emulatedHost / client, "x", "");
    row("modem: report, 50 modems and 1,000 messages each / one", many / one, "x",
        "goal: at most 1.2");
    return 0;
}
