// SPDX-License-Identifier: MIT
#pragma once

#include "AtParser.h"
#include "LineReader.h"
#include "Port.h"

#include <functional>
#include <utility>

namespace devsrv {

enum class AtResult {
    Ok,
    Error,    ///< the card refuses the command
    TimeOut,  ///< the card does not answer this command, but it answers others
    Unusable, ///< the card answers nothing, or its port is gone
};

/// How a command ended.
struct AtAnswer
{
    AtResult result = AtResult::Unusable;
    Lines lines;           ///< without the final one
    std::string finalLine; ///< "OK", "+CME ERROR: 10", ...; empty if there was none

    bool isOk() const { return result == AtResult::Ok; }
    bool isTimeOut() const { return result == AtResult::TimeOut; }
};

/// The AT commands on a port: one at a time, each with its own answer.
///
/// Lives on the port's thread and does not own the port. Every function returns within the time of
/// its command, plus at most three seconds after a command that was not answered. Lines that belong
/// to no command go to the sink; it must not use the channel.
class AtChannel
{
public:
    using LineSink = std::function<void(const std::string &line)>;

    AtChannel(Port &port, milliseconds timeout, LineSink unsolicited);

    /// Makes the card listen, from any state that another program has left it in. Tries several
    /// times. Returns whether it answers.
    bool connectToCard();

    /// Sends a command, without line end, whose answer has at least one line before its OK.
    AtAnswer ask(const std::string &command);

    /// Sends a command, without line end, that is answered by OK alone.
    AtAnswer set(const std::string &command) { return set(command, m_timeout); }
    AtAnswer set(const std::string &command, milliseconds timeout);

    /// Sends a command that asks for a message, and the message after the prompt.
    AtAnswer sendMessage(const std::string &command, const std::string &message,
                         milliseconds timeout);

    /// Sends the bytes of a caller as they are, and passes each line of the answer on when it
    /// arrives, the final one included.
    AtAnswer pass(const std::string &bytes, const AnswerSink &answer);

    /// Passes lines that arrived between commands to the sink.
    void readUnsolicited();

    /// Whether a command runs.
    bool isBusy() const { return m_isBusy; }

    /// Whether the card was seen to repeat commands, since connectToCard() and takeEcho().
    bool hasEcho() const { return m_hasEcho; }
    bool takeEcho() { return std::exchange(m_hasEcho, false); }

private:
    struct Request;
    AtAnswer exchange(const Request &request);
    AtAnswer await(const Request &request);
    bool isDoubtful(const Request &request, const AtAnswer &answer) const;
    AtAnswer verify(const Request &request, const AtAnswer &doubtful);
    bool take(const Request &request, const std::string &line, AtAnswer &answer);
    bool answerPrompt(const Request &request, bool &isPending);
    bool resynchronize();
    bool isEcho(const std::string &line, const std::string &command);
    void fetch();

    Port &m_port;
    const milliseconds m_timeout;
    const LineSink m_unsolicited;
    LineReader m_reader;
    bool m_isMessageLine = false; // the next line is part of an unsolicited message
    bool m_isInStep = false;      // the last result is surely that of the last command
    bool m_isBusy = false;
    bool m_hasEcho = false;
};

} // namespace devsrv
