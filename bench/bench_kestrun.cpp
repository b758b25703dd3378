// SPDX-License-Identifier: MIT

// Measures reports and their parts against the minimum work that they need, in one run, and prints
// a table of ratios.
#include "Bench.h"
#include "ConfigDocument.h"
#include "DocumentLimits.h"
#include "NetworkInfo.h"
#include "ResidentMemory.h"
#include "devsrv/DeviceServiceControl.h"

#include <QDomDocument>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <vector>

namespace {

bool s_shell = true;

// The files of a system root of their own, on a disk or in memory.
struct Place
{
    QTemporaryDir root;
    QString dataDirectory;
};

} // namespace

// Replaces the function of the C library, so that benchmarks can leave the commands out.
extern "C" int system(const char *command)
{
    static const auto real = reinterpret_cast<int (*)(const char *)>(dlsym(RTLD_NEXT, "system"));
    return s_shell ? real(command) : 0;
}

namespace {

void discard(QtMsgType, const QMessageLogContext &, const QString &) {}

void format(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    benchmark::DoNotOptimize(qFormatLogMessage(type, context, message).toLocal8Bit());
}

// Switches the log categories; lines of a disabled category are not formatted.
void setLog(bool on)
{
    QLoggingCategory::setFilterRules(on ? QString()
                                        : QStringLiteral("default.debug=false\n"
                                                         "default.warning=false"));
}

void writePlain(const char *file, const QByteArray &bytes)
{
    FILE *const out = std::fopen(file, "w");
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), out);
    std::fclose(out);
}

// Measures `whole` and its ratio to `floor`. The two alternate, since the state of the machine and
// the heap varies by more than the difference between them.
template <typename Floor, typename Whole>
void compare(benchmark::State &state, Floor floor, Whole whole)
{
    double floorMs = 0;
    double wholeMs = 0;
    for (auto _ : state) {
        floorMs += milliseconds(floor);
        const double ms = milliseconds(whole);
        wholeMs += ms;
        state.SetIterationTime(ms / 1e3);
        // Keeps the emulated card's journal from growing.
        DevSrv_GetControl()->clearJournal();
    }
    state.counters["ratio"] = wholeMs / floorMs;
    state.counters["floorMs"] = floorMs / static_cast<double>(state.iterations());
}

// What no report can do without: its three commands.
void runCommands(const Place &place)
{
    QByteArray word = (place.dataDirectory + QStringLiteral("UpdateRule.dat")).toUtf8();
    word.replace(" ", "\" \"");
    for (const char *command : {"chmod u+wrx ", "chmod o+wrx ", "chmod g+wrx "})
        benchmark::DoNotOptimize(system((command + word).constData()));
}

// Lets the following reports use the files at a place.
void writeReport()
{
    CCollectionDataLogic::GetInstance()->WriteDataToFile();
}

void report(benchmark::State &state, const Place &place, bool shell, bool log,
            QtMessageHandler handler)
{
    moveTo(place.root.path());
    s_shell = shell;
    setLog(log);
    qInstallMessageHandler(handler);
    compare(
        state, [&] { runCommands(place); }, writeReport);
}

QByteArray configOf(std::int64_t histories)
{
    return "<Config>"
        + QByteArray("<HistoryData><LatestSimLockState>1</LatestSimLockState>"
                     "<LatestIMSI>001010123456789</LatestIMSI></HistoryData>")
              .repeated(histories)
        + "</Config>";
}

// Parses and saves a document; with `change` it also does what the plug-in does in between.
void roundTrip(const QByteArray &before, bool change)
{
    QDomDocument document;
    const bool taken = !change || !kestrun::exceededLimit(before);
    document.setContent(taken ? before : QByteArray());
    if (change)
        kestrun::setSimLockState(document, QStringLiteral("0"));
    benchmark::DoNotOptimize(kestrun::configText(document));
}

void config(benchmark::State &state)
{
    const QByteArray before = configOf(state.range(0));
    compare(
        state, [&] { roundTrip(before, false); }, [&] { roundTrip(before, true); });
}

