// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "servers/ServerConnection.h"

#include <QHash>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace moorix {

class FileService;
class KeychainStore;
class ProcessRunner;
class RemoteFileService;
class TransferSpeed;

/// A server that answered, and what the user should hear about it.
struct OpenConnection
{
    std::shared_ptr<RemoteFileService> service;
    /// The folder to open: the record's remotePath, or the login folder.
    QString startPath;
    /// Said once after the first contact with a host: that its key was accepted, with the fingerprint. Else empty.
    QString notice;
};

/// A server that is in use, and the secrets given for it where they are not those of the keychain.
struct ServerInUse
{
    ServerConnection server;
    std::optional<ConnectionCredentials> credentials;
};

/// The connections of the running program, one service per server, shared by all tabs and transfers. A service is
/// disconnected in the background once nobody holds it. Main thread.
class ServerConnections final : public QObject
{
    Q_OBJECT

public:
    /// Makes the service of a record, with the given secrets or those of the keychain. Called on workers.
    using ServiceMaker = std::function<std::shared_ptr<RemoteFileService>(
        const ServerConnection &, const std::optional<ConnectionCredentials> &)>;

    /// Copies to and from all of them keep to the speed; null sets no limit.
    ServerConnections(std::shared_ptr<KeychainStore> keychain, std::shared_ptr<ProcessRunner> runner,
                      std::shared_ptr<TransferSpeed> speed = nullptr, QObject *parent = nullptr);
    /// With another way to make services than FileServiceFactory.
    ServerConnections(ServiceMaker makeService, std::shared_ptr<ProcessRunner> runner, QObject *parent = nullptr);
    ~ServerConnections() override;

    /// Connects, or joins the live connection of the same record. `credentials` replace those of the keychain (quick
    /// connect). A record whose way of being reached has changed gets a new connection.
    [[nodiscard]] Job open(const ServerConnection &server, const std::optional<ConnectionCredentials> &credentials,
                           std::function<void(const OpenConnection &)> done, std::function<void(const Error &)> failed);
    /// Connects a draft apart from everything else, lists its start folder and disconnects again.
    [[nodiscard]] Job test(const ServerConnection &draft, const ConnectionCredentials &credentials,
                           std::function<void(const QString &summary)> done, std::function<void(const Error &)> failed);
    bool isConnected(const QUuid &serverID) const { return live(serverID) != nullptr; }
    /// All that are connected or about to be, in no order.
    QList<ServerInUse> inUse() const;
    /// The service that is in use for a server, if any.
    std::shared_ptr<RemoteFileService> live(const QUuid &serverID) const;
    /// The server that a live service reaches, if it is one of these.
    std::optional<QUuid> serverOf(const FileService &service) const;
    void disconnect(const QUuid &serverID);

signals:
    void connectionsChanged();
    /// The user has ended the connection to this server, or one in the making.
    void disconnected(const QUuid &serverID);

private:
    struct Line;

    std::shared_ptr<Line> lineFor(const ServerConnection &server,
                                  const std::optional<ConnectionCredentials> &credentials);

    ServiceMaker m_makeService;
    std::shared_ptr<ProcessRunner> m_runner;
    QHash<QUuid, std::shared_ptr<Line>> m_lines;
};

} // namespace moorix
