// SPDX-License-Identifier: MIT
#include "Conformance.h"

#include "DeviceServiceLibrary.h"
#include "Failure.h"
#include "Trial.h"
#include "devsrv/DeviceService.h"
#include "shared/DeviceServiceFunctions.h"

#include <QElapsedTimer>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <limits>
#include <mutex>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Mark = ConformanceResult::Mark;

constexpr int kLongestCallMs = 5'000;

// The time of a row besides its calls, for example to load the library.
constexpr int kOtherTimeMs = 20'000;

constexpr int kThreads = 8;
constexpr int kThreadTimeMs = 1'000;

struct Verdict
{
    Mark mark = Mark::Passed;
    QString detail;
};

Verdict failed(const QString &detail)
{
    return {Mark::Failed, detail};
}

Verdict untried(const QString &detail)
{
    return {Mark::Untried, detail};
}

// The functions of the library. For any thread.
class Functions
{
public:
    explicit Functions(const QString &file) : m_library(file) {}

    QFunctionPointer find(const char *name) const { return m_library.resolve(name); }

    template <typename... Arguments>
    std::int32_t call(const char *name, Arguments... arguments) const
    {
        return reinterpret_cast<std::int32_t (*)(Arguments...)>(find(name))(arguments...);
    }

private:
    mutable QLibrary m_library;
};

// ---- Outputs ------------------------------------------------------------------------------------

constexpr std::size_t kMostParts = 5;

// The memory for the outputs of one call: each has its exact size, between bytes that must not
// change. Filled with `fill`, so that a text has no NUL by chance.
class Memory
{
public:
    using Sizes = std::array<std::size_t, kMostParts>;

    Memory(const Sizes &sizes, char fill) : m_sizes(sizes)
    {
        for (std::size_t part = 0; part < kMostParts; ++part) {
            // Aligned for every type.
            m_parts[part].assign(kGuard + (sizes[part] + kGuard - 1) / kGuard * kGuard + kGuard,
                                 kGuardByte);
            std::fill_n(at(part), sizes[part], fill);
        }
    }

    template <typename Type>
    Type *as(std::size_t part)
    {
        return reinterpret_cast<Type *>(at(part));
    }

    char *at(std::size_t part) { return m_parts[part].data() + kGuard; }

    // Returns what is wrong, or an empty text.
    QString fault() const
    {
        for (std::size_t part = 0; part < kMostParts; ++part) {
            const auto &bytes = m_parts[part];
            const auto begin = bytes.begin() + kGuard;
            const auto isKept = [](char byte) { return byte == kGuardByte; };
            if (!std::all_of(bytes.begin(), begin, isKept)
                || !std::all_of(begin + std::ptrdiff_t(m_sizes[part]), bytes.end(), isKept)) {
                return QStringLiteral("writes outside of the %1 bytes of output %2")
                    .arg(m_sizes[part])
                    .arg(part + 1);
            }
        }
        return {};
    }

private:
    static constexpr std::ptrdiff_t kGuard = 64;
    static constexpr char kGuardByte = '\xA5';

    Sizes m_sizes;
    std::array<std::vector<char>, kMostParts> m_parts;
};

// Calls a function whose parameters are all outputs.
template <typename Function>
struct Outputs;

template <typename... Types>
struct Outputs<std::int32_t(Types *...)>
{
    static std::int32_t call(const Functions &functions, const char *name, Memory &memory)
    {
        return with(functions, name, memory, std::index_sequence_for<Types...>());
    }

    template <std::size_t... Parts>
    static std::int32_t with(const Functions &functions, const char *name, Memory &memory,
                             std::index_sequence<Parts...>)
    {
        return functions.call(name, memory.as<Types>(Parts)...);
    }
};

std::int32_t readOwnNumber(const Functions &functions, std::int32_t index, Memory &memory)
{
    return functions.call("ZEPA_DevSrv_ReadUserNumItem", index, memory.as<UserNumItem>(0));
}

// Reads the entry that the phonebook names, as the plug-in does.
std::int32_t readFirstOwnNumber(const Functions &functions, const char *, Memory &memory)
{
    std::int32_t index = 0;
    std::int32_t count = 0;
    std::int32_t others[3]{};
    const std::int32_t failure = functions.call("ZEPA_DevSrv_GetUserNumMemAbility", &others[0],
                                                &index, &count, &others[1], &others[2]);
    return failure ? failure : readOwnNumber(functions, index, memory);
}

