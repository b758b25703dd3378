// SPDX-License-Identifier: MIT
#pragma once

#include "ModemScript.h"

#include <QFile>
#include <QTemporaryDir>

#include <atomic>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <utility>

/// A modem on a pseudo-terminal, which answers on a thread of its own. Its port is a link that
/// stays the same when the modem is unplugged and plugged in again.
class PtyModem
{
public:
    explicit PtyModem(const QString &kinds) : m_script(kinds) { plug(); }
    ~PtyModem() { unplug(); }

    QString port() const { return m_folder.filePath("port"); }
    QString card(const QString &options = {}) const { return "serial:" + port() + options; }

    std::atomic<bool> hasEcho = false;    ///< until it is told ATE0
    std::atomic<bool> isInPieces = false; ///< writes single bytes
    std::atomic<bool> isSilent = false;   ///< answers nothing
    std::atomic<bool> restarts = false;   ///< when its radio is switched on

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

    /// In bytes that are sent as they are, "<250>" is a pause of 250 ms.
    void setAnswer(const QString &command, const QString &answer)
    {
        const std::lock_guard lock(m_mutex);
        m_script.answers[command] = answer;
    }

    /// The journal since the last call.
    QByteArrayList takeJournal()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_script.journal, {});
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
        while (m_isPlugged) {
            pollfd port{m_master, POLLIN, 0};
            if (::poll(&port, 1, 20) <= 0)
                continue;
            char bytes[4096];
            const auto size = ::read(m_master, bytes, sizeof bytes);
            if (size > 0)
                m_script.feed(QByteArray(bytes, size));
            while (const auto exchange = next()) {
                if (!isSilent)
                    answer(*exchange);
            }
        }
    }

    std::optional<ModemScript::Exchange> next()
    {
        const std::lock_guard lock(m_mutex);
        const auto exchange = m_script.next();
        if (exchange)
            m_all << exchange->command;
        return exchange;
    }

    void answer(ModemScript::Exchange exchange)
    {
        if (hasEcho)
            send(exchange.command + "\r");
        if (exchange.command == "ATE0" || exchange.command == "ATE1")
            hasEcho = exchange.command == "ATE1";
        if (exchange.command == "ATZ" || (exchange.command == "AT+CFUN=1" && restarts))
            hasEcho = true;
        QByteArray &rest = exchange.answer;
        for (qsizetype begin; (begin = rest.indexOf('<')) >= 0;) {
            const qsizetype end = rest.indexOf('>', begin);
            send(rest.left(begin));
            const int pauseMs = rest.mid(begin + 1, end - begin - 1).toInt();
            std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
            rest.remove(0, end + 1);
        }
        send(rest);
    }

    QTemporaryDir m_folder;
    std::mutex m_mutex;
    std::mutex m_writeMutex;
    ModemScript m_script;
    QByteArrayList m_all;
    std::atomic<bool> m_isPlugged = false;
    int m_master = -1;
    int m_slave = -1;
    std::thread m_thread;
};
