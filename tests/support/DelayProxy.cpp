// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/DelayProxy.h"

#include <QByteArray>
#include <QList>
#include <QRegularExpression>

#include <algorithm>
#include <array>
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

struct Listener
{
    int descriptor;
    quint16 targetPort;
    DelayProxy::Speaks speaks;
    bool takesOne;
};

/// Bytes that leave at a moment; none at the end.
struct Parcel
{
    Clock::time_point due;
    QByteArray bytes;
};

/// One direction of a connection. Nothing of it leaves before `opened`.
struct Way
{
    int from;
    int to;
    bool offersPorts;
    Clock::time_point opened;
    std::deque<Parcel> onTheWay = {};
    qsizetype bytesOnTheWay = 0;
    bool hasSeenEnd = false;
    bool isOver = false;
};

using Connection = std::array<Way, 2>;

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
        const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
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
                for (Way &way : connection) {
                    if (m_proxy.m_isStalled)
                        continue;
                    take(way);
                    deliver(way);
                }
                const bool isOver = isCut || (connection[0].isOver && connection[1].isOver);
                if (isOver)
                    close(connection);
                return isOver;
            });
        }
    }

private:
    static void close(const Connection &connection)
    {
        for (const Way &way : connection)
            ::close(way.from);
    }

    /// For bytes or a connection that come, or until those on the way may be due.
    void wait() const
    {
        std::vector<pollfd> descriptors;
        for (const Listener &listener : m_listeners)
            descriptors.push_back({listener.descriptor, POLLIN, 0});
        bool isBusy = false;
        for (const Connection &connection : m_connections) {
            for (const Way &way : connection) {
                if (!m_proxy.m_isStalled && !way.hasSeenEnd && way.bytesOnTheWay < m_windowBytes)
                    descriptors.push_back({way.from, POLLIN, 0});
                isBusy = isBusy || !way.onTheWay.empty();
            }
        }
        const timespec longest{0, isBusy ? 200'000 : 20'000'000};
        ::ppoll(descriptors.data(), descriptors.size(), &longest, nullptr);
    }

    void accept()
    {
        // Those that are added meanwhile have their turn the next time.
        for (const Listener &listener : std::vector<Listener>(m_listeners)) {
            const int client = ::accept4(listener.descriptor, nullptr, nullptr, SOCK_CLOEXEC);
            if (client < 0)
                continue;
            connect(client, listener);
            if (!listener.takesOne)
                continue;
            ::close(listener.descriptor);
            std::erase_if(m_listeners, [&](const Listener &other) { return other.descriptor == listener.descriptor; });
        }
    }

    void connect(int client, const Listener &listener)
    {
        const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int yes = 1;
        for (const int descriptor : {client, server})
            ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        sockaddr_in address = loopback(listener.targetPort);
        const auto opened = Clock::now() + m_roundTrip;
        const Connection connection{Way{client, server, false, opened},
                                    Way{server, client, listener.speaks == DelayProxy::Speaks::ftp, opened}};
        if (::connect(server, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
            m_connections.push_back(connection);
        else
            close(connection);
    }

    void take(Way &way)
    {
        while (!way.hasSeenEnd && way.bytesOnTheWay < m_windowBytes) {
            QByteArray bytes(std::min<qsizetype>(256 * 1024, m_windowBytes), Qt::Uninitialized);
            const ssize_t count = ::recv(way.from, bytes.data(), size_t(bytes.size()), MSG_DONTWAIT);
            if (count < 0 && errno == EAGAIN)
                return;
            bytes.truncate(std::max<ssize_t>(0, count));
            way.hasSeenEnd = count <= 0;
            if (way.offersPorts)
                redirect(bytes);
            way.bytesOnTheWay += bytes.size();
            way.onTheWay.push_back({std::max(Clock::now(), way.opened) + m_roundTrip / 2, std::move(bytes)});
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
        static const QRegularExpression offer(QStringLiteral("229 [^(]*\\(\\|\\|\\|(\\d+)\\|\\)"));
        const auto match = offer.match(QString::fromLatin1(bytes));
        if (!match.hasMatch())
            return;
        const quint16 port = listen(match.captured(1).toUShort(), DelayProxy::Speaks::anything, true);
        bytes.replace(match.capturedStart(1), match.capturedLength(1), QByteArray::number(port));
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