// A text that a function writes, and the form that it has in the report.
struct Text
{
    const char *name;
    std::size_t part;
    std::size_t offset;
    std::size_t size;
    const char *form;
};

constexpr char kAnyText[] = "[^\\x00-\\x1f\\x7f]*";
constexpr char kHexadecimal[] = "[0-9A-Fa-f]*";

// The functions that write outputs: how they are called, the sizes of the outputs, and the texts.
struct Query
{
    const char *function;
    std::int32_t (*call)(const Functions &functions, const char *name, Memory &memory);
    Memory::Sizes sizes;
    std::vector<Text> texts = {};
    char fill = '\xA5';
};

#define KESTRUN_OUTPUTS(function) #function, Outputs < decltype(function)> ::call

const std::vector<Query> &queries()
{
    static const std::vector<Query> list{
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetDevStatus), {sizeof(std::int32_t)}},
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetImeiInfo),
         {ZEPA_TEXT_SIZE},
         {{"IMEI", 0, 0, ZEPA_TEXT_SIZE, "([0-9]{14,16})?"}}},
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetImsiInfo),
         {ZEPA_TEXT_SIZE},
         {{"IMSI", 0, 0, ZEPA_TEXT_SIZE, "([0-9]{6,15})?"}}},
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetSN),
         {ZEPA_TEXT_SIZE},
         {{"serial number", 0, 0, ZEPA_TEXT_SIZE, kAnyText}}},
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetDeviceName),
         {ZEPA_TEXT_SIZE},
         {{"model", 0, 0, ZEPA_TEXT_SIZE, kAnyText}}},
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetESN),
         {sizeof(EsnRecord)},
         {{"ESN", 0, offsetof(EsnRecord, esn), sizeof(EsnRecord::esn), kHexadecimal},
          {"MEID", 0, offsetof(EsnRecord, meid), sizeof(EsnRecord::meid), kHexadecimal}}},
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetFirmwareVersion),
         {sizeof(FirmwareVersionRecord)},
         {{"firmware", 0, offsetof(FirmwareVersionRecord, firmware),
           sizeof(FirmwareVersionRecord::firmware), kAnyText},
          {"hardware", 0, offsetof(FirmwareVersionRecord, hardware),
           sizeof(FirmwareVersionRecord::hardware), kAnyText}}},
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetProductType), {sizeof(std::int32_t)}},
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetUserNumMemAbility),
         {sizeof(std::int32_t), sizeof(std::int32_t), sizeof(std::int32_t), sizeof(std::int32_t),
          sizeof(std::int32_t)}},
        {"ZEPA_DevSrv_ReadUserNumItem",
         readFirstOwnNumber,
         {sizeof(UserNumItem)},
         {{"number", 0, offsetof(UserNumItem, number), sizeof(UserNumItem::number),
           "\\+?[0-9*#]*"}}},
        {KESTRUN_OUTPUTS(ZEPA_DevSrv_GetCardLockStatus),
         {sizeof(std::uint8_t), sizeof(std::uint8_t), sizeof(std::int32_t)}},
        {KESTRUN_OUTPUTS(ZEPA_NetSrv_GetCSRegState),
         {sizeof(RegStateRecord)},
         {{"area", 0, offsetof(RegStateRecord, lac), sizeof(RegStateRecord::lac), kHexadecimal},
          {"cell", 0, offsetof(RegStateRecord, cellId), sizeof(RegStateRecord::cellId),
           kHexadecimal}}},
        {KESTRUN_OUTPUTS(ZEPA_NetSrv_GetPSRegState),
         {sizeof(RegStateRecord)},
         {{"area", 0, offsetof(RegStateRecord, lac), sizeof(RegStateRecord::lac), kHexadecimal},
          {"cell", 0, offsetof(RegStateRecord, cellId), sizeof(RegStateRecord::cellId),
           kHexadecimal}}},
        {KESTRUN_OUTPUTS(ZEPA_NetSrv_GetCurPlmn),
         {sizeof(std::int32_t), ZEPA_PLMN_SIZE},
         {{"PLMN", 1, 0, ZEPA_PLMN_SIZE, "([0-9]{5,6})?"}}},
        {KESTRUN_OUTPUTS(ZEPA_NetSrv_GetSysInfoEx), {sizeof(SysInfoRecord)}, {}, '\0'},
    };
    return list;
}

#undef KESTRUN_OUTPUTS

