// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupHistory.h"
#include "base/SharedDocument.h"

#include <functional>

namespace moorix {

struct BackupJob;

/// Keeps the history of backups in a file that several programs of this user share. A damaged file is set aside and
/// the history starts empty. Main thread.
class BackupHistoryStore final : public QObject
{
    Q_OBJECT

public:
    /// "backup-runs.json".
    explicit BackupHistoryStore(const QString &path, QObject *parent = nullptr);

    /// What is known of a job, if anything.
    std::optional<BackupJobState> state(const QUuid &jobID) const;
    /// Works on the state as it stands in the file; a job that is new gets one.
    void change(const QUuid &jobID, const std::function<void(BackupJobState &)> &edit);
    /// Notes since when each job's schedule has been in force, and forgets jobs that are gone. A job whose runs are not
    /// known here counts from its last run, a fresh one from `now`.
    void follow(const QList<BackupJob> &jobs, const QDateTime &now);
    /// Takes over at once what another program has saved.
    void refresh();
    /// Why the file could not be read or written the last time; empty when all is well.
    const QString &problem() const { return m_problem; }

signals:
    void changed();
    void problemChanged();

private:
    bool adopt();
    /// `edit` works on the history as it stands in the file.
    void edit(const std::function<void(BackupHistory &)> &edit);
    void setProblem(const QString &problem);

    SharedDocument m_file;
    BackupHistory m_history;
    QString m_problem;
};

} // namespace moorix
