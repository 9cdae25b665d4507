// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/QuickConnectAddress.h"

#include <QCoreApplication>
#include <QUrl>

namespace moorix {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix", text);
}

struct Parts
{
    NetworkProtocol protocol = NetworkProtocol::sftp;
    bool isUrl = false;
    QString user;
    std::optional<QString> password;
    QString host;
    QString port;
    QString path;
};

/// Takes the text up to `end` off the front of `rest`.
QString takeUntil(QString &rest, qsizetype end, qsizetype separatorLength)
{
    const QString taken = rest.left(end);
    rest.remove(0, end + separatorLength);
    return taken;
}

/// Returns what is wrong, or nothing.
std::optional<QString> takeScheme(QString &rest, Parts &parts)
{
    const qsizetype end = rest.indexOf(QLatin1String("://"));
    if (end < 0)
        return std::nullopt;
    const QString scheme = takeUntil(rest, end, 3);
    const std::optional<NetworkProtocol> protocol = networkProtocolFromRaw(scheme.toUpper());
    if (!protocol)
        return tr("“%1” is not a protocol Moorix connects with; use sftp, ssh, ftp or ftps.").arg(scheme);
    parts.protocol = *protocol;
    parts.isUrl = true;
    return std::nullopt;
}

void takeLogin(QString &rest, Parts &parts)
{
    const qsizetype end = rest.lastIndexOf(u'@');
    if (end < 0)
        return;
    QString login = takeUntil(rest, end, 1);
    const qsizetype colon = login.indexOf(u':');
    if (colon >= 0) {
        parts.password = login.mid(colon + 1);
        login.truncate(colon);
    }
    parts.user = login;
}

std::optional<QString> takeHost(QString &rest, Parts &parts)
{
    if (rest.startsWith(u'[')) {
        const qsizetype end = rest.indexOf(u']');
        if (end < 0)
            return tr("The address has a “[” without its “]”.");
        parts.host = rest.mid(1, end - 1);
        rest.remove(0, end + 1);
    } else if (rest.count(u':') > 1) {
        return tr("An IPv6 address is written in brackets: [2001:db8::1]:22.");
    } else {
        parts.host = takeUntil(rest, rest.indexOf(u':') < 0 ? rest.size() : rest.indexOf(u':'), 0);
    }
    if (rest.startsWith(u':'))
        parts.port = rest.mid(1);
    else if (!rest.isEmpty())
        return tr("“%1” after the host name is not understood.").arg(rest);
    return std::nullopt;
}

std::optional<QString> problem(const Parts &parts)
{
    if (parts.host.isEmpty())
        return tr("Type the server's address: user@host, or sftp://user@host/folder.");
    for (const QChar c : parts.host + parts.user) {
        if (c.isSpace() || c.category() == QChar::Other_Control)
            return tr("User and host names have no spaces.");
    }
    if (parts.host.startsWith(u'-') || parts.user.startsWith(u'-'))
        return tr("User and host names do not begin with “-”.");
    if (parts.host.contains(u'@'))
        return tr("The address has more than one “@”.");
    return std::nullopt;
}

QString decoded(const Parts &parts, const QString &text)
{
    return parts.isUrl ? QUrl::fromPercentEncoding(text.toUtf8()) : text;
}

} // namespace

std::variant<QuickConnectAddress, QString> parseQuickConnectAddress(const QString &text)
{
    QString rest = text.trimmed();
    Parts parts;
    if (const auto wrong = takeScheme(rest, parts))
        return *wrong;
    // Only what comes before the first slash is the place; a path may hold "@" and ":".
    const qsizetype slash = rest.indexOf(u'/');
    QString place = takeUntil(rest, slash < 0 ? rest.size() : slash, 0);
    parts.path = rest;
    takeLogin(place, parts);
    if (const auto wrong = takeHost(place, parts))
        return *wrong;
    parts.user = decoded(parts, parts.user);
    if (const auto wrong = problem(parts))
        return *wrong;

    QuickConnectAddress address{ServerConnection::newDraft(parts.protocol), std::nullopt};
    address.server.host = parts.host;
    address.server.username = parts.user.isEmpty() ? qEnvironmentVariable("USER") : parts.user;
    address.server.remotePath = parts.path == u'/' && parts.isUrl ? QString() : decoded(parts, parts.path);
    if (parts.password)
        address.password = decoded(parts, *parts.password);
    if (!parts.port.isEmpty()) {
        bool isNumber = false;
        address.server.port = parts.port.toLongLong(&isNumber);
        if (!isNumber || address.server.port < 1 || address.server.port > 65535)
            return tr("“%1” is not a port; ports are numbers from 1 to 65535.").arg(parts.port);
    }
    return address;
}

} // namespace moorix
