// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/RemoteFileService.h"
#include "support/DelayProxy.h"
#include "support/ServerProcess.h"

#include <QProcess>
#include <QUuid>

#include <memory>
#include <vector>

/// Servers for programs that tests start and break off; the environment tells the program which of them it is to use.
namespace moorix::test {

/// A server at the end of a line that can be cut.
struct ScenePlace
{
    std::unique_ptr<ServerProcess> server;
    std::unique_ptr<DelayProxy> proxy;
    /// For the program.
    QProcessEnvironment environment;

    QString protocol() const { return environment.value(QStringLiteral("SCENE_PROTOCOL"), QStringLiteral("sftp")); }
};

/// An sshd, and an FTP server where there is one.
std::vector<ScenePlace> scenePlaces();
/// Connected to the server that the environment of this process names, as the record with this id.
std::shared_ptr<RemoteFileService> openSceneServer(const QUuid &id, const std::stop_token &stop);
/// Ends the shared connection that a killed program has left behind.
void forgetSceneConnection(const ScenePlace &place, const QUuid &id);

enum class Victim { program, child, session, line };
/// Returns whether there was anything to strike.
bool strike(Victim victim, const QProcess &program, const ScenePlace &place);

} // namespace moorix::test