Verdict checkTexts(const Query &query, Memory &memory)
{
    QStringList values;
    for (const Text &text : query.texts) {
        const char *const begin = memory.at(text.part) + text.offset;
        const std::size_t length = strnlen(begin, text.size);
        const QString name = QLatin1String(text.name);
        if (length == text.size) {
            return failed(QStringLiteral("%1: no NUL within its %2 bytes").arg(name).arg(length));
        }
        const QString value = QString::fromUtf8(begin, qsizetype(length));
        const QRegularExpression form(
            QRegularExpression::anchoredPattern(QLatin1String(text.form)));
        values << QStringLiteral("%1 \"%2\"").arg(name, value);
        if (!form.match(value).hasMatch()) {
            return failed(QStringLiteral("%1 does not have the form %2")
                              .arg(values.constLast(), QLatin1String(text.form)));
        }
    }
    return {Mark::Passed, values.join(QStringLiteral(", "))};
}

Verdict checkQuery(const Functions &functions, const Query &query)
{
    Memory memory(query.sizes, query.fill);
    const std::int32_t result = query.call(functions, query.function, memory);
    if (const QString fault = memory.fault(); !fault.isEmpty())
        return failed(fault);
    if (result != 0)
        return untried(QStringLiteral("the function returns %1").arg(result));
    return checkTexts(query, memory);
}

// Calls all queries and returns the first fault, or an empty text.
QString faultOfQueries(const Functions &functions)
{
    for (const Query &query : queries()) {
        const Verdict verdict = checkQuery(functions, query);
        if (verdict.mark == Mark::Failed) {
            return QStringLiteral("%1: %2").arg(QLatin1String(query.function), verdict.detail);
        }
    }
    return {};
}

Verdict checkTime(const Functions &functions)
{
    qint64 longest = 0;
    const char *slowest = "";
    for (const Query &query : queries()) {
        QElapsedTimer timer;
        timer.start();
        checkQuery(functions, query);
        if (timer.elapsed() >= longest) {
            longest = timer.elapsed();
            slowest = query.function;
        }
    }
    const QString detail = QStringLiteral("the longest call takes %1 ms: %2")
                               .arg(longest)
                               .arg(QLatin1String(slowest));
    return {longest <= kLongestCallMs ? Mark::Passed : Mark::Failed, detail};
}

Verdict checkOddIndexes(const Functions &functions)
{
    for (const std::int32_t index :
         {-1, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
        Memory memory({sizeof(UserNumItem)}, '\xA5');
        const std::int32_t result = readOwnNumber(functions, index, memory);
        if (const QString fault = memory.fault(); !fault.isEmpty())
            return failed(QStringLiteral("index %1: %2").arg(index).arg(fault));
        if (result == 0)
            return failed(QStringLiteral("succeeds for index %1").arg(index));
    }
    return {};
}

// ---- Callbacks ----------------------------------------------------------------------------------

int ignoreEvent(int, void *)
{
    return 1;
}

int ignoreAnswer(void *, int)
{
    return 1;
}

template <typename Callback, Callback callback>
std::int32_t pass(const Functions &functions, const char *name)
{
    return functions.call(name, callback);
}

struct Channel : shared::EventChannel
{
    std::int32_t (*call)(const Functions &functions, const char *name);
};

constexpr Channel kChannels[] = {
    {shared::kEventChannels[0], pass<ZEPA_DevEventCallback, ignoreEvent>},
    {shared::kEventChannels[1], pass<ZEPA_DevEventCallback, ignoreEvent>},
    {{"AT channel", "ZEPA_RegDataRevCallBack", "ZEPA_UnRegDataRevCallBack"},
     pass<ZEPA_DataRevCallback, ignoreAnswer>},
};

Verdict checkRegistration(const Functions &functions, const Channel &channel)
{
    const auto registers = [&] { return channel.call(functions, channel.registration) == 0; };
    const auto withdraws = [&] { return channel.call(functions, channel.withdrawal) == 0; };
    if (withdraws())
        return failed(QStringLiteral("withdraws a callback that was never registered"));
    if (!registers())
        return untried(QStringLiteral("the registration fails"));
    withdraws();
    for (int round = 0; round < 1'000; ++round) {
        if (!registers() || !registers())
            return failed(QStringLiteral("refuses the same callback twice"));
        if (!withdraws())
            return failed(QStringLiteral("does not withdraw a callback that is registered"));
        if (withdraws())
            return failed(QStringLiteral("one withdrawal does not remove a callback that was "
                                         "registered twice"));
    }
    return {};
}

// What the AT channel delivered. The callbacks of the library have no argument for it.
struct Delivered
{
    std::mutex mutex;
    QString fault;
    int pieces = 0;
    std::function<void()> action;
};

Delivered &delivered()
{
    static Delivered object;
    return object;
}

int takeAnswer(void *data, int length)
{
    Delivered &all = delivered();
    std::function<void()> action;
    {
        const std::lock_guard lock(all.mutex);
        ++all.pieces;
        if (!data || length < 0)
            all.fault = QStringLiteral("a piece without text or of negative length");
        else if (static_cast<const char *>(data)[length] != '\0')
            all.fault = QStringLiteral("a piece of %1 bytes has no NUL behind them").arg(length);
        action = std::exchange(all.action, {});
    }
    if (action)
        action();
    return 1;
}

// A command that ends where the memory of the process ends: reading further is a crash.
const char *commandAtEndOfMemory(const QByteArray &command)
{
    const auto page = std::size_t(sysconf(_SC_PAGESIZE));
    void *const pages = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
                             -1, 0);
    if (pages == MAP_FAILED || mprotect(static_cast<char *>(pages) + page, page, PROT_NONE) != 0)
        failRun(QStringLiteral("there is no memory to check with: %1; try again")
                    .arg(qt_error_string()));
    char *const begin = static_cast<char *>(pages) + page - command.size();
    std::memcpy(begin, command.constData(), std::size_t(command.size()));
    return begin;
}

