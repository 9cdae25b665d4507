// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/LaunchTarget.h"

#include "files/NativePath.h"
#include "ui/QuickConnectAddress.h"

#include <QCoreApplication>
#include <QDir>
#include <QSysInfo>
#include <QUrl>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("LaunchTarget", text);
}

std::optional<ServerConnection> onlyOne(QList<ServerConnection> servers, const auto &fits)
{
    servers.removeIf([&fits](const ServerConnection &server) { return !fits(server); });
    return servers.size() == 1 ? std::optional(servers.first()) : std::nullopt;
}

std::optional<ServerConnection> serverNamed(const QString &name, const QList<ServerConnection> &servers)
{
    const QUuid id(name);
    if (const auto known = onlyOne(servers, [&id](const ServerConnection &server) { return server.id == id; }))
        return known;
    return onlyOne(servers,
                   [&name](const ServerConnection &server) { return server.name == name || server.host == name; });
}

LaunchTarget localTarget(const QString &path)
{
    return {std::nullopt, QDir::cleanPath(QDir::current().absoluteFilePath(path)), {}, {}};
}

LaunchTarget fileUrlTarget(const QString &text)
{
    const QUrl url(text);
    const QString host = url.host();
    if (!host.isEmpty() && host != u"localhost" && host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) != 0)
        return {{}, {}, {}, tr("“%1” is on another computer.").arg(text)};
    // The bytes are the name's own, in whatever encoding it is.
    const QByteArray bytes = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toUtf8());
    if (!bytes.startsWith('/') || bytes.contains('\0'))
        return {{}, {}, {}, tr("“%1” names no file.").arg(text)};
    return localTarget(NativePath::text(bytes));
}

bool isShell(NetworkProtocol protocol)
{
    return protocol == NetworkProtocol::sftp || protocol == NetworkProtocol::ssh;
}

LaunchTarget serverUrlTarget(const QString &text, const QList<ServerConnection> &servers)
{
    const auto parsed = parseQuickConnectAddress(text);
    if (const QString *problem = std::get_if<QString>(&parsed))
        return {{}, {}, {}, *problem};
    const ServerConnection &wanted = std::get<QuickConnectAddress>(parsed).server;
    const bool namesUser = !QUrl(text).userName().isEmpty();
    const auto saved = onlyOne(servers, [&](const ServerConnection &server) {
        const bool isSameKind = server.networkProtocol == wanted.networkProtocol ||
                                (isShell(server.networkProtocol) && isShell(wanted.networkProtocol));
        return isSameKind && server.host.compare(wanted.host, Qt::CaseInsensitive) == 0 && server.port == wanted.port &&
               (!namesUser || server.username == wanted.username);
    });
    if (!saved)
        return {{}, {}, text, {}};
    return {saved, wanted.remotePath.isEmpty() ? std::nullopt : std::optional(wanted.remotePath), {}, {}};
}

} // namespace

LaunchTarget launchTarget(const QString &text, const QList<ServerConnection> &servers)
{
    const qsizetype colon = text.indexOf(u':');
    const QString name = text.left(colon);
    if (colon <= 0 || name.contains(u'/'))
        return localTarget(text);
    const QString rest = text.mid(colon + 1);
    if (name.compare(u"file", Qt::CaseInsensitive) == 0 && rest.startsWith(u'/'))
        return fileUrlTarget(text);
    if (rest.startsWith(u"//"))
        return serverUrlTarget(text, servers);
    const auto server = serverNamed(name, servers);
    if (!server)
        return {{}, {}, {}, tr("There is no saved server “%1”.").arg(name)};
    return {server, rest.isEmpty() ? std::nullopt : std::optional(rest), {}, {}};
}

} // namespace moorix
