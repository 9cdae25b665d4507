// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/ControlSocket.h"

#include "base/Json.h"
#include "platform/AppPaths.h"
#include "remote/SSHAuthHelper.h"
#include "servers/ServerConnection.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>

#include <mutex>

#include <sys/stat.h>
#include <unistd.h>

namespace moorix::ControlSocket {

namespace {

enum class Holder { nobody, us, somebodyElse };

/// How many services use the connection of each server.
struct Users
{
    std::mutex mutex;
    QHash<QUuid, int> counts;
};

Users &usersOfThisProgram()
{
    static Users users;
    return users;
}

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

const QString socketPrefix = QStringLiteral("/tmp/moorix-ssh-");
const QString recordName = QStringLiteral("moorix-login-");

QString recordFolder()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const bool hasRuntime = !runtime.isEmpty() && QDir(runtime).exists();
    return hasRuntime ? runtime : AppPaths::temporaryFolder();
}

QString recordPath(const ServerConnection &server)
{
    return recordFolder() + u'/' + recordName + shortId(server);
}

/// Masters end by themselves after a while without a child, and their records stay. A young one may belong to a master
/// that is just being started.
void forgetEnded()
{
    const QDateTime longAgo = QDateTime::currentDateTimeUtc().addSecs(-600);
    const QFileInfoList records = QDir(recordFolder()).entryInfoList({recordName + u'*'}, QDir::Files);
    for (const QFileInfo &record : records) {
        const QString socket = socketPrefix + record.fileName().sliced(recordName.size());
        if (record.ownerId() == ::getuid() && record.lastModified() < longAgo && holder(socket) == Holder::nobody)
            QFile::remove(record.filePath());
    }
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
    return socketPrefix + shortId(server);
}

bool claim(const ServerConnection &server, const ConnectionCredentials &credentials, ProcessRunner &runner)
{
    static std::once_flag isTidied;
    std::call_once(isTidied, forgetEnded);
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

void join(const ServerConnection &server)
{
    Users &users = usersOfThisProgram();
    const std::lock_guard lock(users.mutex);
    ++users.counts[server.id];
}

bool leave(const ServerConnection &server)
{
    Users &users = usersOfThisProgram();
    const std::lock_guard lock(users.mutex);
    if (--users.counts[server.id] > 0)
        return false;
    users.counts.remove(server.id);
    return true;
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
