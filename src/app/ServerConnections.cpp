// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ServerConnections.h"

#include "app/FirstContact.h"
#include "base/Json.h"
#include "files/RemoteFileService.h"
#include "remote/FileServiceFactory.h"

#include <QPointer>
#include <QStringList>

#include <algorithm>
#include <atomic>
#include <mutex>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// The parts of a record that decide which host is reached, as whom and how.
bool isReachedAlike(const ServerConnection &a, const ServerConnection &b)
{
    return a.host == b.host && a.port == b.port && a.username == b.username && a.authMethod == b.authMethod &&
           a.privateKeyPath == b.privateKeyPath && a.networkProtocol == b.networkProtocol &&
           a.strictHostKeyChecking == b.strictHostKeyChecking && a.keepAliveSeconds == b.keepAliveSeconds &&
           a.charset == b.charset && a.passiveMode == b.passiveMode && a.useTLS == b.useTLS;
}

/// Disconnects on a worker. From any thread.
void disconnectLater(std::shared_ptr<RemoteFileService> service, const QPointer<ServerConnections> &observer)
{
    onMain([service = std::move(service), observer] {
        runJob([service](const std::stop_token &) { service->disconnect(); }, [] {}, [](const Error &) {}).detach();
        if (observer)
            emit observer->connectionsChanged();
    });
}

void lockUnlessStopped(std::unique_lock<std::timed_mutex> &lock, const std::stop_token &stop)
{
    while (!lock.try_lock_for(std::chrono::milliseconds(20))) {
        if (stop.stop_requested())
            throw Cancelled();
    }
}

QString startFolder(const ServerConnection &server, RemoteFileService &service, const std::stop_token &stop)
{
    return server.remotePath.isEmpty() ? service.defaultDirectory(stop) : server.remotePath;
}

} // namespace

/// The one way to a server: whoever holds the gate connects, the others wait and join.
struct ServerConnections::Line
{
    std::timed_mutex gate;
    ServerConnection server;
    std::optional<ConnectionCredentials> credentials;
    ServiceMaker makeService;
    std::shared_ptr<ProcessRunner> runner;
    QPointer<ServerConnections> owner;
    /// The line this one replaces; its connection must be gone first, as both use the same control socket.
    std::shared_ptr<Line> replaced;

    std::mutex serviceMutex;
    std::weak_ptr<RemoteFileService> service;
    std::shared_ptr<std::atomic<bool>> isEnded;

    std::shared_ptr<RemoteFileService> live()
    {
        const std::lock_guard lock(serviceMutex);
        return service.lock();
    }

    /// The service if it is still to be disconnected. It is so only once: a late second time would close the connection
    /// that has taken its place on the control socket.
    std::shared_ptr<RemoteFileService> takeLeave()
    {
        const std::lock_guard lock(serviceMutex);
        std::shared_ptr<RemoteFileService> leaving = service.lock();
        return leaving && !isEnded->exchange(true) ? leaving : nullptr;
    }

    /// Without the start folder.
    OpenConnection open(const std::stop_token &stop);

private:
    std::shared_ptr<RemoteFileService> makeShared();
};

/// Wraps the service so that the last user's letting go ends the connection.
std::shared_ptr<RemoteFileService> ServerConnections::Line::makeShared()
{
    std::shared_ptr<RemoteFileService> inner = makeService(server, credentials);
    RemoteFileService *raw = inner.get();
    auto ended = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<RemoteFileService> shared(
        raw, [inner = std::move(inner), observer = owner, ended](RemoteFileService *) mutable {
            const std::shared_ptr<RemoteFileService> last = std::move(inner);
            if (!ended->exchange(true))
                disconnectLater(last, observer);
        });
    const std::lock_guard lock(serviceMutex);
    service = shared;
    isEnded = std::move(ended);
    return shared;
}

OpenConnection ServerConnections::Line::open(const std::stop_token &stop)
{
    std::unique_lock lock(gate, std::defer_lock);
    lockUnlessStopped(lock, stop);
    if (replaced) {
        if (const auto old = replaced->takeLeave())
            old->disconnect();
        replaced.reset();
    }
    OpenConnection result;
    result.service = live();
    if (!result.service)
        result.service = makeShared();
    result.notice = connectNotingFirstContact(*result.service, server, *runner, stop);
    return result;
}

