// SPDX-License-Identifier: MIT
#include "EmulatedCard.h"

#include "BackendFactories.h"
#include "TextForm.h"
#include "shared/Guard.h"

#include <sstream>
#include <utility>

namespace devsrv {

namespace {

constexpr char kUnknownCommand[] = "\r\nERROR\r\n";

// True on a thread that delivers an answer. Such a thread does not wait for another one, which may
// be waiting for it.
thread_local bool t_answering = false;

// The key of "AT^RSTRIGGER?\r" in a card description is "^RSTRIGGER?".
std::string commandKey(const std::string &command)
{
    const std::string line = command.substr(0, command.find('\r'));
    return line.starts_with("AT") ? line.substr(2) : line;
}

// The answer in its pieces, or in a piece for each line with its line end. A card that says nothing
// has no pieces.
std::vector<std::string> piecesOf(const std::string &answer, bool byLine)
{
    std::vector<std::string> pieces;
    if (!byLine && !answer.empty()) {
        std::istringstream text(answer);
        for (std::string piece; std::getline(text, piece, kPieceSeparator);)
            pieces.push_back(piece);
        return pieces;
    }
    for (std::size_t begin = 0; begin < answer.size();) {
        const std::size_t end = answer.find('\n', begin);
        const std::size_t length = end == std::string::npos ? end : end - begin + 1;
        pieces.push_back(answer.substr(begin, length));
        begin += pieces.back().size();
    }
    return pieces;
}

} // namespace

EmulatedCard::EmulatedCard(EventSink raise)
    : m_raise(raise), m_faults(m_journal, std::move(raise), [this] { remove(); })
{
}

EmulatedCard::~EmulatedCard()
{
    finishAnswer({});
    for (std::thread &thread : m_otherThreads)
        thread.join();
}

void EmulatedCard::load(const CardDescription &card)
{
    m_faults.reset(card.results, card.delaysMs);
    const std::lock_guard lock(m_mutex);
    m_card = card;
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
        return QStringLiteral("there is no field \"%1\", or more than one of that name; \"kestrun "
                              "cards --fields\" lists them")
            .arg(key);
    {
        const std::lock_guard lock(m_mutex);
        if (const QString wrong = setField(m_card, *field, value); !wrong.isEmpty())
            return QStringLiteral("field \"%1\": %2").arg(QLatin1String(field->key), wrong);
    }
    m_raise(field->event);
    return {};
}

void EmulatedCard::setAnswerMode(std::int32_t mode)
{
    const std::lock_guard lock(m_mutex);
    m_answerMode = mode;
}

template <typename Value>
std::optional<Value> EmulatedCard::read(Value CardDescription::*field) const
{
    const std::lock_guard lock(m_mutex);
    if (!m_card.present)
        return std::nullopt;
    return m_card.*field;
}

std::string EmulatedCard::description()
{
    const std::lock_guard lock(m_mutex);
    return "emulated card " + m_card.name;
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
    const bool circuitSwitched = domain == Domain::CircuitSwitched;
    if (!(circuitSwitched ? m_card.circuitSwitchedKeepsMode : m_card.packetSwitchedKeepsMode))
        (circuitSwitched ? m_card.circuitSwitched : m_card.packetSwitched).reportMode = mode;
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
    if (!status())
        return false;
    m_journal.write("SMS " + inQuotes(message.number) + ' ' + inQuotes(message.text)
                    + (message.receipt ? " receipt=1" : " receipt=0"));
    return true;
}

bool EmulatedCard::execute(const std::string &command, const AnswerSink &answer)
{
    std::function<void()> deliver;
    std::int32_t mode = 0;
    {
        const std::lock_guard lock(m_mutex);
        const std::string key = commandKey(command);
        const auto refused = m_card.refused.find(key);
        if (!m_card.present || (refused != m_card.refused.end() && refused->second))
            return false;
        mode = m_answerMode;
        const auto known = m_card.atAnswers.find(key);
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
            shared::guarded("the answer to an AT command", deliver);
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

// Makes `next` the pending answer and finishes the one before it.
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
    // The receiver of the answer ended the command. The destructor waits for the thread.
    const std::lock_guard lock(m_mutex);
    m_otherThreads.push_back(std::move(answer.thread));
}

Backend makeEmulatedCard(const BackendArgument &argument, const BackendOptions &, EventSink raise,
                         std::string &error, const FreeDevices &)
{
    const QString card = QString::fromStdString(argument.value_or("lte"));
    QString why;
    const auto description = readCard(card, why);
    if (!description) {
        error = why.toStdString();
        return {};
    }
    const auto emulated = std::make_shared<EmulatedCard>(std::move(raise));
    emulated->load(*description);
    // The observer is a part of the card and shares its life.
    return {emulated, {emulated, &emulated->faults()}};
}

} // namespace devsrv
