// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Favorites.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace moorix::Favorites {

QStringList parse(const QString &raw)
{
    QStringList paths;
    const QJsonDocument document = QJsonDocument::fromJson(raw.toUtf8());
    if (document.isArray()) {
        for (const QJsonValue &value : document.array())
            paths += value.toString();
    } else {
        paths = raw.split(u'\n');
    }
    paths.removeIf([](const QString &path) { return !path.startsWith(u'/'); });
    paths.removeDuplicates();
    return paths;
}

QString toRaw(const QStringList &paths)
{
    if (paths.isEmpty())
        return {};
    return QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(paths)).toJson(QJsonDocument::Compact));
}

QString adding(const QString &raw, const QString &path)
{
    QStringList paths = parse(raw);
    if (!paths.contains(path))
        paths += path;
    return toRaw(paths);
}

QString removing(const QString &raw, const QString &path)
{
    QStringList paths = parse(raw);
    paths.removeAll(path);
    return toRaw(paths);
}

} // namespace moorix::Favorites
