// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ServerLook.h"

#include "ui/Theme.h"

#include <QCoreApplication>
#include <QHash>
#include <QPainter>
#include <QPixmap>

namespace moorix::ServerLook {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix::ServerLook", text);
}

/// Stored symbol names are free text, written by other versions too; these are the ones with an icon of their own.
QString iconName(const ServerConnection &server)
{
    static const QHash<QString, QString> names{
        {QStringLiteral("server.rack"), QStringLiteral("network-server")},
        {QStringLiteral("globe"), QStringLiteral("internet-services")},
        {QStringLiteral("cylinder"), QStringLiteral("server-database")},
        {QStringLiteral("externaldrive"), QStringLiteral("drive-harddisk")},
        {QStringLiteral("terminal"), QStringLiteral("application-x-shellscript")},
        {QStringLiteral("cloud"), QStringLiteral("folder-cloud")},
        {QStringLiteral("lock"), QStringLiteral("object-locked")},
        {QStringLiteral("house"), QStringLiteral("go-home")},
    };
    if (server.symbol && names.contains(*server.symbol))
        return names.value(*server.symbol);
    switch (server.networkProtocol) {
    case NetworkProtocol::ssh:
        return QStringLiteral("application-x-shellscript");
    case NetworkProtocol::ftp:
    case NetworkProtocol::ftps:
        return QStringLiteral("folder-remote");
    case NetworkProtocol::sftp:
        break;
    }
    return QStringLiteral("network-server");
}

QIcon tinted(const QIcon &icon, const QColor &color)
{
    QIcon result;
    for (const int size : {16, 22, 32}) {
        QPixmap pixmap = icon.pixmap(size, size);
        QPainter painter(&pixmap);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), color);
        painter.end();
        result.addPixmap(pixmap);
    }
    return result;
}

} // namespace

QIcon icon(const ServerConnection &server)
{
    const QIcon plain = Theme::icon(iconName(server));
    const std::optional<QColor> tag = color(server.colorTag);
    return tag ? tinted(plain, *tag) : plain;
}

qint64 usualPort(NetworkProtocol protocol)
{
    return protocol == NetworkProtocol::sftp || protocol == NetworkProtocol::ssh ? 22 : 21;
}

QString address(const ServerConnection &server)
{
    QString text = server.host.contains(u':') ? QStringLiteral("[%1]").arg(server.host) : server.host;
    if (!server.username.isEmpty())
        text.prepend(server.username + u'@');
    if (server.port != usualPort(server.networkProtocol))
        text += QStringLiteral(":%1").arg(server.port);
    return text + server.remotePath;
}

std::optional<QColor> color(const std::optional<QString> &colorTag)
{
    if (!colorTag || !QColor::isValidColor(*colorTag))
        return std::nullopt;
    return QColor(*colorTag);
}

QIcon dot(const QColor &color)
{
    constexpr int size = 32;
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(QRect(6, 6, 20, 20));
    painter.end();
    return QIcon(pixmap);
}

const QList<std::pair<QString, QString>> &colorTags()
{
    static const QList<std::pair<QString, QString>> tags{
        {QStringLiteral("#E5484D"), tr("Red")},    {QStringLiteral("#F5A623"), tr("Orange")},
        {QStringLiteral("#F0D35B"), tr("Yellow")}, {QStringLiteral("#3DDC84"), tr("Green")},
        {QStringLiteral("#5AA9E6"), tr("Blue")},   {QStringLiteral("#C792EA"), tr("Purple")},
        {QStringLiteral("#9AA0AA"), tr("Grey")},
    };
    return tags;
}

const QList<std::pair<QString, QString>> &symbols()
{
    static const QList<std::pair<QString, QString>> all{
        {QStringLiteral("server.rack"), tr("Server")}, {QStringLiteral("globe"), tr("Web")},
        {QStringLiteral("cylinder"), tr("Database")},  {QStringLiteral("externaldrive"), tr("Storage")},
        {QStringLiteral("terminal"), tr("Terminal")},  {QStringLiteral("cloud"), tr("Cloud")},
        {QStringLiteral("lock"), tr("Lock")},          {QStringLiteral("house"), tr("Home")},
    };
    return all;
}

} // namespace moorix::ServerLook
