// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"
#include "files/FileServiceError.h"
#include "servers/ServerConnection.h"

#include <QStringList>

#include <stop_token>

namespace moorix::test {

inline const std::stop_token neverStops;

/// The message `action` throws; empty when it throws nothing.
template <class Action>
QString messageOf(Action action)
{
    try {
        action();
    } catch (const Error &error) {
        return error.message();
    }
    return {};
}

/// The case `action` throws; nothing when it throws no FileServiceError.
template <class Action>
std::optional<FileServiceError::Case> caseOf(Action action)
{
    try {
        action();
    } catch (const FileServiceError &error) {
        return error.kind();
    }
    return std::nullopt;
}

/// What lies at a path, of which no more is known; a folder where the path ends in a slash.
inline FileItem entryAt(const QString &path, qint64 size = 0)
{
    FileItem item;
    item.isDirectory = path.endsWith(u'/');
    item.path = path.chopped(item.isDirectory);
    item.name = item.path.section(u'/', -1);
    item.size = size;
    return item;
}

/// A record with a fresh id.
inline ServerConnection serverAt(const QString &host, const QString &user, qint64 port = 22)
{
    ServerConnection server;
    server.host = host;
    server.username = user;
    server.port = port;
    return server;
}

/// Of items or records, in their order.
template <class Items>
QStringList namesOf(const Items &items)
{
    QStringList names;
    for (const auto &item : items)
        names << item.name;
    return names;
}

inline QStringList sorted(QStringList names)
{
    names.sort();
    return names;
}

} // namespace moorix::test
