// SPDX-License-Identifier: MIT
#include "BusProbe.h"

#include <QtCore/QStringList>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace shared {

namespace {

using Clock = std::chrono::steady_clock;

#ifdef MSG_NOSIGNAL
constexpr int kSendFlags = MSG_NOSIGNAL;
#else
constexpr int kSendFlags = 0;
#endif

constexpr char kStandardAddress[] = "unix:path=/var/run/dbus/system_bus_socket";

// The name of a local socket; the first byte of an abstract one is NUL.
std::optional<QByteArray> socketName(const QString &address)
{
    if (!address.startsWith(QLatin1String("unix:")))
        return std::nullopt;
    for (const QString &pair : address.mid(5).split(QLatin1Char(','))) {
        const QByteArray value = QByteArray::fromPercentEncoding(
            pair.section(QLatin1Char('='), 1).toUtf8());
        if (pair.startsWith(QLatin1String("path=")))
            return value;
        if (pair.startsWith(QLatin1String("abstract=")))
            return '\0' + value;
    }
    return std::nullopt;
}

// A socket whose calls never block.
class Socket
{
public:
    Socket() : m_descriptor(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        ::fcntl(m_descriptor, F_SETFD, FD_CLOEXEC);
        ::fcntl(m_descriptor, F_SETFL, O_NONBLOCK);
    }
    ~Socket() { ::close(m_descriptor); }
    Q_DISABLE_COPY_MOVE(Socket)

    bool connectTo(const QByteArray &name) const
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (name.size() >= qsizetype(sizeof address.sun_path)) {
            errno = ENAMETOOLONG;
            return false;
        }
        std::memcpy(address.sun_path, name.constData(), std::size_t(name.size()));
        // An abstract name ends with the address, another one with a NUL.
        const bool isAbstract = name.startsWith('\0');
        const auto size = offsetof(sockaddr_un, sun_path) + std::size_t(name.size())
            + (isAbstract ? 0 : 1);
        return ::connect(m_descriptor, reinterpret_cast<const sockaddr *>(&address),
                         socklen_t(size))
            == 0;
    }

    bool send(const QByteArray &bytes) const
    {
        return ::send(m_descriptor, bytes.constData(), std::size_t(bytes.size()), kSendFlags)
            == bytes.size();
    }

    // The next bytes; none after the deadline and after the end.
    QByteArray receive(Clock::time_point deadline) const
    {
        using std::chrono::milliseconds;
        pollfd waited{m_descriptor, POLLIN, 0};
        int ready = 0;
        do {
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
            ready = left.count() > 0 ? ::poll(&waited, 1, int(left.count())) : 0;
        } while (ready < 0 && errno == EINTR);
        if (ready <= 0)
            return {};
        char bytes[256];
        const auto count = ::recv(m_descriptor, bytes, sizeof bytes, 0);
        return count > 0 ? QByteArray(bytes, count) : QByteArray();
    }

private:
    const int m_descriptor;
};

// The first line of the conversation that D-Bus connections begin with.
QString whyNotTakenIn(const QByteArray &name, std::chrono::milliseconds timeout)
{
    const auto deadline = Clock::now() + timeout;
    const Socket socket;
    const QByteArray user = QByteArray::number(::geteuid()).toHex();
    if (!socket.connectTo(name) || !socket.send('\0' + ("AUTH EXTERNAL " + user + "\r\n")))
        return QString::fromLocal8Bit(std::strerror(errno));
    QByteArray answer;
    while (!answer.contains('\n')) {
        const QByteArray piece = socket.receive(deadline);
        if (piece.isEmpty())
            return QStringLiteral("it accepted the connection and did not answer");
        answer += piece;
    }
    // A refusal is Qt's to report: it may know other ways in.
    return {};
}

} // namespace

QString whyNoBus(std::chrono::milliseconds timeout)
{
    const QString addresses = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS",
                                                   QString::fromLatin1(kStandardAddress));
    QString why;
    for (const QString &address : addresses.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const auto name = socketName(address);
        why = name ? whyNotTakenIn(*name, timeout) : QString();
        if (why.isEmpty())
            break;
    }
    return why;
}

} // namespace shared
