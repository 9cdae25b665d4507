// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/DelayProxy.h"

#include <QByteArray>
#include <QList>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <list>
#include <memory>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace moorix::test {

namespace {

using Clock = std::chrono::steady_clock;

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

struct Listener
{
    int descriptor;
    quint16 targetPort;
    DelayProxy::Speaks speaks;
    bool takesOne;
};

struct Parcel
{
    Clock::time_point due;
    /// Empty at the end.
    QByteArray bytes;
};

/// One direction of a connection.
struct Way
{
    int from;
    int to;
    bool isReplies;
    std::deque<Parcel> onTheWay = {};
    qsizetype bytesOnTheWay = 0;
    bool hasSeenEnd = false;
    bool isOver = false;
};

struct Connection
{
    Listener origin;
    Clock::time_point made;
    Way there;
    Way back;
};

} // namespace

/// The proxy itself; lives in its thread.
class DelayProxy::Line final
{
public:
    Line(DelayProxy &proxy, Clock::duration roundTrip, qsizetype windowBytes)
        : m_proxy(proxy)
        , m_roundTrip(roundTrip)
        , m_windowBytes(windowBytes)
    {
    }
    ~Line()
    {
        for (const Listener &listener : m_listeners)
            ::close(listener.descriptor);
        for (const Connection &connection : m_connections)
            close(connection);
    }
    Q_DISABLE_COPY_MOVE(Line)

    quint16 listen(quint16 targetPort, DelayProxy::Speaks speaks, bool takesOne)
    {
        const int listener = openSocket();
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        auto *const generic = reinterpret_cast<sockaddr *>(&address);
        if (::bind(listener, generic, size) != 0 || ::listen(listener, 64) != 0 ||
            ::getsockname(listener, generic, &size) != 0)
            qFatal("The proxy could not listen.");
        m_listeners.push_back({listener, targetPort, speaks, takesOne});
        return ntohs(address.sin_port);
    }

    void serve(const std::stop_token &stop)
    {
        while (!stop.stop_requested()) {
            wait();
            accept();
            const bool isCut = m_cutsDone != m_proxy.m_cuts;
            m_cutsDone = m_proxy.m_cuts;
            m_connections.remove_if([&](Connection &connection) {
                for (Way *way : {&connection.there, &connection.back}) {
                    if (m_proxy.m_isStalled)
                        continue;
                    take(connection, *way);
                    deliver(*way);
                }
                const bool isOver = isCut || (connection.there.isOver && connection.back.isOver);
                if (isOver)
                    close(connection);
                return isOver;
            });
        }
    }

private:
    static void close(const Connection &connection)
    {
        ::close(connection.there.from);
        ::close(connection.there.to);
    }

    void wait() const
    {
        const auto now = Clock::now();
        auto wake = now + std::chrono::milliseconds(20);
        std::vector<pollfd> descriptors;
        for (const Listener &listener : m_listeners)
            descriptors.push_back({listener.descriptor, POLLIN, 0});
        for (const Connection &connection : m_connections) {
            for (const Way *way : {&connection.there, &connection.back}) {
                if (m_proxy.m_isStalled)
                    continue;
                if (!way->hasSeenEnd && way->bytesOnTheWay < m_windowBytes)
                    descriptors.push_back({way->from, POLLIN, 0});
                if (way->onTheWay.empty())
                    continue;
                wake = std::min(wake, std::max(now, way->onTheWay.front().due));
                if (way->onTheWay.front().due <= now)
                    descriptors.push_back({way->to, POLLOUT, 0});
            }
        }
        const bool isDue = wake <= now;
        const auto pause = std::chrono::duration_cast<std::chrono::nanoseconds>(
            isDue ? Clock::duration(std::chrono::milliseconds(20)) : wake - now);
        const timespec timeout{0, pause.count()};
        ::ppoll(descriptors.data(), descriptors.size(), &timeout, nullptr);
    }

