// SPDX-License-Identifier: MIT
#include "EmulatedCard.h"

#include "TextForm.h"

#include <chrono>
#include <utility>

namespace devsrv {

namespace {

constexpr std::size_t kJournalLines = 100'000;
constexpr char kUnknownCommand[] = "\r\nERROR\r\n";

// Set while a fault's event is raised, so that a call made from inside the event does not raise
// the event again, without end.
thread_local bool t_raisingFaultEvent = false;

// Set on a thread that delivers an answer: it waits for no other such thread, which may be waiting
// for this one.
thread_local bool t_answering = false;

TextFill fillOf(const DevSrvFault &fault)
{
    if (fault.flags & DEVSRV_FAULT_NO_TERMINATOR)
        return TextFill::NoTerminator;
    return fault.flags & DEVSRV_FAULT_HIGH_BYTES ? TextFill::HighBytes : TextFill::Proper;
}

// "AT^RSTRIGGER?\r" stands as "^RSTRIGGER?" in a card description.
std::string commandKey(const std::string &command)
{
    const std::string line = command.substr(0, command.find('\r'));
    return line.starts_with("AT") ? line.substr(2) : line;
}

// The answer, whole or a piece for each line; every piece keeps its line end. An empty answer is
// a card that says nothing.
std::vector<std::string> piecesOf(const std::string &answer, bool byLine)
{
    if (!byLine && !answer.empty())
        return {answer};
    std::vector<std::string> pieces;
    for (std::size_t begin = 0; begin < answer.size();) {
        const std::size_t end = answer.find('\n', begin);
        const std::size_t length = end == std::string::npos ? end : end - begin + 1;
        pieces.push_back(answer.substr(begin, length));
        begin += pieces.back().size();
    }
    return pieces;
}

} // namespace

EmulatedCard::EmulatedCard(EventSink raise) : m_raise(std::move(raise)) {}

EmulatedCard::~EmulatedCard()
{
    finishAnswer({});
    for (std::thread &thread : m_otherThreads)
        thread.join();
}

void EmulatedCard::load(const CardDescription &card)
{
    const std::lock_guard lock(m_mutex);
    m_card = card;
    m_faults.clear();
    for (const auto &[function, result] : card.results)
        m_faults[function].result = result;
    for (const auto &[function, delayMs] : card.delaysMs)
        m_faults[function].delayMs = delayMs;
}

void EmulatedCard::setPresent(bool present)
{
    const std::lock_guard lock(m_mutex);
    m_card.present = present;
}

void EmulatedCard::insert()
{
    setPresent(true);
    m_raise(DEVSRV_EVENT_CARD_CHANGED);
    m_raise(ZEPA_EVENT_DEV_DEVICE_INIT_FINISH);
}

void EmulatedCard::remove()
{
    setPresent(false);
    m_raise(DEVSRV_EVENT_DEVICE_REMOVED);
    m_raise(DEVSRV_EVENT_CARD_CHANGED);
}

QString EmulatedCard::set(const QString &key, const QString &value)
{
    const CardField *field = findField(key);
    if (!field)
        return QStringLiteral("there is no field \"%1\", or more than one of that name").arg(key);
    {
        const std::lock_guard lock(m_mutex);
        if (const QString wrong = setField(m_card, *field, value); !wrong.isEmpty())
            return QStringLiteral("field \"%1\": %2").arg(QLatin1String(field->key), wrong);
    }
    m_raise(field->event);
    return {};
}

void EmulatedCard::setFault(const std::string &function, const DevSrvFault &fault)
{
    const std::lock_guard lock(m_mutex);
    m_faults[function] = fault;
}

void EmulatedCard::setAnswerMode(std::int32_t mode)
{
    const std::lock_guard lock(m_mutex);
    m_answerMode = mode;
}

std::string EmulatedCard::journal() const
{
    const std::lock_guard lock(m_mutex);
    std::string lines;
    for (const std::string &line : m_journal)
        lines += line + '\n';
    return lines;
}

void EmulatedCard::clearJournal()
{
    const std::lock_guard lock(m_mutex);
    m_journal.clear();
}

void EmulatedCard::write(std::string line)
{
    m_journal.push_back(std::move(line));
    if (m_journal.size() > kJournalLines)
        m_journal.pop_front();
}

CallOutcome EmulatedCard::enter(std::string_view function, std::string_view arguments)
{
    DevSrvFault fault{};
    {
        const std::lock_guard lock(m_mutex);
        write(std::string(function).append("(").append(arguments).append(")"));
        const auto found = m_faults.find(function);
        if (found != m_faults.end())
            fault = found->second;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(fault.delayMs));
    raiseFaultEvent(fault);
    return {fault.result, (fault.flags & DEVSRV_FAULT_WRITE_OUTPUTS) != 0, fillOf(fault)};
}

void EmulatedCard::raiseFaultEvent(const DevSrvFault &fault)
{
    if (t_raisingFaultEvent)
        return;
    t_raisingFaultEvent = true;
    if (fault.flags & DEVSRV_FAULT_REMOVE_CARD)
        remove();
    if (fault.event != 0 && (fault.flags & DEVSRV_FAULT_OTHER_THREAD)) {
        const std::lock_guard lock(m_mutex);
        m_otherThreads.emplace_back([this, event = fault.event] {
            t_raisingFaultEvent = true;
            m_raise(event);
        });
    } else if (fault.event != 0) {
        m_raise(fault.event);
    }
    t_raisingFaultEvent = false;
}

template <typename Value>
std::optional<Value> EmulatedCard::read(Value CardDescription::*field) const
{
    const std::lock_guard lock(m_mutex);
    if (!m_card.present)
        return std::nullopt;
    return m_card.*field;
}

std::optional<std::int32_t> EmulatedCard::status()
{
    return read(&CardDescription::status);
}

std::optional<std::string> EmulatedCard::imei()
{
    return read(&CardDescription::imei);
}

std::optional<std::string> EmulatedCard::imsi()
{
    return read(&CardDescription::imsi);
}

std::optional<std::string> EmulatedCard::serialNumber()
{
    return read(&CardDescription::serialNumber);
}

std::optional<std::string> EmulatedCard::model()
{
    return read(&CardDescription::model);
}

std::optional<CdmaIdentity> EmulatedCard::cdmaIdentity()
{
    return read(&CardDescription::cdma);
}

std::optional<Versions> EmulatedCard::versions()
{
    return read(&CardDescription::versions);
}

std::optional<std::int32_t> EmulatedCard::productType()
{
    return read(&CardDescription::productType);
}

std::optional<NumberMemory> EmulatedCard::numberMemory()
{
    return read(&CardDescription::numberMemory);
}

std::optional<std::string> EmulatedCard::ownNumber(std::int32_t index)
{
    const auto memory = numberMemory();
    if (!memory || memory->index != index)
        return std::nullopt;
    return read(&CardDescription::ownNumber);
}

std::optional<std::uint8_t> EmulatedCard::lockState()
{
    return read(&CardDescription::lockState);
}

std::optional<Registration> EmulatedCard::registration(Domain domain)
{
    return read(domain == Domain::CircuitSwitched ? &CardDescription::circuitSwitched
                                                  : &CardDescription::packetSwitched);
}

bool EmulatedCard::setReportMode(Domain domain, std::int32_t mode)
{
    const std::lock_guard lock(m_mutex);
    if (!m_card.present)
        return false;
    (domain == Domain::CircuitSwitched ? m_card.circuitSwitched : m_card.packetSwitched)
        .reportMode = mode;
    return true;
}

std::optional<std::string> EmulatedCard::plmn()
{
    return read(&CardDescription::plmn);
}

std::optional<SystemInfo> EmulatedCard::systemInfo()
{
    return read(&CardDescription::systemInfo);
}

bool EmulatedCard::sendSms(const SmsMessage &message)
{
    const std::lock_guard lock(m_mutex);
    if (!m_card.present)
        return false;
    write("SMS " + inQuotes(message.number) + ' ' + inQuotes(message.text)
          + (message.receipt ? " receipt=1" : " receipt=0"));
    return true;
}

bool EmulatedCard::execute(const std::string &command, const AnswerSink &answer)
{
    std::function<void()> deliver;
    std::int32_t mode = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_card.present)
            return false;
        mode = m_answerMode;
        const auto known = m_card.atAnswers.find(commandKey(command));
        const std::string text = known == m_card.atAnswers.end() ? kUnknownCommand : known->second;
        deliver = [answer, pieces = piecesOf(text, mode & DEVSRV_ANSWER_IN_PIECES)] {
            for (const std::string &piece : pieces)
                answer(piece);
        };
    }
    finishAnswer({});
    PendingAnswer pending;
    if (mode & DEVSRV_ANSWER_OTHER_THREAD) {
        pending.thread = std::thread([deliver] {
            t_answering = true;
            deliver();
        });
    } else {
        pending.deliver = deliver;
    }
    if (mode & DEVSRV_ANSWER_BEFORE_END)
        finishAnswer(std::move(pending));
    else
        finish(std::move(pending));
    return true;
}

bool EmulatedCard::endCommand()
{
    finishAnswer({});
    return true;
}

// Puts an answer in the place of the last one, which is brought to its end.
void EmulatedCard::finishAnswer(PendingAnswer next)
{
    {
        const std::lock_guard lock(m_mutex);
        std::swap(m_pendingAnswer, next);
    }
    finish(std::move(next));
}

void EmulatedCard::finish(PendingAnswer answer)
{
    if (answer.deliver)
        answer.deliver();
    if (!answer.thread.joinable())
        return;
    if (!t_answering)
        return answer.thread.join();
    // Whoever takes the answer ended the command. The destructor waits for the thread.
    const std::lock_guard lock(m_mutex);
    m_otherThreads.push_back(std::move(answer.thread));
}

} // namespace devsrv
