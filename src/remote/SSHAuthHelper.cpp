// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SSHAuthHelper.h"

#include "base/Error.h"
#include "platform/AppPaths.h"
#include "platform/ProcessRunner.h"
#include "remote/ControlSocket.h"
#include "remote/SSHDestination.h"
#include "servers/ServerConnection.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <cerrno>
#include <sys/stat.h>

namespace moorix::SSHAuthHelper {

namespace {

constexpr qint64 largestKeyBytes = 65535;

std::optional<QString> secret(const ServerConnection &server, const ConnectionCredentials &credentials)
{
    switch (server.authMethod) {
    case AuthMethod::password:
        return credentials.password;
    case AuthMethod::privateKeyFile:
    case AuthMethod::privateKeyPasted:
        return credentials.passphrase;
    case AuthMethod::systemKey:
    case AuthMethod::agent:
        break;
    }
    return std::nullopt;
}

PrivateFile askpassScript(const QString &secretPath)
{
    const QString script = QStringLiteral("#!/bin/sh\ncat \"%1\"\n").arg(secretPath);
    PrivateFile file(QStringLiteral("moorix-ask-"), script.toUtf8(), QStringLiteral(".sh"));
    if (::chmod(QFile::encodeName(file.path()).constData(), 0700) != 0) {
        throw Error(QStringLiteral("Storage"),
                    QStringLiteral("“%1” could not be made executable: %2").arg(file.path(), systemErrorText(errno)));
    }
    return file;
}

} // namespace

std::optional<QString> prepareIdentity(const ServerConnection &server, const ConnectionCredentials &credentials,
                                       std::optional<QString> &tempIdentityPath)
{
    if (server.authMethod == AuthMethod::privateKeyFile) {
        const QString path = server.privateKeyPath.value_or(QString());
        return path.isEmpty() ? std::nullopt : std::optional(AppPaths::expandTilde(path));
    }
    const QString text = credentials.privateKeyText.value_or(QString());
    if (server.authMethod != AuthMethod::privateKeyPasted || text.isEmpty())
        return std::nullopt;
    if (!tempIdentityPath)
        tempIdentityPath = PrivateFile(QStringLiteral("moorix-key-"), text.toUtf8()).release();
    return tempIdentityPath;
}

void cleanupIdentity(std::optional<QString> &tempIdentityPath) noexcept
{
    if (tempIdentityPath)
        PrivateFile::removeReleased(*tempIdentityPath);
    tempIdentityPath.reset();
}

QStringList authOptions(const ServerConnection &server, const std::optional<QString> &identityPath, Multiplex multiplex,
                        Interactive interactive)
{
    QStringList options;
    const auto add = [&options](const QString &setting) { options << QStringLiteral("-o") << setting; };
    add(QStringLiteral("StrictHostKeyChecking=") +
        (server.strictHostKeyChecking ? QStringLiteral("yes") : QStringLiteral("accept-new")));
    add(QStringLiteral("ConnectTimeout=20"));
    add(QStringLiteral("NumberOfPasswordPrompts=1"));
    if (interactive == Interactive::yes) {
        add(QStringLiteral("Compression=no"));
        add(QStringLiteral("Ciphers=chacha20-poly1305@openssh.com,aes128-gcm@openssh.com,aes256-gcm@openssh.com"));
    }
    if (server.keepAliveSeconds > 0) {
        add(QStringLiteral("ServerAliveInterval=%1").arg(server.keepAliveSeconds));
        add(QStringLiteral("ServerAliveCountMax=3"));
    }
    if (multiplex == Multiplex::yes) {
        add(QStringLiteral("ControlMaster=auto"));
        add(QStringLiteral("ControlPath=") + ControlSocket::path(server));
        add(QStringLiteral("ControlPersist=120"));
    }
    if (identityPath) {
        add(QStringLiteral("IdentitiesOnly=yes"));
        options << QStringLiteral("-i") << *identityPath;
    }
    return options;
}

QStringList passphraseOptions(const ServerConnection &server, const ConnectionCredentials &credentials)
{
    const bool isOfKey =
        server.authMethod == AuthMethod::privateKeyFile || server.authMethod == AuthMethod::privateKeyPasted;
    if (!isOfKey || credentials.passphrase.value_or(QString()).isEmpty())
        return {};
    return {QStringLiteral("-o"), QStringLiteral("PreferredAuthentications=publickey")};
}

Environment authEnvironment(const ServerConnection &server, const ConnectionCredentials &credentials)
{
    Environment result;
    result.env = QProcessEnvironment::systemEnvironment();
    const QString path = QStringLiteral("PATH");
    result.env.insert(path, result.env.value(path) + QStringLiteral(":/usr/bin:/bin"));
    const QString text = secret(server, credentials).value_or(QString());
    if (text.isEmpty())
        return result;
    result.cleanup.emplace_back(QStringLiteral("moorix-pw-"), text.toUtf8());
    result.cleanup.push_back(askpassScript(result.cleanup.front().path()));
    result.env.insert(QStringLiteral("SSH_ASKPASS"), result.cleanup.back().path());
    result.env.insert(QStringLiteral("SSH_ASKPASS_REQUIRE"), QStringLiteral("force"));
    if (!result.env.contains(QStringLiteral("DISPLAY")))
        result.env.insert(QStringLiteral("DISPLAY"), QStringLiteral(":0"));
    return result;
}

LaunchArguments sshLaunchArgs(const ServerConnection &server, const ConnectionCredentials &credentials,
                              std::optional<QString> &tempIdentityPath)
{
    SSHDestination::check(server);
    const std::optional<QString> identity = prepareIdentity(server, credentials, tempIdentityPath);
    LaunchArguments result;
    result.arguments = authOptions(server, identity, Multiplex::no, Interactive::yes);
    result.arguments << QStringLiteral("-p") << QString::number(server.port) << SSHDestination::text(server);
    result.environment = authEnvironment(server, credentials);
    return result;
}

void closeMaster(const ServerConnection &server, ProcessRunner &runner) noexcept
{
    if (!ControlSocket::isPresent(server)) {
        ControlSocket::forget(server);
        return;
    }
    try {
        ProcessRequest request;
        request.program = QStringLiteral("/usr/bin/ssh");
        request.arguments =
            QStringList{QStringLiteral("-O"),        QStringLiteral("exit"),
                        QStringLiteral("-o"),        QStringLiteral("ControlPath=") + ControlSocket::path(server),
                        QStringLiteral("-p"),        QString::number(server.port),
                        SSHDestination::text(server)};
        runner.run(request, std::stop_token());
    } catch (const Error &) {
        // A connection that cannot be closed ends by itself two minutes after its last use.
    }
    ControlSocket::forget(server);
}

std::optional<QString> readKeyFileForSync(const std::optional<QString> &path)
{
    if (!path || path->isEmpty())
        return std::nullopt;
    QFile file(AppPaths::expandTilde(*path));
    if (!QFileInfo(file).isFile() || file.size() == 0 || file.size() > largestKeyBytes ||
        !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(file.readAll());
    if (decoder.hasError() || !text.contains(QStringLiteral("PRIVATE KEY")))
        return std::nullopt;
    return text;
}

} // namespace moorix::SSHAuthHelper
