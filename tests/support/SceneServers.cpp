// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/SceneServers.h"

#include "remote/FTPService.h"
#include "remote/SFTPService.h"
#include "support/FTPServer.h"
#include "support/Shorthand.h"
#include "support/TestServer.h"

#include <algorithm>
#include <csignal>

namespace moorix::test {

using namespace Qt::StringLiterals;

namespace {

QString setting(const char *name)
{
    return qEnvironmentVariable(name);
}

ScenePlace placeOf(std::unique_ptr<ServerProcess> server, DelayProxy::Speaks speaks, QProcessEnvironment environment)
{
    auto proxy = std::make_unique<DelayProxy>(server->port(), speaks);
    environment.insert(u"SCENE_PORT"_s, QString::number(proxy->port()));
    return {std::move(server), std::move(proxy), std::move(environment)};
}

} // namespace

std::vector<ScenePlace> scenePlaces()
{
    std::vector<ScenePlace> places;
    auto sshd = std::make_unique<TestServer>();
    QProcessEnvironment login;
    login.insert(u"SCENE_USER"_s, sshd->connection().username);
    login.insert(u"SCENE_KEY"_s, sshd->keyPath());
    login.insert(u"SCENE_KNOWN_HOSTS"_s, sshd->knownHostsPath());
    places.push_back(placeOf(std::move(sshd), DelayProxy::Speaks::anything, login));
    if (!FTPServer::missing(FTPServer::Program::vsftpd).isEmpty())
        return places;
    login.insert(u"SCENE_USER"_s, FTPServer::user());
    login.insert(u"SCENE_PROTOCOL"_s, u"ftp"_s);
    places.push_back(placeOf(std::make_unique<FTPServer>(FTPServer::Program::vsftpd, FTPServer::Encryption::none),
                             DelayProxy::Speaks::ftp, login));
    return places;
}

std::shared_ptr<RemoteFileService> openSceneServer(const QUuid &id, const std::stop_token &stop)
{
    ServerConnection record = serverAt(u"127.0.0.1"_s, setting("SCENE_USER"), setting("SCENE_PORT").toInt());
    record.id = id;
    std::shared_ptr<RemoteFileService> service;
    if (setting("SCENE_PROTOCOL") == u"ftp") {
        record.networkProtocol = NetworkProtocol::ftp;
        record.useTLS = false;
        service =
            std::make_shared<FTPService>(record, FTPServer::credentials(), std::make_shared<SystemProcessRunner>());
    } else {
        record.authMethod = AuthMethod::privateKeyFile;
        record.privateKeyPath = setting("SCENE_KEY");
        service = std::make_shared<SFTPService>(record, ConnectionCredentials(),
                                                std::make_shared<IsolatedClients>(setting("SCENE_KNOWN_HOSTS")));
    }
    service->connect(stop);
    return service;
}

void forgetSceneConnection(const ScenePlace &place, const QUuid &id)
{
    for (const QString &name : place.environment.keys())
        qputenv(name.toLatin1().constData(), place.environment.value(name).toUtf8());
    openSceneServer(id, {})->disconnect();
}

bool strike(Victim victim, const QProcess &program, const ScenePlace &place)
{
    if (victim == Victim::line) {
        place.proxy->cut();
        return true;
    }
    const QList<qint64> victims = victim == Victim::program ? QList{program.processId()}
                                  : victim == Victim::child
                                      ? childrenNamed("sftp") + childrenNamed("curl") + childrenNamed("ssh")
                                      : place.server->sessions();
    return std::ranges::any_of(victims, [](qint64 process) { return ::kill(pid_t(process), SIGKILL) == 0; });
}

} // namespace moorix::test
