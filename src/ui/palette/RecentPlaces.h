// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

namespace moorix {

class Preferences;

/// What the user was at last, from one run to the next: folders that were shown, and entries of the command palette
/// that were run. Main thread; the preferences outlive it.
class RecentPlaces final
{
public:
    /// A folder of a saved server, or of this computer where the id is null.
    struct Place
    {
        QUuid server;
        QString path;

        bool operator==(const Place &) const = default;
    };

    explicit RecentPlaces(Preferences &preferences);

    /// The latest first, at most 30.
    const QList<Place> &folders() const { return m_folders; }
    void noteFolder(const Place &place);
    /// Ids, the latest first, at most 60.
    const QStringList &entries() const { return m_entries; }
    void noteEntry(const QString &id);

private:
    Preferences &m_preferences;
    QList<Place> m_folders;
    QStringList m_entries;
};

} // namespace moorix
