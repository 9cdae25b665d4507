// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/palette/RecentPlaces.h"

#include "base/Json.h"
#include "platform/Preferences.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

namespace moorix {

namespace {

constexpr qsizetype mostFolders = 30;
constexpr qsizetype mostEntries = 60;
const QString foldersKey = QStringLiteral("window.recentFolders");
const QString entriesKey = QStringLiteral("window.recentCommands");
const QString serverKey = QStringLiteral("server");
const QString pathKey = QStringLiteral("path");

template <class Value>
void putFirst(QList<Value> &list, const Value &value, qsizetype most)
{
    list.removeAll(value);
    list.prepend(value);
    list.resize(std::min(list.size(), most));
}

} // namespace

RecentPlaces::RecentPlaces(Preferences &preferences)
    : m_preferences(preferences)
{
    for (const QJsonValue &value : preferences.value(foldersKey).toArray()) {
        const Place place{QUuid(value[serverKey].toString()),
                          value.isString() ? value.toString() : value[pathKey].toString()};
        if (place.path.startsWith(u'/') && m_folders.size() < mostFolders)
            m_folders += place;
    }
    for (const QJsonValue &value : preferences.value(entriesKey).toArray()) {
        if (value.isString() && m_entries.size() < mostEntries)
            m_entries += value.toString();
    }
}

void RecentPlaces::noteFolder(const Place &place)
{
    if (place.path.isEmpty() || (!m_folders.isEmpty() && m_folders.first() == place))
        return;
    putFirst(m_folders, place, mostFolders);
    QJsonArray stored;
    for (const Place &folder : std::as_const(m_folders)) {
        stored += folder.server.isNull() ? QJsonValue(folder.path)
                                         : QJsonObject{{serverKey, uuidText(folder.server)}, {pathKey, folder.path}};
    }
    m_preferences.setValue(foldersKey, stored);
}

void RecentPlaces::noteEntry(const QString &id)
{
    putFirst<QString>(m_entries, id, mostEntries);
    m_preferences.setValue(entriesKey, QJsonArray::fromStringList(m_entries));
}

} // namespace moorix
