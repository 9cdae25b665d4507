// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/SlowProxy.h"

#include <QByteArray>

#include <algorithm>
#include <cerrno>
#include <list>

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace moorix::test {

namespace {

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
    QByteArray onTheWay;

    /// Passes one parcel on. Returns its size, or -1 when either side has closed.
    qint64 pass()
    {
        if (onTheWay.isEmpty()) {
            onTheWay.resize(16384);
            const ssize_t taken = ::recv(from, onTheWay.data(), size_t(onTheWay.size()), MSG_DONTWAIT);
            onTheWay.truncate(std::max<ssize_t>(0, taken));
            if (taken <= 0)
                return taken < 0 && errno == EAGAIN ? 0 : -1;
        }
        const ssize_t sent = ::send(to, onTheWay.constData(), size_t(onTheWay.size()), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0)
            return errno == EAGAIN ? 0 : -1;
        onTheWay.remove(0, sent);
        return sent;
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

SlowProxy::SlowProxy(quint16 targetPort)
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

void SlowProxy::serve(const std::stop_token &stop, int listener, quint16 targetPort)
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
                connections.push_back({{client, server, {}}, {server, client, {}}});
        }
        const bool isCut = cutsDone != m_cuts;
        cutsDone = m_cuts;
        connections.remove_if([&](Connection &connection) {
            bool isOpen = !isCut;
            for (Way *way : {&connection.there, &connection.back}) {
                const qint64 passed = m_isStalled ? 0 : way->pass();
                m_bytesPassed += std::max<qint64>(0, passed);
                isOpen = isOpen && passed >= 0;
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
