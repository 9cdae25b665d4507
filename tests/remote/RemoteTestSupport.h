// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"
#include "files/FileServiceError.h"

#include <QFile>
#include <QString>
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

/// In alphabetical order.
template <class Items>
QStringList namesOf(const Items &items)
{
    QStringList names;
    for (const auto &item : items)
        names << item.name;
    names.sort();
    return names;
}

inline void putFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("%s could not be written.", qUtf8Printable(path));
}

inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<cannot be read>");
}

} // namespace moorix::test
