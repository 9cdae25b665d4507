// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SSHDestination.h"

#include "files/FileServiceError.h"
#include "files/Format.h"
#include "servers/ServerConnection.h"

#include <QHostAddress>

#include <algorithm>

namespace moorix::SSHDestination {

namespace {

[[noreturn]] void refuse(const QString &what, const QString &value, const QString &problem)
{
    throw FileServiceError::connectionFailed(
        QStringLiteral("the %1 “%2” %3").arg(what, Format::display(value), problem));
}

bool isIPv6Literal(const QString &host)
{
    return host.contains(u':') && QHostAddress(host).protocol() == QAbstractSocket::IPv6Protocol;
}

bool isBlankOrControl(QChar c)
{
    return c.isSpace() || c.unicode() < 0x20 || c.unicode() == 0x7f;
}

void checkName(const QString &what, const QString &value)
{
    if (value.isEmpty())
        throw FileServiceError::connectionFailed(QStringLiteral("the server's %1 is empty.").arg(what));
    if (value.startsWith(u'-'))
        refuse(what, value, QStringLiteral("begins with “-”, which the client would take for an option."));
    if (std::any_of(value.begin(), value.end(), isBlankOrControl))
        refuse(what, value, QStringLiteral("holds a blank or a control character."));
}

} // namespace

void check(const ServerConnection &server)
{
    const QString user = QStringLiteral("user name");
    checkHost(server);
    checkName(user, server.username);
    if (server.username.contains(u':'))
        refuse(user, server.username, QStringLiteral("holds a “:”, which the client would take for a path."));
}

void checkHost(const ServerConnection &server)
{
    const QString host = QStringLiteral("host");
    checkName(host, server.host);
    if (server.host.contains(u'/') || server.host.contains(u'@'))
        refuse(host, server.host, QStringLiteral("must be a name or an address alone, without “/” and “@”."));
    if (server.host.contains(u':') && !isIPv6Literal(server.host))
        refuse(host, server.host, QStringLiteral("holds a “:”; the port belongs into its own field."));
    if (server.port < 1 || server.port > 65535) {
        throw FileServiceError::connectionFailed(
            QStringLiteral("%1 is not a port; ports are numbers from 1 to 65535.").arg(server.port));
    }
}

QString hostText(const ServerConnection &server)
{
    return isIPv6Literal(server.host) ? u'[' + server.host + u']' : server.host;
}

QString text(const ServerConnection &server)
{
    return server.username + u'@' + hostText(server);
}

} // namespace moorix::SSHDestination
