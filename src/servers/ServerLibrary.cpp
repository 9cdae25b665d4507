// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerLibrary.h"

#include "base/Json.h"

namespace moorix {

namespace {

/// How messages call the record at `index`: by its name where it has one.
QString subjectOf(const QString &what, const QJsonArray &records, qsizetype index)
{
    const QString name = records.at(index).toObject().value(QStringLiteral("name")).toString();
    return name.isEmpty() ? QStringLiteral("%1 %2 of the server library").arg(what).arg(index + 1)
                          : QStringLiteral("%1 “%2”").arg(what, name);
}

template <class Record>
QList<Record> decodeAll(const JsonReader &library, const QString &key, const QString &what)
{
    const QJsonArray records = library.requiredArray(key);
    QList<Record> decoded;
    decoded.reserve(records.size());
    for (qsizetype index = 0; index < records.size(); ++index)
        decoded.append(Record::fromJson(library.element(records, index, subjectOf(what, records, index))));
    return decoded;
}

template <class Record>
void encodeAll(JsonWriter &writer, QStringView key, const QList<Record> &records)
{
    writer.key(key);
    writer.beginArray();
    for (const Record &record : records)
        record.writeJson(writer);
    writer.endArray();
}

ServerConnection sampleServer(NetworkProtocol protocol, const QString &name, const QString &host,
                              const QString &username, const std::optional<QString> &colorTag)
{
    ServerConnection server = ServerConnection::newDraft(protocol);
    server.name = name;
    server.host = host;
    server.username = username;
    server.colorTag = colorTag;
    return server;
}

} // namespace

ServerFolder::ServerFolder()
    : id(newUuid())
{
}

ServerFolder ServerFolder::fromJson(const JsonReader &reader)
{
    ServerFolder folder;
    folder.id = reader.requiredUuid(QStringLiteral("id"));
    folder.name = reader.requiredString(QStringLiteral("name"));
    folder.sortIndex = reader.requiredInteger(QStringLiteral("sortIndex"));
    folder.symbol = reader.requiredString(QStringLiteral("symbol"));
    folder.parentID = reader.optionalUuid(QStringLiteral("parentID"));
    folder.colorTag = reader.optionalString(QStringLiteral("colorTag"));
    return folder;
}

void ServerFolder::writeJson(JsonWriter &writer) const
{
    writer.beginObject();
    writer.field(u"id", uuidText(id));
    writer.field(u"name", name);
    writer.field(u"sortIndex", sortIndex);
    writer.field(u"symbol", symbol);
    writer.field(u"parentID", parentID);
    writer.field(u"colorTag", colorTag);
    writer.endObject();
}

ServerLibrary ServerLibrary::sample()
{
    ServerFolder clients;
    clients.name = QStringLiteral("Clients");
    clients.symbol = QStringLiteral("person.2.fill");

    ServerConnection web =
        sampleServer(NetworkProtocol::sftp, QStringLiteral("Demo Web Server"), QStringLiteral("web.example.com"),
                     QStringLiteral("deploy"), QStringLiteral("#3DDC84"));
    web.folderID = clients.id;
    web.remotePath = QStringLiteral("/var/www");
    web.isFavorite = true;
    ServerConnection staging =
        sampleServer(NetworkProtocol::sftp, QStringLiteral("Staging Server"), QStringLiteral("staging.example.com"),
                     QStringLiteral("ubuntu"), std::nullopt);
    staging.folderID = clients.id;
    staging.authMethod = AuthMethod::agent;
    const ServerConnection ftp =
        sampleServer(NetworkProtocol::ftp, QStringLiteral("Example FTP"), QStringLiteral("ftp.example.org"),
                     QStringLiteral("files"), QStringLiteral("#9AA0AA"));
    const ServerConnection vault =
        sampleServer(NetworkProtocol::ftps, QStringLiteral("Backup Vault (FTPS)"), QStringLiteral("198.51.100.24"),
                     QStringLiteral("backup"), QStringLiteral("#5AA9E6"));
    ServerConnection edge =
        sampleServer(NetworkProtocol::ssh, QStringLiteral("Edge Box (SSH)"), QStringLiteral("203.0.113.7"),
                     QStringLiteral("admin"), QStringLiteral("#C792EA"));
    edge.authMethod = AuthMethod::systemKey;
    edge.keepAliveSeconds = 30;

    ServerLibrary library;
    library.folders = {clients};
    library.servers = {web, ftp, vault, edge, staging};
    for (qsizetype index = 0; index < library.servers.size(); ++index)
        library.servers[index].sortIndex = index;
    return library;
}

ServerLibrary ServerLibrary::decode(const QByteArray &bytes)
{
    const JsonReader reader = JsonReader::parse(bytes, QStringLiteral("the server library"));
    ServerLibrary library;
    library.folders = decodeAll<ServerFolder>(reader, QStringLiteral("folders"), QStringLiteral("folder"));
    library.servers = decodeAll<ServerConnection>(reader, QStringLiteral("servers"), QStringLiteral("server"));
    library.lastModified = reader.optionalDate(QStringLiteral("lastModified"));
    return library;
}

QByteArray ServerLibrary::encode() const
{
    JsonWriter writer;
    writer.beginObject();
    encodeAll(writer, u"folders", folders);
    encodeAll(writer, u"servers", servers);
    writer.field(u"lastModified", lastModified);
    writer.endObject();
    return writer.bytes();
}

} // namespace moorix