void addresses(benchmark::State &state)
{
    const auto count = state.range(0);
    // Only the last interface is up, so that the whole list is searched.
    QList<kestrun::InterfaceState> interfaces(count, {false, false});
    interfaces.last() = {true, true};
    QList<QHostAddress> list;
    for (std::int64_t index = 0; index < count; ++index)
        list.append(QHostAddress(0x0a000001U + static_cast<quint32>(index)));
    for (auto _ : state)
        benchmark::DoNotOptimize(reportedAddress(interfaces, list));
}

void load(benchmark::State &state, const char *program)
{
    for (auto _ : state) {
        QProcess process;
        process.start(QLatin1String(program), QStringList());
        process.waitForFinished();
        state.counters["KiB"] = process.readAllStandardOutput().trimmed().toDouble();
    }
}

// Collects the results for the table at the end.
class Results : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override { return true; }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const std::string name = run.run_name.function_name + run.run_name.args;
            const double time = run.real_accumulated_time / static_cast<double>(run.iterations)
                * 1e3;
            // The minimum of the repetitions, since other load on the machine only adds time.
            const auto [found, added] = m_ms.emplace(name, time);
            if (!added)
                found->second = std::min(found->second, time);
            for (const auto &[counter, value] : run.counters)
                m_counters[name + '/' + counter].push_back(value.value);
        }
    }

    // Returns NaN if a filter has left the benchmark out.
    double ms(const std::string &name) const
    {
        const auto found = m_ms.find(name);
        return found == m_ms.end() ? std::nan("") : found->second;
    }

    /// The median of the repetitions.
    double counter(const std::string &name)
    {
        std::vector<double> &values = m_counters[name];
        std::sort(values.begin(), values.end());
        return values.empty() ? std::nan("") : values[values.size() / 2];
    }

private:
    std::map<std::string, double> m_ms;
    std::map<std::string, std::vector<double>> m_counters;
};

struct Growth
{
    long sinceReport100;
    long sinceReport1000;
};

void printTable(Results &results, const Growth &growth)
{
    const auto perElement = [&](const char *name, double count) {
        return results.ms(name) / count;
    };
    const double ten = perElement("config10", 10);
    std::printf("\n");
    row("report / its three commands, files on a disk", results.counter("reportDisk/ratio"), "x",
        "goal: at most 1.10");
    row("report / its three commands, files in memory", results.counter("report/ratio"), "x",
        "goal: at most 1.10");
    row("report without the commands, files on a disk", results.ms("reportDiskNoShell"), "ms",
        "goal: below 0.3");
    row("report without the commands, files in memory", results.ms("reportNoShell"), "ms",
        "goal: below 0.3");
    row("report without the commands and without log", results.ms("reportNoLog"), "ms", "");
    row("log formatted, too / log discarded",
        results.ms("reportFormatted") / results.ms("reportNoShell"), "x", "");
    row("Config.xml, 10 HistoryData / bare parse and save", results.counter("config10/ratio"), "x",
        "goal: at most 1.15");
    row("Config.xml, 1,000 / bare", results.counter("config1000/ratio"), "x", "goal: at most 1.15");
    row("Config.xml, 100,000 / bare", results.counter("config100000/ratio"), "x",
        "goal: at most 1.15");
    row("per HistoryData, 1,000 / 10", perElement("config1000", 1e3) / ten, "x",
        "goal: at most 1.3");
    row("per HistoryData, 100,000 / 1,000",
        perElement("config100000", 1e5) / perElement("config1000", 1e3), "x", "goal: at most 1.3");
    row("choice of address per interface, 1,000 / 1",
        results.ms("addresses1000") / results.ms("addresses1") / 1000, "x", "goal: at most 1");
    row("resident growth from report 100 to report 10,000",
        static_cast<double>(growth.sinceReport100), "KiB", "goal: below 64");
    row("resident growth from report 1,000 to report 10,000",
        static_cast<double>(growth.sinceReport1000), "KiB", "");
    row("program with the plug-in / with Qt's modules alone, time",
        results.ms("loadPlugin") / results.ms("loadQt"), "x", "");
    row("resident memory with the plug-in / alone",
        results.counter("loadPlugin/KiB") / results.counter("loadQt/KiB"), "x", "");
}

