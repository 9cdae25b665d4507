// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QColor>
#include <QIcon>
#include <QList>

#include <utility>

/// How servers and their folders are drawn, wherever they are listed.
namespace moorix::ServerLook {

/// The icon of the record's symbol, in the record's colour; without a symbol one for its protocol.
QIcon icon(const ServerConnection &server);
/// "deploy@web-01:2222/var/www"; the port only where it is not the protocol's usual one.
QString address(const ServerConnection &server);
/// The usual port of a protocol.
qint64 usualPort(NetworkProtocol protocol);
/// Nothing when the tag is absent or is no colour.
std::optional<QColor> color(const std::optional<QString> &colorTag);
/// A round dot, for lists and menus.
QIcon dot(const QColor &color);

/// Tags to choose from, each with its name.
const QList<std::pair<QString, QString>> &colorTags();
/// Symbols to choose from: the stored name and its label.
const QList<std::pair<QString, QString>> &symbols();

} // namespace moorix::ServerLook
