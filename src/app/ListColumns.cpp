// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ListColumns.h"

#include "platform/Preferences.h"
#include "settings/SettingsStore.h"

#include <QJsonObject>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString columnsKey = QStringLiteral("window.columns");

QString nameOf(ListColumns::Column column)
{
    switch (column) {
    case ListColumns::Column::size:
        return u"size"_s;
    case ListColumns::Column::modified:
        return u"modified"_s;
    case ListColumns::Column::permissions:
        return u"permissions"_s;
    case ListColumns::Column::owner:
        break;
    }
    return u"owner"_s;
}

} // namespace

ListColumns::ListColumns(SettingsStore &settings, Preferences &preferences, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_preferences(preferences)
{
    connect(&settings, &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key == m_settings.sizeColumnWidth.key() || key == m_settings.dateColumnWidth.key())
            emit changed();
    });
}

bool ListColumns::isShown(Column column) const
{
    const bool isUsual = column == Column::size || column == Column::modified;
    return m_preferences.value(columnsKey)[nameOf(column)][u"shown"_s].toBool(isUsual);
}

void ListColumns::setShown(Column column, bool isShown)
{
    if (isShown != this->isShown(column))
        store(column, u"shown"_s, isShown);
}

int ListColumns::width(Column column) const
{
    if (column == Column::size)
        return qRound(m_settings.sizeColumnWidth.value());
    if (column == Column::modified)
        return qRound(m_settings.dateColumnWidth.value());
    return std::clamp(m_preferences.value(columnsKey)[nameOf(column)][u"width"_s].toInt(100), 40, 600);
}

void ListColumns::setWidth(Column column, int width)
{
    if (column == Column::size)
        m_settings.sizeColumnWidth.set(width);
    else if (column == Column::modified)
        m_settings.dateColumnWidth.set(width);
    else if (width != this->width(column))
        store(column, u"width"_s, width);
}

void ListColumns::store(Column column, const QString &what, const QJsonValue &value)
{
    QJsonObject columns = m_preferences.value(columnsKey).toObject();
    QJsonObject entry = columns.value(nameOf(column)).toObject();
    entry.insert(what, value);
    columns.insert(nameOf(column), entry);
    m_preferences.setValue(columnsKey, columns);
    emit changed();
}

} // namespace moorix
