// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncManifest.h"

#include "base/Json.h"
#include "servers/ServerConnection.h"

#include <QCryptographicHash>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString subject = u"the sync state"_s;

QString withoutFinalSlash(const QString &path)
{
    return path.size() >= 2 && path.endsWith(u'/') ? path.chopped(1) : path;
}

QString schemeOf(NetworkProtocol protocol)
{
    switch (protocol) {
    case NetworkProtocol::sftp:
        return u"sftp"_s;
    case NetworkProtocol::ftp:
        return u"ftp"_s;
    case NetworkProtocol::ftps:
        return u"ftps"_s;
    case NetworkProtocol::ssh:
        break;
    }
    return u"ssh"_s;
}

} // namespace

QString SyncManifest::pairKey(const QString &localPath, const ServerConnection &server, const QString &remotePath)
{
    const QString identity = u"%1://%2@%3:%4"_s.arg(schemeOf(server.networkProtocol), server.username,
                                                    server.host.toLower(), QString::number(server.port));
    const QString text =
        u"local:"_s + withoutFinalSlash(localPath) + QChar(1) + u"remote:"_s + identity + withoutFinalSlash(remotePath);
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256).toHex());
}

SyncManifest SyncManifest::decode(const QByteArray &bytes)
{
    const JsonReader reader = JsonReader::parse(bytes, subject);
    SyncManifest manifest;
    manifest.id = reader.requiredString(u"id"_s);
    manifest.localPath = reader.requiredString(u"localPath"_s);
    manifest.remoteServerDisplay = reader.requiredString(u"remoteServerDisplay"_s);
    manifest.remotePath = reader.requiredString(u"remotePath"_s);
    manifest.lastSyncDate = reader.optionalDate(u"lastSyncDate"_s);
    manifest.localEntries = readSyncEntries(reader, u"localEntries"_s);
    manifest.remoteEntries = readSyncEntries(reader, u"remoteEntries"_s);
    return manifest;
}

QByteArray SyncManifest::encode() const
{
    JsonWriter writer;
    writer.beginObject();
    writer.field(u"id", id);
    writer.field(u"localPath", localPath);
    writer.field(u"remoteServerDisplay", remoteServerDisplay);
    writer.field(u"remotePath", remotePath);
    writer.field(u"lastSyncDate", lastSyncDate);
    writeSyncEntries(writer, u"localEntries", localEntries);
    writeSyncEntries(writer, u"remoteEntries", remoteEntries);
    writer.endObject();
    return writer.bytes();
}

} // namespace moorix
