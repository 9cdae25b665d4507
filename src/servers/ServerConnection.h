// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QUuid>

#include <array>
#include <optional>

namespace moorix {

class JsonReader;
class JsonWriter;

/// How a server is reached. The raw text is both the stored form and the label.
enum class NetworkProtocol { sftp, ftp, ftps, ssh };
inline constexpr std::array allNetworkProtocols{NetworkProtocol::sftp, NetworkProtocol::ftp, NetworkProtocol::ftps,
                                                NetworkProtocol::ssh};

QString rawText(NetworkProtocol protocol);
std::optional<NetworkProtocol> networkProtocolFromRaw(const QString &text);
bool isAvailable(NetworkProtocol protocol);
bool supportsKeyAuth(NetworkProtocol protocol);
bool supportsShell(NetworkProtocol protocol);

/// How the login is proved. The raw text is both the stored form and the label.
enum class AuthMethod { password, systemKey, agent, privateKeyFile, privateKeyPasted };
inline constexpr std::array allAuthMethods{AuthMethod::password, AuthMethod::systemKey, AuthMethod::agent,
                                           AuthMethod::privateKeyFile, AuthMethod::privateKeyPasted};

QString rawText(AuthMethod method);
std::optional<AuthMethod> authMethodFromRaw(const QString &text);

/// One saved server. Never holds a secret. Default construction gives a new record with a fresh identity.
struct ServerConnection
{
    ServerConnection();

    QUuid id;
    QString name;
    NetworkProtocol networkProtocol = NetworkProtocol::sftp;
    QString host;
    qint64 port = 22;
    QString username;
    AuthMethod authMethod = AuthMethod::password;
    std::optional<QString> privateKeyPath;
    /// Initial folder; empty means the login folder.
    QString remotePath;
    /// The folder of the library that holds the server; absent = top level.
    std::optional<QUuid> folderID;
    bool isFavorite = false;
    /// "#RRGGBB".
    std::optional<QString> colorTag;
    std::optional<QString> symbol;
    qint64 sortIndex = 0;
    /// FTP and FTPS: the client opens the data connections.
    bool passiveMode = true;
    /// FTPS: encrypt the control channel.
    bool useTLS = false;
    /// 0 = off.
    qint64 keepAliveSeconds = 0;
    /// Whether unknown host keys are refused.
    bool strictHostKeyChecking = false;
    QString charset = QStringLiteral("UTF-8");
    QString notes;

    /// Stands for this machine where a server identity is required; never the id of a saved record.
    static const QUuid localTerminalID;
    /// The record the connection form starts from.
    static ServerConnection newDraft(NetworkProtocol protocol);

    /// The name, or the host when the name is empty.
    const QString &displayName() const { return name.isEmpty() ? host : name; }

    /// Throws an Error naming a missing or mistyped key; defaults are never filled in for required keys.
    static ServerConnection fromJson(const JsonReader &reader);
    /// One object whose keys are the field names in the order above.
    void writeJson(JsonWriter &writer) const;

    bool operator==(const ServerConnection &) const = default;
};

/// Whether `a` is listed before `b` among siblings: by sortIndex, then by display name in the user's collation,
/// ignoring case.
bool isOrderedBefore(const ServerConnection &a, const ServerConnection &b);

/// The secrets needed to open one server; assembled when connecting, never stored with a record.
struct ConnectionCredentials
{
    std::optional<QString> password;
    std::optional<QString> privateKeyText;
    std::optional<QString> privateKeyPath;
    std::optional<QString> passphrase;

    bool operator==(const ConnectionCredentials &) const = default;
};

} // namespace moorix
