// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/InstanceHandOver.h"

#include "base/FileDescriptor.h"

#include <QDir>
#include <QFile>

#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

namespace moorix {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds pauseBetweenTries{50};

/// Whether the descriptor is ready for `events` before the deadline.
bool waitFor(const FileDescriptor &socket, short events, Clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd waited{socket.value(), events, 0};
    return left.count() > 0 && ::poll(&waited, 1, int(left.count())) > 0;
}

/// The window may hold the lock already and not listen yet, and its queue of callers may be full.
FileDescriptor connected(const QString &path, Clock::time_point deadline)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(path);
    if (size_t(name.size()) >= sizeof address.sun_path)
        return {};
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    while (Clock::now() < deadline) {
        FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (!socket.isOpen())
            return {};
        if (::connect(socket.value(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
            return socket;
        std::this_thread::sleep_for(pauseBetweenTries);
    }
    return {};
}

bool sendAll(const FileDescriptor &socket, QByteArrayView bytes, Clock::time_point deadline)
{
    while (!bytes.isEmpty() && waitFor(socket, POLLOUT, deadline)) {
        const ssize_t sent = ::send(socket.value(), bytes.data(), size_t(bytes.size()), MSG_NOSIGNAL);
        if (sent < 0 && errno != EAGAIN && errno != EINTR)
            return false;
        bytes = bytes.sliced(std::max<qsizetype>(sent, 0));
    }
    return bytes.isEmpty();
}

QByteArray receiveLine(const FileDescriptor &socket, Clock::time_point deadline)
{
    QByteArray line;
    while (!line.contains('\n') && line.size() < instanceMessage::longestBytes && waitFor(socket, POLLIN, deadline)) {
        char buffer[4096];
        const ssize_t received = ::recv(socket.value(), buffer, sizeof buffer, 0);
        if (received == 0 || (received < 0 && errno != EAGAIN && errno != EINTR))
            break;
        line.append(buffer, std::max<ssize_t>(received, 0));
    }
    return line;
}

} // namespace

HandOver handOver(const QString &socketPath, const OpenRequest &request, std::chrono::milliseconds patience)
{
    const Clock::time_point deadline = Clock::now() + patience;
    const QByteArray line = instanceMessage::encode(request);
    if (line.size() > instanceMessage::longestBytes)
        return HandOver::tooMuch;
    const FileDescriptor socket = connected(socketPath, deadline);
    if (!socket.isOpen() || !sendAll(socket, line, deadline))
        return HandOver::unanswered;
    const std::optional<bool> answer = instanceMessage::decodeAnswer(receiveLine(socket, deadline));
    if (!answer)
        return HandOver::unanswered;
    return *answer ? HandOver::accepted : HandOver::refused;
}

QStringList absoluteTargets(const QStringList &targets)
{
    QStringList absolute;
    for (const QString &target : targets) {
        const qsizetype colon = target.indexOf(u':');
        const bool mayBeServer = colon > 0 && !target.left(colon).contains(u'/');
        absolute += mayBeServer ? target : QDir::cleanPath(QDir::current().absoluteFilePath(target));
    }
    return absolute;
}

} // namespace moorix
