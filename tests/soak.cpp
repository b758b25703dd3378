// SPDX-License-Identifier: MIT

// Eight threads use the plug-in and the device service at the same time, for as many minutes as the
// argument says. Prints a table; exits with 1 if memory grows, something is lost or a wait is long.
#include "../bench/ResidentMemory.h"
#include "TestData.h"
#include "TestSupport.h"
#include "kestrun/CollectionDataLogic.h"

#include <QDir>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <malloc.h>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// What is lost is waited for as long as this.
constexpr milliseconds kLongestWait{10'000};
constexpr long kLargestGrowthKiB = 64;
constexpr milliseconds kSampleInterval{2'000};

const DeviceServiceControl &control = *DevSrv_GetControl();

std::atomic<bool> s_stop;
std::atomic<long> s_reports;
std::atomic<long> s_events;
std::atomic<long> s_available;

// Held by a thread that needs the card that it has just changed: which card is active, and whether
// it is present, does not change meanwhile.
std::mutex s_cardMutex;

// Held by each step of the threads, so that a sample is taken when no step is under way. The flag
// keeps the threads from starving the sampler.
std::shared_mutex s_stepMutex;
std::atomic<bool> s_sampling;

std::mutex s_failureMutex;
QStringList s_failures;

void fail(const QString &what)
{
    const std::lock_guard lock(s_failureMutex);
    s_failures << what;
    s_stop = true;
}

// What a kind of step took.
struct Wait
{
    const char *what;
    std::atomic<long> count = 0;
    std::atomic<long> longestMs = 0;

    void add(Clock::duration time)
    {
        const long ms = std::chrono::duration_cast<milliseconds>(time).count();
        ++count;
        long longest = longestMs;
        while (longest < ms && !longestMs.compare_exchange_weak(longest, ms)) {}
        if (ms > kLongestWait.count())
            fail(QStringLiteral("%1: lost, or took %2 ms").arg(what).arg(ms));
    }
};

Wait s_signal{"insert() to DeviceAvailable()"};
Wait s_rewrite{"a changed field to its report"};
Wait s_request{"request of a report"};
Wait s_sms{"SMS"};
Wait s_start{"start() of a backend"};
Wait *const kWaits[] = {&s_signal, &s_rewrite, &s_request, &s_sms, &s_start};

// Waits until the condition holds, and counts the time.
void awaitCondition(Wait &wait, const std::function<bool()> &condition)
{
    const auto begin = Clock::now();
    while (!condition() && Clock::now() - begin <= kLongestWait)
        std::this_thread::sleep_for(milliseconds(1));
    wait.add(Clock::now() - begin);
}

void measure(Wait &wait, const std::function<void()> &action)
{
    const auto begin = Clock::now();
    action();
    wait.add(Clock::now() - begin);
}

void countReports(QtMsgType, const QMessageLogContext &, const QString &message)
{
    if (message == QLatin1String("Read Config.xml file:"))
        ++s_reports;
}

int countEvent(int, void *)
{
    ++s_events;
    return 1;
}

using Random = std::mt19937;

// The card is removed and inserted at once; the signal of the second event must arrive.
void changePresence(Random &)
{
    const std::lock_guard lock(s_cardMutex);
    const long before = s_available;
    control.remove();
    control.insert();
    awaitCondition(s_signal, [=] { return s_available > before; });
}

void raiseEvents(Random &random)
{
    constexpr int kEvents[] = {6002, 6016, 6614, 9999};
    control.raiseEvent(kEvents[random() % std::size(kEvents)]);
}

void sendSms(Random &random)
{
    auto *const controller = CCollectionDataLogic::GetInstance();
    measure(s_sms, [&] {
        controller->SmsReportSetting(random() % 2);
        controller->SendSMS("+4930123456", "soak");
    });
}

void requestReports(Random &)
{
    measure(s_request, [] { CCollectionDataLogic::GetInstance()->Notify(4096, 0, 0); });
}

// Replaces the backend, and changes a field: the event of the change must lead to a report with it.
void replaceBackends(Random &random, const QString &report)
{
    constexpr const char *kBackends[] = {"emulated:lte", "emulated:td-scdma", "emulated"};
    const std::lock_guard lock(s_cardMutex);
    measure(s_start, [&] { control.start(kBackends[random() % std::size(kBackends)]); });
    const QByteArray value = QByteArray::number(static_cast<uint>(random()));
    control.setField("SN", value.constData());
    const QByteArray element = "<SN>" + value + "</SN>";
    awaitCondition(s_rewrite, [&] { return readFile(report).contains(element); });
}

// A third of the faults are none. The functions that the other threads' checks depend on have none.
void changeFaults(Random &random)
{
    constexpr const char *kFunctions[] = {
        "ZEPA_DevSrv_GetImeiInfo",        "ZEPA_DevSrv_GetESN",
        "ZEPA_DevSrv_GetFirmwareVersion", "ZEPA_NetSrv_GetCurPlmn",
        "ZEPA_SMSSrv_CreateSMSRecord",    "ZEPA_SMSSrv_SendMsg",
        "ZEPA_RegDataRevCallBack",        "ZEPA_ExuceATCmd",
        "ZEPA_DevSrv_GetCardLockStatus"};
    const DevSrvFault faults[] = {
        {},
        {},
        {-1, 2, 0, DEVSRV_FAULT_WRITE_OUTPUTS | DEVSRV_FAULT_NO_TERMINATOR},
        {0, 1, 6614, 0},
        {0, 0, 6016, DEVSRV_FAULT_OTHER_THREAD},
        {0, 0, 0, DEVSRV_FAULT_HIGH_BYTES}};
    control.setFault(kFunctions[random() % std::size(kFunctions)],
                     &faults[random() % std::size(faults)]);
    control.setAnswerMode(static_cast<int>(random() % 16));
}

struct Sample
{
    long residentKiB;
    long descriptors;
    long threads;
};

long entriesOf(const char *directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

Sample takeSample()
{
    s_sampling = true;
    const std::lock_guard lock(s_stepMutex);
    // The journal grows up to 100,000 lines, which is no leak.
    control.clearJournal();
    malloc_trim(0);
    const Sample sample{residentKiB(), entriesOf("/proc/self/fd"), entriesOf("/proc/self/task")};
    s_sampling = false;
    s_sampling.notify_all();
    return sample;
}

// Repeats a step, with a pause between two of them, until the end.
std::jthread repeat(unsigned number, milliseconds pause, std::function<void(Random &)> step)
{
    return std::jthread([=] {
        Random random(number);
        while (!s_stop) {
            s_sampling.wait(true);
            {
                const std::shared_lock lock(s_stepMutex);
                step(random);
            }
            std::this_thread::sleep_for(pause);
        }
    });
}

std::vector<Sample> run(Clock::duration time, const QString &report)
{
    const auto replace = [=](Random &random) { replaceBackends(random, report); };
    std::vector<std::jthread> threads;
    threads.push_back(repeat(0, milliseconds(20), changePresence));
    threads.push_back(repeat(1, milliseconds(3), raiseEvents));
    threads.push_back(repeat(2, milliseconds(3), raiseEvents));
    threads.push_back(repeat(3, milliseconds(5), sendSms));
    threads.push_back(repeat(4, milliseconds(5), requestReports));
    threads.push_back(repeat(5, milliseconds(5), requestReports));
    threads.push_back(repeat(6, milliseconds(50), replace));
    threads.push_back(repeat(7, milliseconds(5), changeFaults));
    std::vector<Sample> samples;
    for (const auto end = Clock::now() + time; Clock::now() < end && !s_stop;) {
        std::this_thread::sleep_for(kSampleInterval);
        samples.push_back(takeSample());
    }
    s_stop = true;
    return samples;
}

void row(const char *what, const QString &value)
{
    std::printf("| %s | %s |\n", what, qPrintable(value));
}

long growthOf(const std::vector<Sample> &samples, long Sample::*part)
{
    // The first third is the warm-up. The middle of several samples leaves out what only happened
    // to be alive in the moment of one.
    const auto middle = [=](auto begin, auto end) {
        std::vector<long> values;
        for (; begin != end; ++begin)
            values.push_back((*begin).*part);
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    };
    const auto third = static_cast<std::ptrdiff_t>(samples.size() / 3);
    return middle(samples.end() - third, samples.end())
        - middle(samples.begin() + third, samples.begin() + 2 * third);
}

} // namespace

int main(int argc, char **argv)
{
    const double minutes = argc == 2 ? QByteArray(argv[1]).toDouble() : 0;
    if (minutes < 0.2) {
        std::fprintf(stderr, "soak: the number of minutes is missing or less than 0.2\n");
        return 2;
    }
    // With a heap for each thread, the resident size depends on which threads met.
    mallopt(M_ARENA_MAX, 1);
    const TestRoot root;
    root.write(root.config(),
               "<Config><HistoryData><LatestSimLockState>0</LatestSimLockState>"
               "</HistoryData></Config>");
    qInstallMessageHandler(countReports);
    startCard();
    control.setEventDelivery(DEVSRV_EVENTS_ON_THREADS);
    ZEPA_DevSrv_RegisterDevMgrCallback(countEvent);
    ZEPA_DevSrv_RegisterDevInitEventCallback(countEvent);
    auto *const controller = CCollectionDataLogic::GetInstance();
    controller->RegisterWithDevice();
    QObject::connect(controller, &CCollectionDataLogic::DeviceAvailable, [] { ++s_available; });

    const auto samples = run(std::chrono::duration_cast<Clock::duration>(
                                 std::chrono::duration<double, std::ratio<60>>(minutes)),
                             root.report());
    controller->UnRegisterDevice();
    CCollectionDataLogic::Destroy();
    control.stop();

    std::printf("| what | %g min |\n|---|---|\n", minutes);
    row("reports", QString::number(s_reports));
    row("delivered events", QString::number(s_events));
    for (const Wait *wait : kWaits)
        row(wait->what,
            QStringLiteral("%1 times, at most %2 ms").arg(wait->count).arg(wait->longestMs));
    if (samples.size() >= 3) {
        const long growth = growthOf(samples, &Sample::residentKiB);
        row("growth after warm-up",
            QStringLiteral("%1 KiB resident, %2 descriptors, %3 threads")
                .arg(growth)
                .arg(growthOf(samples, &Sample::descriptors))
                .arg(growthOf(samples, &Sample::threads)));
        if (growth >= kLargestGrowthKiB)
            fail(QStringLiteral("resident memory grew by %1 KiB after the warm-up").arg(growth));
    }
    for (const QString &failure : s_failures)
        std::fprintf(stderr, "soak: %s\n", qPrintable(failure));
    return s_failures.isEmpty() ? 0 : 1;
}
