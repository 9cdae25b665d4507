// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/DelayProxy.h"

#include <QByteArray>

#include <deque>
#include <list>

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace moorix::test {

namespace {

using Clock = std::chrono::steady_clock;

/// As much as a slow line holds before the sender has to wait.
constexpr qsizetype mostOnTheWayBytes = 1 << 20;

sockaddr_in loopback(quint16 port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

int openSocket()
{
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

/// One direction of a connection.
struct Way
{
    int from;
    int to;
    struct Parcel
    {
        Clock::time_point due;
        QByteArray bytes;
    };
    std::deque<Parcel> onTheWay;
    qsizetype bytesOnTheWay = 0;

    /// False when the sender has closed.
    bool take(std::chrono::milliseconds delay)
    {
        if (bytesOnTheWay >= mostOnTheWayBytes)
            return true;
        QByteArray bytes(65536, Qt::Uninitialized);
        const ssize_t count = ::recv(from, bytes.data(), size_t(bytes.size()), MSG_DONTWAIT);
        if (count <= 0)
            return count < 0 && errno == EAGAIN;
        bytes.truncate(count);
        bytesOnTheWay += count;
        onTheWay.push_back({Clock::now() + delay, bytes});
        return true;
    }

    /// Delivers what is due; returns the number of bytes, or -1 when nobody takes them any more.
    qint64 deliver()
    {
        qint64 delivered = 0;
        while (!onTheWay.empty() && onTheWay.front().due <= Clock::now()) {
            QByteArray &bytes = onTheWay.front().bytes;
            const ssize_t count = ::send(to, bytes.constData(), size_t(bytes.size()), MSG_DONTWAIT | MSG_NOSIGNAL);
            if (count < 0)
                return errno == EAGAIN ? delivered : -1;
            delivered += count;
            bytesOnTheWay -= count;
            if (count < bytes.size()) {
                bytes.remove(0, count);
                break;
            }
            onTheWay.pop_front();
        }
        return delivered;
    }
};

struct Connection
{
    Way there;
    Way back;

    void close() const
    {
        ::close(there.from);
        ::close(there.to);
    }
};

} // namespace

DelayProxy::DelayProxy(quint16 targetPort)
{
    const int listener = openSocket();
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(listener, generic, size) != 0 || ::listen(listener, 16) != 0 ||
        ::getsockname(listener, generic, &size) != 0)
        qFatal("The proxy could not listen.");
    m_port = ntohs(address.sin_port);
    m_thread =
        std::jthread([this, listener, targetPort](const std::stop_token &stop) { serve(stop, listener, targetPort); });
}

void DelayProxy::serve(const std::stop_token &stop, int listener, quint16 targetPort)
{
    std::list<Connection> connections;
    int cutsDone = 0;
    while (!stop.stop_requested()) {
        pollfd waiting = {listener, POLLIN, 0};
        if (::poll(&waiting, 1, connections.empty() ? 10 : 1) > 0) {
            const int client = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            const int server = openSocket();
            sockaddr_in address = loopback(targetPort);
            if (::connect(server, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
                connections.push_back({{client, server, {}, 0}, {server, client, {}, 0}});
        }
        const bool isCut = cutsDone != m_cuts;
        cutsDone = m_cuts;
        connections.remove_if([&](Connection &connection) {
            bool isOpen = !isCut;
            for (Way *way : {&connection.there, &connection.back}) {
                const bool isTaking = way->take(m_delay);
                const qint64 delivered = m_isStalled ? 0 : way->deliver();
                m_bytesPassed += std::max<qint64>(0, delivered);
                isOpen = isOpen && delivered >= 0 && (isTaking || !way->onTheWay.empty());
            }
            if (!isOpen)
                connection.close();
            return !isOpen;
        });
    }
    for (const Connection &connection : connections)
        connection.close();
    ::close(listener);
}

} // namespace moorix::test