ServerConnections::ServerConnections(std::shared_ptr<KeychainStore> keychain, std::shared_ptr<ProcessRunner> runner,
                                     std::shared_ptr<TransferSpeed> speed, QObject *parent)
    : ServerConnections(
          [keychain = std::move(keychain), runner, speed = std::move(speed)](
              const ServerConnection &server, const std::optional<ConnectionCredentials> &credentials) {
              return credentials ? FileServiceFactory::make(server, *credentials, runner, speed)
                                 : FileServiceFactory::make(server, *keychain, runner, speed);
          },
          runner, parent)
{
}

ServerConnections::ServerConnections(ServiceMaker makeService, std::shared_ptr<ProcessRunner> runner, QObject *parent)
    : QObject(parent)
    , m_makeService(std::move(makeService))
    , m_runner(std::move(runner))
{
}

ServerConnections::~ServerConnections() = default;

std::shared_ptr<ServerConnections::Line>
ServerConnections::lineFor(const ServerConnection &server, const std::optional<ConnectionCredentials> &credentials)
{
    std::shared_ptr<Line> &line = m_lines[server.id];
    const bool fits =
        line && isReachedAlike(line->server, server) && (!credentials || credentials == line->credentials);
    if (fits)
        return line;
    auto fresh = std::make_shared<Line>();
    fresh->server = server;
    fresh->credentials = credentials;
    fresh->makeService = m_makeService;
    fresh->runner = m_runner;
    fresh->owner = this;
    fresh->replaced = line;
    line = std::move(fresh);
    return line;
}

Job ServerConnections::open(const ServerConnection &server, const std::optional<ConnectionCredentials> &credentials,
                            std::function<void(const OpenConnection &)> done, std::function<void(const Error &)> failed)
{
    return runJob(
        [line = lineFor(server, credentials), server](const std::stop_token &stop) {
            OpenConnection connection = line->open(stop);
            connection.startPath = startFolder(server, *connection.service, stop);
            return connection;
        },
        [observer = QPointer(this), done = std::move(done)](const OpenConnection &connection) {
            done(connection);
            if (observer)
                emit observer->connectionsChanged();
        },
        std::move(failed));
}

Job ServerConnections::test(const ServerConnection &draft, const ConnectionCredentials &credentials,
                            std::function<void(const QString &)> done, std::function<void(const Error &)> failed)
{
    ServerConnection apart = draft;
    apart.id = newUuid();
    return runJob(
        [makeService = m_makeService, apart, credentials](const std::stop_token &stop) {
            const std::shared_ptr<RemoteFileService> service = makeService(apart, credentials);
            // Disconnects however the test ends.
            const std::shared_ptr<void> end(nullptr, [&service](void *) { service->disconnect(); });
            service->connect(stop);
            const QString folder = startFolder(apart, *service, stop);
            const qsizetype count = service->list(folder, HiddenFiles::asTheSourceDoes, stop).size();
            return u"Connected to %1. “%2” shows %3."_s.arg(apart.host, folder,
                                                            count == 1 ? u"1 item"_s : u"%1 items"_s.arg(count));
        },
        std::move(done), std::move(failed));
}

std::shared_ptr<RemoteFileService> ServerConnections::live(const QUuid &serverID) const
{
    const std::shared_ptr<Line> line = m_lines.value(serverID);
    return line ? line->live() : nullptr;
}

QList<ServerInUse> ServerConnections::inUse() const
{
    QList<ServerInUse> servers;
    for (const std::shared_ptr<Line> &line : m_lines) {
        if (line->live())
            servers << ServerInUse{line->server, line->credentials};
    }
    return servers;
}

std::optional<QUuid> ServerConnections::serverOf(const FileService &service) const
{
    for (auto line = m_lines.cbegin(); line != m_lines.cend(); ++line) {
        if (line.value()->live().get() == &service)
            return line.key();
    }
    return std::nullopt;
}

void ServerConnections::disconnect(const QUuid &serverID)
{
    const std::shared_ptr<Line> line = m_lines.take(serverID);
    if (!line)
        return;
    if (const auto service = line->takeLeave())
        disconnectLater(service, this);
    emit disconnected(serverID);
}

} // namespace moorix
