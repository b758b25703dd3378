// SPDX-License-Identifier: MIT
#include "ServiceManager.h"

#include <chrono>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// Returns the time within which a sign of life is expected; 0: it is not watched.
std::chrono::microseconds watchedPeriod()
{
    const QByteArray watched = qgetenv("WATCHDOG_PID");
    if (!watched.isEmpty() && watched.toLongLong() != getpid())
        return {};
    return std::chrono::microseconds(qgetenv("WATCHDOG_USEC").toLongLong());
}

} // namespace

ServiceManager::ServiceManager() : m_address(qgetenv("NOTIFY_SOCKET"))
{
    // Twice in the period, so that one late sign does no harm.
    m_signsOfLife.setInterval(
        std::chrono::duration_cast<std::chrono::milliseconds>(watchedPeriod() / 2));
    QObject::connect(&m_signsOfLife, &QTimer::timeout, [this] { send("WATCHDOG=1"); });
}

void ServiceManager::ready()
{
    send("READY=1");
    if (m_signsOfLife.interval() > 0)
        m_signsOfLife.start();
}

void ServiceManager::send(const QByteArray &state) const
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const auto length = static_cast<std::size_t>(m_address.size());
    if (length == 0 || length >= sizeof address.sun_path)
        return;
    std::memcpy(address.sun_path, m_address.constData(), length);
    if (address.sun_path[0] == '@')
        address.sun_path[0] = '\0';
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return;
    // The length tells where an abstract name ends. Nobody can be told of a failure.
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    [[maybe_unused]] const ssize_t sent = sendto(
        socket, state.constData(), static_cast<std::size_t>(state.size()), MSG_NOSIGNAL,
        reinterpret_cast<const sockaddr *>(&address), size);
    close(socket);
}
