// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ConnectionRules.h"

#include <QCoreApplication>

#include <algorithm>

namespace moorix {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix", text);
}

bool hasSpaceOrControl(const QString &text)
{
    return std::ranges::any_of(text, [](QChar c) { return c.isSpace() || c.category() == QChar::Other_Control; });
}

std::optional<QString> hostProblem(const QString &host)
{
    if (host.isEmpty())
        return tr("The host name or address is missing.");
    if (host.startsWith(u'-'))
        return tr("A host name cannot begin with “-”.");
    if (hasSpaceOrControl(host))
        return tr("A host name has no spaces.");
    if (host.contains(u'@'))
        return tr("Type only the host here; the part before “@” is the user name.");
    if (host.contains(u'/'))
        return tr("Type only the host here, without a protocol or folder.");
    return std::nullopt;
}

std::optional<QString> userProblem(const ServerConnection &server)
{
    if (server.username.isEmpty())
        return tr("The user name is missing.");
    if (server.username.startsWith(u'-'))
        return tr("A user name cannot begin with “-”.");
    if (hasSpaceOrControl(server.username))
        return tr("A user name has no spaces.");
    return std::nullopt;
}

std::optional<QString> keyProblem(const ServerConnection &server, bool hasPastedKey)
{
    if (!supportsKeyAuth(server.networkProtocol))
        return std::nullopt;
    if (server.authMethod == AuthMethod::privateKeyFile && server.privateKeyPath.value_or(QString()).isEmpty())
        return tr("Choose the key file.");
    if (server.authMethod == AuthMethod::privateKeyPasted && !hasPastedKey)
        return tr("Paste the private key.");
    return std::nullopt;
}

} // namespace

QList<ConnectionProblem> connectionProblems(const ServerConnection &server, bool hasPastedKey)
{
    QList<ConnectionProblem> problems;
    const auto add = [&problems](ConnectionField field, const std::optional<QString> &text) {
        if (text)
            problems.append({field, *text});
    };
    add(ConnectionField::host, hostProblem(server.host));
    if (server.port < 1 || server.port > 65535)
        add(ConnectionField::port, tr("Ports are numbers from 1 to 65535."));
    add(ConnectionField::username, userProblem(server));
    add(ConnectionField::privateKey, keyProblem(server, hasPastedKey));
    if (server.remotePath.contains(u'\n') || server.remotePath.contains(u'\0'))
        add(ConnectionField::remotePath, tr("A folder's path has no line breaks."));
    if (server.keepAliveSeconds < 0)
        add(ConnectionField::keepAlive, tr("The interval is a number of seconds; 0 turns it off."));
    if (server.charset.trimmed().isEmpty())
        add(ConnectionField::charset, tr("The character set is missing; UTF-8 is right for almost every server."));
    return problems;
}

} // namespace moorix