    void accept()
    {
        const auto connect = [this](const Listener &listener) {
            pollfd waiting = {listener.descriptor, POLLIN, 0};
            if (::poll(&waiting, 1, 0) <= 0)
                return false;
            const int client = ::accept4(listener.descriptor, nullptr, nullptr, SOCK_CLOEXEC);
            const int server = openSocket();
            const int yes = 1;
            for (const int descriptor : {client, server})
                ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
            sockaddr_in address = loopback(listener.targetPort);
            if (::connect(server, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0) {
                m_connections.push_back({listener, Clock::now(), {client, server, false}, {server, client, true}});
            } else {
                ::close(client);
                ::close(server);
            }
            return listener.takesOne;
        };
        const std::vector<Listener> listeners = m_listeners;
        for (const Listener &listener : listeners) {
            if (!connect(listener))
                continue;
            ::close(listener.descriptor);
            std::erase_if(m_listeners, [&](const Listener &other) { return other.descriptor == listener.descriptor; });
        }
    }

    void take(const Connection &connection, Way &way)
    {
        while (!way.hasSeenEnd && way.bytesOnTheWay < m_windowBytes) {
            QByteArray bytes(std::min<qsizetype>(256 * 1024, m_windowBytes), Qt::Uninitialized);
            const ssize_t count = ::recv(way.from, bytes.data(), size_t(bytes.size()), MSG_DONTWAIT);
            if (count < 0 && errno == EAGAIN)
                return;
            bytes.truncate(std::max<ssize_t>(0, count));
            way.hasSeenEnd = count <= 0;
            if (way.isReplies && connection.origin.speaks == DelayProxy::Speaks::ftp)
                redirect(bytes);
            way.bytesOnTheWay += bytes.size();
            way.onTheWay.push_back(
                {std::max(Clock::now(), connection.made + m_roundTrip) + m_roundTrip / 2, std::move(bytes)});
        }
    }

    void deliver(Way &way)
    {
        while (!way.onTheWay.empty() && way.onTheWay.front().due <= Clock::now()) {
            QByteArray &bytes = way.onTheWay.front().bytes;
            if (bytes.isEmpty()) {
                ::shutdown(way.to, SHUT_WR);
                way.isOver = true;
                way.onTheWay.pop_front();
                return;
            }
            const ssize_t sent = ::send(way.to, bytes.constData(), size_t(bytes.size()), MSG_DONTWAIT | MSG_NOSIGNAL);
            if (sent < 0 && errno == EAGAIN)
                return;
            // Nobody is there any more to take it.
            const qsizetype gone = sent < 0 ? bytes.size() : sent;
            way.bytesOnTheWay -= gone;
            m_proxy.m_bytesPassed += std::max<qint64>(0, sent);
            if (gone == bytes.size())
                way.onTheWay.pop_front();
            else
                bytes.remove(0, gone);
        }
    }

    /// Puts a listener of ours in the place of the one an FTP server offers.
    void redirect(QByteArray &bytes)
    {
        static const QRegularExpression extended(QStringLiteral("229 [^(]*\\(\\|\\|\\|(\\d+)\\|\\)"));
        static const QRegularExpression plain(QStringLiteral("227 [^(]*\\(127,0,0,1,(\\d+),(\\d+)\\)"));
        const QString text = QString::fromLatin1(bytes);
        if (const auto match = extended.match(text); match.hasMatch()) {
            const quint16 port = listen(match.captured(1).toUShort(), DelayProxy::Speaks::anything, true);
            bytes.replace("|||" + match.captured(1).toLatin1() + '|', "|||" + QByteArray::number(port) + '|');
        } else if (const auto old = plain.match(text); old.hasMatch()) {
            const int target = old.captured(1).toInt() * 256 + old.captured(2).toInt();
            const quint16 port = listen(quint16(target), DelayProxy::Speaks::anything, true);
            bytes.replace("127,0,0,1," + old.captured(1).toLatin1() + ',' + old.captured(2).toLatin1(),
                          "127,0,0,1," + QByteArray::number(port / 256) + ',' + QByteArray::number(port % 256));
        }
    }

    DelayProxy &m_proxy;
    Clock::duration m_roundTrip;
    qsizetype m_windowBytes;
    int m_cutsDone = 0;
    std::vector<Listener> m_listeners;
    std::list<Connection> m_connections;
};

DelayProxy::DelayProxy(quint16 targetPort, std::chrono::milliseconds roundTrip, Speaks speaks, qsizetype windowBytes)
{
    auto line = std::make_unique<Line>(*this, roundTrip, windowBytes);
    m_port = line->listen(targetPort, speaks, false);
    m_thread = std::jthread([line = std::move(line)](const std::stop_token &stop) { line->serve(stop); });
}

} // namespace moorix::test
