// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

#include <stop_token>

namespace moorix {

/// Where local files go that a sync deletes or replaces: a folder for each run below the pair's own folder, with the
/// paths they had. On the same file system, so that it takes no time and no room. Blocking; worker threads.
class SyncVersions final
{
public:
    /// `root` is the local folder of the pair, `stamp` the name of the run's folder.
    SyncVersions(QString root, const QDateTime &now);

    /// Where versions of this run lie.
    const QString &folder() const { return m_folder; }
    /// Keeps what stands at the path, which stays where it is. Throws when that is not possible.
    void keep(const QString &relPath, const std::stop_token &stop) const;
    /// What was kept is not needed, as it still stands at its path.
    void dropUnchanged(const QString &relPath) const;
    /// Moves a file away. Throws when that is not possible.
    void moveAway(const QString &relPath) const;

    /// Removes versions of runs that are older than so many days.
    static void prune(const QString &root, const QDateTime &now, const std::stop_token &stop);
    static constexpr int keptDays = 30;

private:
    QString prepare(const QString &relPath) const;

    QString m_root;
    QString m_folder;
};

} // namespace moorix
