// SPDX-License-Identifier: MIT
#include "AtChannel.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QScopedValueRollback>

#include <algorithm>

namespace devsrv {

namespace {

using std::chrono::duration_cast;

constexpr char kEscape[] = "\x1b";
constexpr char kEndOfMessage = '\x1a';

// How long the answer to "AT" takes at most, and how often it is sent.
constexpr milliseconds kProbeTime{1'000};
constexpr int kProbes = 3;

// The least time that is waited for a second result after the first one: one of the two is that of
// "AT", the other that of an earlier command.
constexpr milliseconds kSettleTime{300};

// The prompt comes at once, or the card does not know the command.
constexpr milliseconds kPromptTime{5'000};

// More lines than this are no answer to any command here.
constexpr std::size_t kMaxLines = 256;

milliseconds remaining(const QDeadlineTimer &deadline)
{
    return duration_cast<milliseconds>(deadline.remainingTimeAsDuration());
}

std::string withoutEnd(const std::string &command)
{
    return command.substr(0, command.find_last_not_of("\r\n") + 1);
}

} // namespace

struct AtChannel::Request
{
    std::string bytes;
    milliseconds timeout;
    const std::string *message = nullptr; // follows the prompt
    const AnswerSink *sink = nullptr;     // of a caller, who may send any command
    bool wantsLines = false;
    std::string command = withoutEnd(bytes);
};

AtChannel::AtChannel(Port &port, milliseconds timeout, LineSink unsolicited)
    : m_port(port), m_timeout(timeout), m_unsolicited(std::move(unsolicited))
{
}

bool AtChannel::connectToCard()
{
    m_port.read();
    m_reader.reset();
    m_hasEcho = false;
    m_isMessageLine = false;
    m_isInStep = false;
    // Ends a message that another program began. At most one probe is lost to an unfinished line.
    m_port.write(kEscape, m_timeout);
    const QScopedValueRollback busy(m_isBusy, true);
    for (int probe = 0; probe < kProbes && m_port.isOpen(); ++probe) {
        // The second one is for a card that says its results in numbers.
        const char *const command = probe == 1 ? "ATV1\r" : "AT\r";
        if (await({command, std::min(m_timeout, kProbeTime)}).isOk())
            return probe == 0 || resynchronize(); // those before may be answered yet
    }
    return false;
}

AtAnswer AtChannel::ask(const std::string &command)
{
    return exchange({command + '\r', m_timeout, nullptr, nullptr, true});
}

AtAnswer AtChannel::set(const std::string &command, milliseconds timeout)
{
    return exchange({command + '\r', timeout});
}

AtAnswer AtChannel::sendMessage(const std::string &command, const std::string &message,
                                milliseconds timeout)
{
    return exchange({command + '\r', timeout, &message});
}

AtAnswer AtChannel::pass(const std::string &bytes, const AnswerSink &answer)
{
    return exchange({bytes, m_timeout, nullptr, &answer});
}

void AtChannel::readUnsolicited()
{
    fetch();
    while (const auto line = m_reader.next()) {
        if (std::exchange(m_isMessageLine, false) || !isUnsolicited(*line, {}))
            continue;
        m_isMessageLine = isFollowedByMessage(*line);
        m_unsolicited(*line);
    }
}

AtAnswer AtChannel::exchange(const Request &request)
{
    if (m_isBusy || !m_port.isOpen())
        return {};
    readUnsolicited();
    const QScopedValueRollback busy(m_isBusy, true);
    // After a prompt that came too late, the card would take the command for a part of the message.
    if (m_reader.isAtPrompt() && !resynchronize())
        return {};
    AtAnswer answer = await(request);
    if (isDoubtful(request, answer))
        answer = verify(request, answer);
    else
        m_isInStep = request.wantsLines;
    if (answer.result == AtResult::TimeOut && !resynchronize())
        answer.result = AtResult::Unusable;
    return answer;
}

// Whether the result may be a second one of the command before.
bool AtChannel::isDoubtful(const Request &request, const AtAnswer &answer) const
{
    if (!request.wantsLines)
        return false;
    return (answer.isOk() && answer.lines.empty())
        || (answer.result == AtResult::Error && !m_isInStep);
}

// Finds out whether a doubtful result is that of the request: "AT" is then answered next, and
// otherwise after the request. Returns the request's own answer.
AtAnswer AtChannel::verify(const Request &request, const AtAnswer &doubtful)
{
    Request probe{"AT\r", std::min(request.timeout, kProbeTime)};
    probe.command = request.command;
    AtAnswer next = await(probe);
    m_isInStep = true;
    if (next.isOk() && next.lines.empty())
        return doubtful;
    if (next.result != AtResult::TimeOut && !resynchronize())
        next.result = AtResult::Unusable;
    return next;
}

AtAnswer AtChannel::await(const Request &request)
{
    const QDeadlineTimer deadline(request.timeout);
    AtAnswer answer;
    if (!m_port.write(request.bytes, request.timeout)) {
        answer.result = m_port.isOpen() ? AtResult::TimeOut : AtResult::Unusable;
        return answer;
    }
    const QDeadlineTimer promptDeadline(std::min(request.timeout, kPromptTime));
    bool isPromptPending = request.message != nullptr;
    while (true) {
        while (const auto line = m_reader.next()) {
            if (!take(request, *line, answer))
                continue;
            // The card asks for the message before it says OK: this one is of the command before.
            if (!isPromptPending || !answer.isOk())
                return answer;
            answer = {};
        }
        if (!answerPrompt(request, isPromptPending))
            break;
        const QDeadlineTimer &next = isPromptPending ? promptDeadline : deadline;
        if (!m_port.waitForData(remaining(next)) && (next.hasExpired() || !m_port.isOpen()))
            break;
        fetch();
        if (next.hasExpired())
            break;
    }
    if (isPromptPending)
        m_port.write(kEscape, m_timeout);
    answer.result = m_port.isOpen() ? AtResult::TimeOut : AtResult::Unusable;
    return answer;
}

// Takes one line that arrives during a command. Returns whether it is the final one.
bool AtChannel::take(const Request &request, const std::string &line, AtAnswer &answer)
{
    if (std::exchange(m_isMessageLine, false))
        return false;
    if (isEcho(line, request.command))
        return false;
    const LineKind kind = kindOf(line);
    const bool isFinal = kind == LineKind::Ok || kind == LineKind::Error
        || (kind == LineKind::CallResult && request.sink);
    const bool isForeign = request.sink ? isKnownUnsolicited(line, request.command)
                                        : isUnsolicited(line, request.command);
    if (!isFinal && (isForeign || kind == LineKind::CallResult)) {
        m_isMessageLine = isFollowedByMessage(line);
        m_unsolicited(line);
        return false;
    }
    if (request.sink)
        (*request.sink)("\r\n" + line + "\r\n");
    if (isFinal) {
        answer.result = kind == LineKind::Ok ? AtResult::Ok : AtResult::Error;
        answer.finalLine = line;
    } else if (!request.sink && answer.lines.size() < kMaxLines) {
        answer.lines.push_back(line);
    }
    return isFinal;
}

// Sends the message where one is due, and gives up where the card asks for another one. Returns
// whether the answer can still come.
bool AtChannel::answerPrompt(const Request &request, bool &isPending)
{
    if (!m_reader.isAtPrompt())
        return true;
    m_reader.dropPartial();
    if (std::exchange(isPending, false))
        return m_port.write(*request.message + kEndOfMessage, request.timeout);
    return m_port.write(kEscape, m_timeout);
}

// Finds the card's place again after a command that was not answered in time: its answer must not
// be taken for that of the next command. Cards answer in order, so it comes before that of "AT".
bool AtChannel::resynchronize()
{
    if (m_reader.isAtPrompt()) {
        m_reader.dropPartial();
        m_port.write(kEscape, m_timeout);
    }
    if (!m_port.write("\rAT\r", m_timeout))
        return false;
    int results = 0;
    QDeadlineTimer deadline(std::min(kProbeTime, m_timeout));
    while (results < 2 && !deadline.hasExpired() && m_port.isOpen()) {
        m_port.waitForData(remaining(deadline));
        fetch();
        while (const auto line = m_reader.next()) {
            const LineKind kind = kindOf(*line);
            if (isKnownUnsolicited(*line, {}))
                m_unsolicited(*line);
            else if ((kind == LineKind::Ok || kind == LineKind::Error) && ++results == 1)
                deadline.setRemainingTime(std::clamp(m_timeout / 3, kSettleTime, kProbeTime));
        }
    }
    m_isInStep = true;
    return results > 0 && m_port.isOpen();
}

bool AtChannel::isEcho(const std::string &line, const std::string &command)
{
    const bool isCommand = command.starts_with("AT") && line.ends_with(command);
    if (!isCommand && line != "AT")
        return false;
    m_hasEcho = true;
    return true;
}

void AtChannel::fetch()
{
    m_reader.feed(m_port.read());
}

} // namespace devsrv