// Executes an AT command; `action` runs inside the delivery of its first piece.
Verdict checkAnswer(const Functions &functions, const std::function<void()> &action = {})
{
    constexpr ZEPA_DataRevCallback kCallback = takeAnswer;
    const QByteArray command = "AT\r";
    Delivered &all = delivered();
    all.action = action;
    const std::int32_t registered = functions.call("ZEPA_RegDataRevCallBack", kCallback);
    if (registered != 0)
        return untried(QStringLiteral("ZEPA_RegDataRevCallBack returns %1").arg(registered));
    const std::int32_t result = functions.call("ZEPA_ExuceATCmd", commandAtEndOfMemory(command),
                                               std::int32_t(command.size()));
    functions.call("ZEPA_EndExuceATCmd");
    const std::lock_guard lock(all.mutex);
    const int pieces = all.pieces;
    // A piece that comes later must not use what ends here.
    all.action = {};
    if (!all.fault.isEmpty())
        return failed(all.fault);
    if (result != 0)
        return untried(QStringLiteral("ZEPA_ExuceATCmd returns %1 for \"AT\"").arg(result));
    if (pieces == 0)
        return failed(QStringLiteral("no answer came until ZEPA_EndExuceATCmd returned"));
    return {Mark::Passed, QStringLiteral("pieces: %1").arg(pieces)};
}

Verdict checkAnswerTexts(const Functions &functions)
{
    return checkAnswer(functions);
}

Verdict checkQueriesInside(const Functions &functions)
{
    QString fault;
    const Verdict verdict = checkAnswer(functions, [&] { fault = faultOfQueries(functions); });
    return fault.isEmpty() ? verdict : failed(fault);
}

Verdict checkWithdrawalInside(const Functions &functions)
{
    constexpr ZEPA_DataRevCallback kCallback = takeAnswer;
    bool isWithdrawn = false;
    int seen = 0;
    Verdict verdict = checkAnswer(functions, [&] {
        isWithdrawn = functions.call("ZEPA_UnRegDataRevCallBack", kCallback) == 0;
        seen = delivered().pieces;
    });
    if (verdict.mark == Mark::Passed && !isWithdrawn)
        return failed(QStringLiteral("the withdrawal fails"));
    functions.call("ZEPA_ExuceATCmd", commandAtEndOfMemory("AT\r"), std::int32_t(3));
    functions.call("ZEPA_EndExuceATCmd");
    if (isWithdrawn && delivered().pieces != seen)
        return failed(QStringLiteral("the callback runs again after its withdrawal"));
    return verdict;
}

// ---- The rest -----------------------------------------------------------------------------------

Verdict checkThreads(const Functions &functions)
{
    std::mutex mutex;
    QString fault;
    std::atomic<int> rounds = 0;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            const Channel &channel = kChannels[std::size_t(number) % std::size(kChannels)];
            QElapsedTimer timer;
            timer.start();
            do {
                channel.call(functions, channel.registration);
                const QString found = faultOfQueries(functions);
                channel.call(functions, channel.withdrawal);
                ++rounds;
                const std::lock_guard lock(mutex);
                if (!found.isEmpty())
                    fault = found;
            } while (timer.elapsed() < kThreadTimeMs);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    const int count = rounds * int(queries().size());
    return fault.isEmpty() ? Verdict{Mark::Passed, QStringLiteral("%1 calls").arg(count)}
                           : failed(fault);
}

