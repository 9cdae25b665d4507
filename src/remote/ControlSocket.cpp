// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/ControlSocket.h"

#include "base/Json.h"
#include "platform/AppPaths.h"
#include "remote/SSHAuthHelper.h"
#include "servers/ServerConnection.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <sys/stat.h>
#include <unistd.h>

namespace moorix::ControlSocket {

namespace {

enum class Holder { nobody, us, somebodyElse };

Holder holder(const QString &path)
{
    struct stat info = {};
    if (::lstat(QFile::encodeName(path).constData(), &info) != 0)
        return Holder::nobody;
    return info.st_uid == ::getuid() ? Holder::us : Holder::somebodyElse;
}

QString shortId(const ServerConnection &server)
{
    return uuidText(server.id).left(8);
}

QString recordPath(const ServerConnection &server)
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const bool hasRuntime = !runtime.isEmpty() && QDir(runtime).exists();
    return (hasRuntime ? runtime : AppPaths::temporaryFolder()) + QStringLiteral("/moorix-login-") + shortId(server);
}

/// What a live master stands for, as a digest that reveals nothing.
QByteArray loginDigest(const ServerConnection &server, const ConnectionCredentials &credentials)
{
    QString key;
    if (server.authMethod == AuthMethod::privateKeyFile)
        key = server.privateKeyPath.value_or(QString());
    else if (server.authMethod == AuthMethod::privateKeyPasted)
        key = credentials.privateKeyText.value_or(QString());
    const QStringList login{server.username, server.host, QString::number(server.port), rawText(server.authMethod),
                            key};
    return QCryptographicHash::hash(login.join(QChar(0)).toUtf8(), QCryptographicHash::Sha256).toHex();
}

QByteArray readRecord(const QString &path)
{
    QFile file(path);
    if (holder(path) != Holder::us || !file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

bool writeRecord(const QString &path, const QByteArray &digest)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
           file.write(digest) == digest.size() && file.commit();
}

} // namespace

QString path(const ServerConnection &server)
{
    return QStringLiteral("/tmp/moorix-ssh-") + shortId(server);
}

bool claim(const ServerConnection &server, const ConnectionCredentials &credentials, ProcessRunner &runner)
{
    const Holder socket = holder(path(server));
    if (socket == Holder::somebodyElse)
        return false;
    const QString record = recordPath(server);
    const QByteArray digest = loginDigest(server, credentials);
    if (readRecord(record) == digest)
        return true;
    if (socket == Holder::us)
        SSHAuthHelper::closeMaster(server, runner);
    return writeRecord(record, digest);
}

bool isPresent(const ServerConnection &server)
{
    return holder(path(server)) == Holder::us;
}

void forget(const ServerConnection &server)
{
    QFile::remove(recordPath(server));
}

} // namespace moorix::ControlSocket