Growth growthOfReports()
{
    s_shell = false;
    setLog(true);
    qInstallMessageHandler(discard);
    // The first measurement loads code of the C library into memory.
    residentKiB();
    Growth before{};
    for (int count = 1; count <= 10'000; ++count) {
        writeReport();
        if (count == 100)
            before.sinceReport100 = residentKiB();
        if (count == 1000)
            before.sinceReport1000 = residentKiB();
        DevSrv_GetControl()->clearJournal();
    }
    const long now = residentKiB();
    return {now - before.sinceReport100, now - before.sinceReport1000};
}

void prepare(Place &place)
{
    place.dataDirectory = moveTo(place.root.path());
    writePlain((place.dataDirectory + QStringLiteral("Config.xml")).toUtf8().constData(),
               configOf(1));
    writeReport();
}

// Does one kind of work 100 times, for a count of its instructions. Returns false if there is no
// such kind.
[[gnu::noinline]] bool repeat(const std::string &work)
{
    const QByteArray config = configOf(1'000);
    const bool isReport = work == "report";
    if (!isReport && work != "config" && work != "bare")
        return false;
    s_shell = false;
    for (int count = 0; count < 100; ++count) {
        if (isReport)
            writeReport();
        else
            roundTrip(config, work == "config");
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    // The program is on a disk, unlike the directory for temporary files of many systems.
    Place disk{QTemporaryDir(QFileInfo(QString::fromLocal8Bit(argv[0])).absolutePath()
                             + QStringLiteral("/files-XXXXXX")),
               {}};
    const QString shm = QStringLiteral("/dev/shm");
    Place memory{QTemporaryDir((QFileInfo(shm).isWritable() ? shm : QDir::tempPath())
                               + QStringLiteral("/bench_kestrun-XXXXXX")),
                 {}};
    qInstallMessageHandler(discard);
    prepare(disk);
    prepare(memory);
    if (argc == 3 && std::strcmp(argv[1], "--repeat") == 0)
        return repeat(argv[2]) ? 0 : 1;

    // Measured first, before other measurements change the heap.
    const Growth growth = growthOfReports();

    using benchmark::RegisterBenchmark;
    constexpr int kRepetitions = 10;
    const auto repeated = [](benchmark::internal::Benchmark *bench) {
        return bench->Repetitions(kRepetitions)->Unit(benchmark::kMillisecond);
    };
    const auto best = [&](benchmark::internal::Benchmark *bench) {
        repeated(bench)->UseRealTime();
    };
    const auto compared = [&](benchmark::internal::Benchmark *bench) {
        repeated(bench)->UseManualTime();
    };
    const auto reportOf = [&](const char *name, const Place &place, bool shell, bool log,
                              QtMessageHandler handler) {
        compared(RegisterBenchmark(name, [=, &place](benchmark::State &state) {
            report(state, place, shell, log, handler);
        }));
    };
    reportOf("reportDisk", disk, true, true, discard);
    reportOf("report", memory, true, true, discard);
    reportOf("reportDiskNoShell", disk, false, true, discard);
    reportOf("reportNoShell", memory, false, true, discard);
    reportOf("reportNoLog", memory, false, false, discard);
    reportOf("reportFormatted", memory, false, true, format);
    for (const std::int64_t count : {10, 1000, 100'000})
        compared(RegisterBenchmark("config", config)->Arg(count));
    for (const std::int64_t count : {1, 1000})
        best(RegisterBenchmark("addresses", addresses)->Arg(count));
    best(RegisterBenchmark("loadQt", load, LOAD_QT));
    best(RegisterBenchmark("loadPlugin", load, LOAD_PLUGIN));

    benchmark::Initialize(&argc, argv);
    Results results;
    benchmark::RunSpecifiedBenchmarks(&results);
    printTable(results, growth);
    return 0;
}