Verdict checkMessages(const Functions &functions)
{
    bool isMade = false;
    for (const std::size_t length : {std::size_t(5), std::size_t(0), std::size_t(70'000)}) {
        const std::u16string number = u"+100";
        const std::u16string text(length, u'x');
        void *handle = nullptr;
        const std::int32_t result = functions.call(
            "ZEPA_SMSSrv_CreateSMSRecord", &handle,
            reinterpret_cast<const std::uint16_t *>(number.c_str()),
            reinterpret_cast<const std::uint16_t *>(text.c_str()));
        const QString which = QStringLiteral("a text of %1 characters: ").arg(length);
        if (result == 0 && !handle)
            return failed(which + QStringLiteral("created without a handle"));
        if (!handle)
            continue;
        isMade = true;
        if (functions.call("ZEPA_SMSSrv_ReleaseSMSRecord", &handle) != 0 || handle)
            return failed(which + QStringLiteral("the handle is not released"));
    }
    return isMade ? Verdict() : untried(QStringLiteral("no message can be created"));
}

struct Check
{
    QString name;
    std::function<Verdict(const Functions &)> run;
    int calls = 1; // of functions that ask the card
};

std::vector<Check> makeChecks()
{
    std::vector<Check> checks;
    const int allQueries = int(queries().size());
    for (const Query &query : queries()) {
        checks.push_back({QLatin1String(query.function), [&query](const Functions &functions) {
                              return checkQuery(functions, query);
                          }});
    }
    for (const Channel &channel : kChannels) {
        checks.push_back({QLatin1String(channel.name), [&channel](const Functions &functions) {
                              return checkRegistration(functions, channel);
                          }});
    }
    checks.push_back({QStringLiteral("own number at an odd index"), checkOddIndexes});
    checks.push_back({QStringLiteral("time of each call"), checkTime, allQueries});
    checks.push_back({QStringLiteral("AT answer"), checkAnswerTexts});
    checks.push_back(
        {QStringLiteral("queries inside a callback"), checkQueriesInside, allQueries + 1});
    checks.push_back({QStringLiteral("withdrawal inside a callback"), checkWithdrawalInside});
    checks.push_back({QStringLiteral("calls from 8 threads"), checkThreads, 2 * allQueries});
    checks.push_back({QStringLiteral("messages"), checkMessages});
    return checks;
}

const std::vector<Check> &checks()
{
    static const std::vector<Check> list = makeChecks();
    return list;
}

// What the child tells: a letter for the mark, and the detail.
constexpr std::pair<Mark, char> kLetters[] = {
    {Mark::Passed, 'p'}, {Mark::Failed, 'f'}, {Mark::Untried, 'u'}};

Verdict verdictOf(const TrialResult &result)
{
    if (!result.notStarted.isEmpty())
        return untried(QStringLiteral("no child process: ") + result.notStarted);
    if (!result.ending.isEmpty())
        return failed(result.ending);
    for (const auto &[mark, letter] : kLetters) {
        if (result.answer.startsWith(letter))
            return {mark, QString::fromUtf8(result.answer.mid(1))};
    }
    return failed(QString::fromUtf8(result.answer));
}

} // namespace

QList<ConformanceResult> checkConformance(const QString &sdk)
{
    QList<ConformanceResult> results;
    for (std::size_t row = 0; row < checks().size(); ++row) {
        const int limitMs = checks()[row].calls * kLongestCallMs + kOtherTimeMs;
        const Verdict verdict = verdictOf(
            runTrial({QLatin1String(kConformanceCommand), sdk, QString::number(row)}, limitMs));
        results.append({checks()[row].name, verdict.mark, verdict.detail});
    }
    return results;
}

void runConformance(const QStringList &arguments)
{
    answerTrial([&](const TellParent &tell) {
        const std::size_t row = arguments.value(1).toUInt();
        if (row >= checks().size())
            failUsage(QStringLiteral("the list has no row %1").arg(row));
        const DeviceServiceLibrary service(arguments.value(0));
        const Verdict verdict = checks()[row].run(Functions(service.file()));
        const auto *const letter = std::find_if(
            std::begin(kLetters), std::end(kLetters),
            [&](const auto &candidate) { return candidate.first == verdict.mark; });
        tell(letter->second + verdict.detail.toUtf8());
    });
}
