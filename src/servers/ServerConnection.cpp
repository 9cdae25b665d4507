// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerConnection.h"

#include "base/Json.h"

#include <QCollator>

namespace moorix {

namespace {

template <class Case, std::size_t count>
std::optional<Case> caseFromRaw(const std::array<Case, count> &cases, const QString &text)
{
    for (const Case candidate : cases) {
        if (rawText(candidate) == text)
            return candidate;
    }
    return std::nullopt;
}

template <class Case, std::size_t count>
Case requiredCase(const JsonReader &reader, const QString &key, const std::array<Case, count> &cases)
{
    const QString text = reader.requiredString(key);
    const std::optional<Case> found = caseFromRaw(cases, text);
    if (!found)
        reader.fail(key, QStringLiteral("has the unknown value “%1”").arg(text));
    return *found;
}

} // namespace

QString rawText(NetworkProtocol protocol)
{
    switch (protocol) {
    case NetworkProtocol::sftp:
        return QStringLiteral("SFTP");
    case NetworkProtocol::ftp:
        return QStringLiteral("FTP");
    case NetworkProtocol::ftps:
        return QStringLiteral("FTPS");
    case NetworkProtocol::ssh:
        return QStringLiteral("SSH");
    }
    return {};
}

std::optional<NetworkProtocol> networkProtocolFromRaw(const QString &text)
{
    return caseFromRaw(allNetworkProtocols, text);
}

bool isAvailable(NetworkProtocol)
{
    return true;
}

bool supportsKeyAuth(NetworkProtocol protocol)
{
    return supportsShell(protocol);
}

bool supportsShell(NetworkProtocol protocol)
{
    return protocol == NetworkProtocol::sftp || protocol == NetworkProtocol::ssh;
}

QString rawText(AuthMethod method)
{
    switch (method) {
    case AuthMethod::password:
        return QStringLiteral("Password");
    case AuthMethod::systemKey:
        return QStringLiteral("System SSH Key");
    case AuthMethod::agent:
        return QStringLiteral("SSH Agent");
    case AuthMethod::privateKeyFile:
        return QStringLiteral("SSH Key (File)");
    case AuthMethod::privateKeyPasted:
        return QStringLiteral("SSH Key (Provided)");
    }
    return {};
}

std::optional<AuthMethod> authMethodFromRaw(const QString &text)
{
    return caseFromRaw(allAuthMethods, text);
}

const QUuid ServerConnection::localTerminalID(0, 0, 0, 0, 0, 0, 0, 0, 0, 0x4C, 0x0C);

ServerConnection::ServerConnection()
    : id(newUuid())
{
}

ServerConnection ServerConnection::newDraft(NetworkProtocol protocol)
{
    ServerConnection draft;
    draft.networkProtocol = protocol;
    // FTPS drafts start on 21 too: TLS is negotiated there, and implicit TLS on 990 is the rare case.
    draft.port = supportsShell(protocol) ? 22 : 21;
    draft.useTLS = protocol == NetworkProtocol::ftps;
    return draft;
}

ServerConnection ServerConnection::fromJson(const JsonReader &reader)
{
    ServerConnection server;
    server.id = reader.requiredUuid(QStringLiteral("id"));
    server.name = reader.requiredString(QStringLiteral("name"));
    server.networkProtocol = requiredCase(reader, QStringLiteral("networkProtocol"), allNetworkProtocols);
    server.host = reader.requiredString(QStringLiteral("host"));
    server.port = reader.requiredInteger(QStringLiteral("port"));
    server.username = reader.requiredString(QStringLiteral("username"));
    server.authMethod = requiredCase(reader, QStringLiteral("authMethod"), allAuthMethods);
    server.privateKeyPath = reader.optionalString(QStringLiteral("privateKeyPath"));
    server.remotePath = reader.requiredString(QStringLiteral("remotePath"));
    server.folderID = reader.optionalUuid(QStringLiteral("folderID"));
    server.isFavorite = reader.requiredBool(QStringLiteral("isFavorite"));
    server.colorTag = reader.optionalString(QStringLiteral("colorTag"));
    server.symbol = reader.optionalString(QStringLiteral("symbol"));
    server.sortIndex = reader.requiredInteger(QStringLiteral("sortIndex"));
    server.passiveMode = reader.requiredBool(QStringLiteral("passiveMode"));
    server.useTLS = reader.requiredBool(QStringLiteral("useTLS"));
    server.keepAliveSeconds = reader.requiredInteger(QStringLiteral("keepAliveSeconds"));
    server.strictHostKeyChecking = reader.requiredBool(QStringLiteral("strictHostKeyChecking"));
    server.charset = reader.requiredString(QStringLiteral("charset"));
    server.notes = reader.requiredString(QStringLiteral("notes"));
    return server;
}

void ServerConnection::writeJson(JsonWriter &writer) const
{
    writer.beginObject();
    writer.field(u"id", uuidText(id));
    writer.field(u"name", name);
    writer.field(u"networkProtocol", rawText(networkProtocol));
    writer.field(u"host", host);
    writer.field(u"port", port);
    writer.field(u"username", username);
    writer.field(u"authMethod", rawText(authMethod));
    writer.field(u"privateKeyPath", privateKeyPath);
    writer.field(u"remotePath", remotePath);
    writer.field(u"folderID", folderID);
    writer.field(u"isFavorite", isFavorite);
    writer.field(u"colorTag", colorTag);
    writer.field(u"symbol", symbol);
    writer.field(u"sortIndex", sortIndex);
    writer.field(u"passiveMode", passiveMode);
    writer.field(u"useTLS", useTLS);
    writer.field(u"keepAliveSeconds", keepAliveSeconds);
    writer.field(u"strictHostKeyChecking", strictHostKeyChecking);
    writer.field(u"charset", charset);
    writer.field(u"notes", notes);
    writer.endObject();
}

bool isOrderedBefore(const ServerConnection &a, const ServerConnection &b)
{
    if (a.sortIndex != b.sortIndex)
        return a.sortIndex < b.sortIndex;
    // A collator is costly to make and must not be shared between threads.
    thread_local const QCollator collator = [] {
        QCollator made;
        made.setCaseSensitivity(Qt::CaseInsensitive);
        return made;
    }();
    return collator.compare(a.displayName(), b.displayName()) < 0;
}

} // namespace moorix
