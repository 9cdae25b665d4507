// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonValue>
#include <QObject>

namespace moorix {

class Preferences;
class SettingsStore;

/// Which columns file lists show beside the name, and how wide they are: the same in every list. The widths of size and
/// date are settings, the rest is kept in the preferences under "window.columns". Main thread.
class ListColumns final : public QObject
{
    Q_OBJECT

public:
    enum class Column { size, modified, permissions, owner };
    static constexpr Column all[] = {Column::size, Column::modified, Column::permissions, Column::owner};

    /// Both are given for the life of the object.
    ListColumns(SettingsStore &settings, Preferences &preferences, QObject *parent = nullptr);

    /// Size and date are shown at first.
    bool isShown(Column column) const;
    void setShown(Column column, bool isShown);
    /// Device-independent pixels, 40 to 600.
    int width(Column column) const;
    void setWidth(Column column, int width);

signals:
    void changed();

private:
    void store(Column column, const QString &what, const QJsonValue &value);

    SettingsStore &m_settings;
    Preferences &m_preferences;
};

} // namespace moorix
