// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupLedger.h"
#include "base/Clock.h"
#include "base/Job.h"

#include <QObject>
#include <QTimeZone>
#include <QTimer>

namespace moorix {

/// The one scheduler and runner of backups: one run at a time, over all programs of this user. Main thread; runs are
/// jobs on workers. Destroyed while one is in progress, it stops it; that run is then due again.
class BackupEngine final : public QObject
{
    Q_OBJECT

public:
    struct Options
    {
        BackupRun::Environment environment;
        BackupLedger::Options ledger;
        Clock clock = systemNow;
        /// The time zone of the schedules, asked for each time: it may change while the program runs.
        std::function<QTimeZone()> zone = QTimeZone::systemTimeZone;
    };

    /// Shown beside the list of jobs: "Scheduled while Moorix is running".
    static QString schedulingNote();

    /// Both stores outlive it.
    BackupEngine(BackupStore &store, BackupHistoryStore &history, Options options, QObject *parent = nullptr);
    ~BackupEngine() override;

    /// Ticks from then on every 60 seconds, for the first time at once, and removes what killed runs have left in the
    /// temporary folder.
    void start();
    /// Runs, one after the other, every enabled job whose scheduled time has come since its last run.
    void tick();
    /// Runs a job, enabled or not, whatever its schedule. Returns why that is not possible, or nothing.
    std::optional<QString> run(const QUuid &jobID);
    /// Stops the run in progress, which ends a moment later, and takes nothing further up before the next tick.
    void cancel();

    const std::optional<QUuid> &runningJobID() const { return m_runningJobID; }
    /// What the run in progress does; empty when none is.
    const QString &progress() const { return m_progress.text; }
    const BackupProgress &progressInBytes() const { return m_progress; }
    /// What the run in progress makes up for; empty for one that is on time.
    const QString &note() const { return m_note; }
    /// When an enabled job runs next, if it is known.
    std::optional<QDateTime> nextRun(const BackupJob &job) const;

signals:
    void runningJobChanged();
    void progressChanged();
    /// Both documents hold it.
    void runEnded(const QUuid &jobID, const BackupOutcome &outcome);
    /// Something the user has to be told of wherever they look: a run has failed, or a destination has been away for
    /// two periods.
    void failureRaised(const QUuid &jobID, const QString &jobName, const QString &sentence);

private:
    std::optional<QDateTime> dueMoment(const BackupJob &job) const;
    void runNext();
    void lookFor(const BackupJob &job);
    void noteAbsence(const QUuid &jobID);
    /// Throws an Error when another program's run is in progress.
    void begin(const QUuid &jobID, const QString &note);
    void finish(BackupOutcome outcome);
    void setProgress(const BackupProgress &progress);

    BackupStore &m_store;
    BackupHistoryStore &m_history;
    Options m_options;
    BackupLedger m_ledger;
    QTimer m_timer;
    QList<QUuid> m_due;
    std::optional<QUuid> m_runningJobID;
    BackupProgress m_progress;
    /// Said of the run in progress: what it makes up for.
    QString m_note;
    FileDescriptor m_lock;
    /// The run in progress, or the look for its destination.
    Job m_job;
    std::stop_source m_stop;
    bool m_isBusy = false;
    Job m_sweep;
};

} // namespace moorix
