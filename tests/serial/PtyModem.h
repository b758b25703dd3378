// SPDX-License-Identifier: MIT
#pragma once

#include "TestData.h"

#include <QFile>
#include <QHash>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <atomic>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <utility>

/// A modem on a pseudo-terminal that answers AT commands as in modems.txt, on a thread of its own.
/// Its port is a link that stays the same when the modem is unplugged and plugged in again.
class PtyModem
{
public:
    /// `kinds` are separated by blanks; the modem has the answers of each.
    explicit PtyModem(const QString &kinds)
    {
        for (const TableRow &row : readTable("modems.txt")) {
            if (kinds.split(' ').contains(row["kind"]))
                m_answers[row["command"].toUtf8()] = row["answer"].toUtf8();
        }
        plug();
    }
    ~PtyModem() { unplug(); }

    QString port() const { return m_folder.filePath("port"); }
    QString card(const QString &options = {}) const { return "serial:" + port() + options; }

    std::atomic<int> delayMs = 0;         ///< before each answer
    std::atomic<bool> hasEcho = false;    ///< until it is told ATE0
    std::atomic<bool> isInPieces = false; ///< writes single bytes
    std::atomic<bool> isSilent = false;   ///< answers nothing

    void plug()
    {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ::grantpt(m_master);
        ::unlockpt(m_master);
        const char *const name = ::ptsname(m_master);
        // Keeps the terminal alive, and raw, while no program has it open.
        m_slave = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios mode;
        ::tcgetattr(m_slave, &mode);
        ::cfmakeraw(&mode);
        ::tcsetattr(m_slave, TCSANOW, &mode);
        QFile::link(name, port());
        m_isPlugged = true;
        m_thread = std::thread([this] { run(); });
    }

    void unplug()
    {
        if (!m_isPlugged.exchange(false))
            return;
        QFile::remove(port());
        m_thread.join();
        ::close(m_slave);
        ::close(m_master);
    }

    /// `answer` is that of modems.txt; "silence" for none; "raw:" in front of bytes that are sent
    /// as they are; "late:" in front of an answer that comes after 700 ms.
    void setAnswer(const QByteArray &command, const QByteArray &answer)
    {
        const std::lock_guard lock(m_mutex);
        m_answers[command] = answer;
    }

    /// The commands that came since the last call, and messages in hexadecimal.
    QByteArrayList takeJournal()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_journal, {});
    }

    /// All commands that ever came.
    QByteArrayList allCommands()
    {
        const std::lock_guard lock(m_mutex);
        return m_all;
    }

    void say(const QByteArray &line) { send("\r\n" + line + "\r\n"); }

    void send(const QByteArray &bytes)
    {
        const std::lock_guard lock(m_writeMutex);
        const qsizetype step = isInPieces ? 1 : bytes.size();
        for (qsizetype at = 0; at < bytes.size();) {
            const auto size = ::write(m_master, bytes.constData() + at,
                                      std::size_t(std::min(step, bytes.size() - at)));
            if (size < 0)
                return;
            at += size;
        }
    }

private:
    void run()
    {
        QByteArray input;
        bool takesMessage = false;
        while (m_isPlugged) {
            pollfd port{m_master, POLLIN, 0};
            if (::poll(&port, 1, 20) <= 0)
                continue;
            char bytes[4096];
            const auto size = ::read(m_master, bytes, sizeof bytes);
            if (size > 0)
                input.append(bytes, size);
            for (qsizetype at = 0; at < input.size(); ++at) {
                const bool isGivenUp = input[at] == '\x1b';
                if (!isGivenUp && input[at] != (takesMessage ? '\x1a' : '\r'))
                    continue;
                const QByteArray text = isGivenUp ? "ESC" : input.left(at).trimmed();
                input.remove(0, at + 1);
                at = -1;
                if (!text.isEmpty())
                    takesMessage = answer(text, takesMessage) && !isGivenUp;
            }
        }
    }

    // Returns whether a message has to follow.
    bool answer(const QByteArray &command, bool isMessage)
    {
        QByteArray answer;
        {
            const std::lock_guard lock(m_mutex);
            m_journal << command;
            m_all << command;
            if (command == "ESC")
                return false;
            answer = m_answers.value(isMessage ? "message" : command, "ERROR");
            if (isMessage)
                answer = m_answers.value("message after " + QByteArray::number(++m_messages),
                                         answer);
        }
        if (isSilent)
            return false;
        if (hasEcho)
            send(command + "\r");
        if (command == "ATE0" || command == "ATE1")
            hasEcho = command == "ATE1";
        QTest::qSleep(delayMs);
        const bool asksForMessage = command.startsWith("AT+CMGS=") && !isMessage;
        if (asksForMessage && !m_answers.contains("no prompt")) {
            send("\r\n> ");
            return true;
        }
        if (answer.startsWith("late:"))
            QTest::qSleep(700);
        if (answer.startsWith("late:"))
            answer.remove(0, 5);
        if (answer.startsWith("raw:"))
            send(answer.mid(4));
        else if (answer == "OK" || answer.contains("ERROR"))
            say(answer);
        else if (answer != "silence")
            say(answer + "\r\n\r\nOK");
        return false;
    }

    QTemporaryDir m_folder;
    std::mutex m_mutex;
    std::mutex m_writeMutex;
    QHash<QByteArray, QByteArray> m_answers;
    QByteArrayList m_journal;
    QByteArrayList m_all;
    int m_messages = 0;
    std::atomic<bool> m_isPlugged = false;
    int m_master = -1;
    int m_slave = -1;
    std::thread m_thread;
};
