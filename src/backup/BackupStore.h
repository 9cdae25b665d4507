// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupJob.h"
#include "platform/MirroredLibrary.h"

namespace moorix {

/// Owns the one list of backup jobs of the running program: saved whole after every change, shared with other programs
/// of this user, and mirrored through the cloud key-value store. Main thread.
class BackupStore final : public QObject
{
    Q_OBJECT

public:
    struct Options
    {
        /// "backups.json".
        QString path;
        bool isCloudOn = false;
        Clock clock = systemNow;
    };

    /// `kv` is given for the life of the store. A damaged file is set aside and the store starts empty.
    BackupStore(Options options, KeyValueStore &kv, QObject *parent = nullptr);

    const QList<BackupJob> &jobs() const { return m_file.library().jobs; }
    std::optional<BackupJob> job(const QUuid &id) const;
    /// Why the file could not be loaded or written the last time, for the user; empty when all is well.
    const QString &problem() const { return m_file.problem(); }
    void setCloudSyncEnabled(bool enabled) { m_file.setCloudOn(enabled); }
    /// Takes over at once what another program has saved.
    void refresh() { m_file.refresh(); }

    /// Replaces the job of the same id, but for what its last run was, or appends it.
    void upsert(BackupJob job);
    /// Puts these in place of all jobs. Returns whether that is a change.
    bool replaceAll(const QList<BackupJob> &jobs);
    /// Its passphrase is the caller's to remove.
    void remove(const QUuid &id);
    /// To this place in the list; a place beyond its end is the end.
    void move(const QUuid &id, qsizetype to);
    void setEnabled(const QUuid &id, bool enabled);
    /// What the last run was. An absent `lastRun` leaves that of the job.
    void noteRun(const QUuid &id, const std::optional<QDateTime> &lastRun, bool lastSuccess, const QString &lastStatus);

signals:
    void jobsChanged();
    void problemChanged();

private:
    MirroredLibrary<BackupLibrary> m_file;
};

} // namespace moorix
