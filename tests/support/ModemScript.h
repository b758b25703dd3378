// SPDX-License-Identifier: MIT
#pragma once

#include "TestData.h"

#include <QHash>

#include <optional>
#include <utility>

/// What a modem of modems.txt answers, whatever it is connected to. Not thread-safe.
class ModemScript
{
public:
    /// By command. "prompt" stands for what AT+CMGS= is answered with, "message" for the PDU after
    /// it, "message 2" for the second PDU. "OK" and errors are answers without lines, "silence" is
    /// none, and "raw:" stands in front of the very bytes.
    QHash<QString, QString> answers;
    QByteArrayList journal; ///< the received commands, PDUs in hexadecimal, and "ESC"

    /// `kinds` are separated by blanks; the modem has the answers of each.
    explicit ModemScript(const QString &kinds)
    {
        for (const TableRow &row : readTable("modems.txt")) {
            if (kinds.split(' ').contains(row["kind"]))
                answers[row["command"]] = row["answer"];
        }
    }

    void feed(const QByteArray &bytes) { m_input += bytes; }

    struct Exchange
    {
        QByteArray command;
        QByteArray answer; ///< empty for silence
    };

    /// The next command that was received as a whole, and the answer to it.
    std::optional<Exchange> next()
    {
        for (qsizetype at = 0; at < m_input.size(); ++at) {
            const bool isGivenUp = m_input[at] == '\x1b';
            if (!isGivenUp && m_input[at] != (m_takesMessage ? '\x1a' : '\r'))
                continue;
            const QByteArray command = isGivenUp ? "ESC" : m_input.left(at).trimmed();
            m_input.remove(0, at + 1);
            at = -1;
            if (!command.isEmpty())
                return Exchange{command, answerTo(command)};
        }
        return std::nullopt;
    }

    /// Forgets a command or message of which only a part was received.
    void reset()
    {
        m_input.clear();
        m_takesMessage = false;
    }

private:
    QByteArray answerTo(const QByteArray &command)
    {
        journal << command;
        QString answer = answers.value(command, command == "ESC" ? "silence" : "ERROR");
        if (std::exchange(m_takesMessage, false) && command != "ESC") {
            answer = answers.value("message " + QString::number(++m_messages), answers["message"]);
        } else if (command.startsWith("AT+CMGS=")) {
            answer = answers["prompt"];
            m_takesMessage = answer.contains("> ");
        }
        if (answer == "silence")
            return {};
        if (answer.startsWith("raw:"))
            return answer.mid(4).toLatin1();
        const bool isResult = answer == "OK" || answer.contains("ERROR");
        return ("\r\n" + answer + (isResult ? "\r\n" : "\r\n\r\nOK\r\n")).toLatin1();
    }

    QByteArray m_input;
    bool m_takesMessage = false;
    int m_messages = 0;
};
