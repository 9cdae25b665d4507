// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QDateTime>
#include <QList>

namespace moorix {

/// One folder of the server library.
struct ServerFolder
{
    ServerFolder();

    QUuid id;
    QString name = QStringLiteral("New Folder");
    qint64 sortIndex = 0;
    QString symbol = QStringLiteral("folder.fill");
    /// Absent = top level.
    std::optional<QUuid> parentID;
    std::optional<QString> colorTag;

    static ServerFolder fromJson(const JsonReader &reader);
    void writeJson(JsonWriter &writer) const;

    bool operator==(const ServerFolder &) const = default;
};

/// The whole tree of saved servers. The order of both lists means nothing; sortIndex does.
struct ServerLibrary
{
    QList<ServerFolder> folders;
    QList<ServerConnection> servers;
    /// Set on every save; absent in a library that was never saved.
    std::optional<QDateTime> lastModified;

    static ServerLibrary empty() { return {}; }
    /// A demonstration library; its hosts are reserved for documentation and reach nobody.
    static ServerLibrary sample();

    /// Throws an Error that says what is wrong: one unreadable record makes the whole document unreadable.
    static ServerLibrary decode(const QByteArray &bytes);
    QByteArray encode() const;

    bool operator==(const ServerLibrary &) const = default;
};

} // namespace moorix
