// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupJob.h"

#include <functional>
#include <memory>
#include <stop_token>

namespace moorix {

class BackupDestination;
class FileService;
class KeychainStore;
class ProcessRunner;

/// How far a run is.
struct BackupProgress
{
    QString text;
    /// Of what the text names; 0 of 0 where that is not known.
    qint64 bytesDone = 0;
    qint64 bytesTotal = 0;
};

/// What became of a run.
struct BackupOutcome
{
    QDateTime started;
    QDateTime ended;
    /// The archive that is at the destination, whole and checked; empty when there is none.
    QString archive;
    qint64 bytes = 0;
    /// Why it failed; empty when it did not.
    QString failure;
    bool wasCancelled = false;
    /// What the destination folder is on, for a local one.
    QString mountPoint;
    /// What is worth knowing of a run that succeeded: how it was checked, what was left out.
    QStringList notes;

    bool succeeded() const { return failure.isEmpty() && !wasCancelled; }
    /// "Completed", "Cancelled" or the failure.
    QString status() const;
};

/// One run of one job: zip, encrypt, check, deliver, prune. Blocking; worker threads, or a program without a window.
class BackupRun final
{
public:
    struct Environment
    {
        std::shared_ptr<ProcessRunner> processes;
        std::shared_ptr<KeychainStore> keychain;
        /// Connects to a saved server; called on the run's thread.
        std::function<std::shared_ptr<FileService>(const QUuid &server, const std::stop_token &stop)> openServer;
    };
    /// What the run must know of the other records, as they are when it starts.
    struct Surroundings
    {
        /// Of the destination server; absent when no saved server has that id.
        std::optional<QString> serverName;
        QList<BackupJob> allJobs;
        /// What the local destination was on at the last good run; empty when that is not known.
        QString mountPoint;
        /// See BackupDestination.
        QUuid transferID;
    };
    using Report = std::function<void(const BackupProgress &)>;

    /// `report` is called on the run's threads.
    BackupRun(BackupJob job, Environment environment, Surroundings surroundings, Report report);

    /// Does all of it; called once. `start` goes into the archive's name as local time. Throws nothing.
    BackupOutcome run(const QDateTime &start, const std::stop_token &stop);

private:
    void perform(const std::stop_token &stop);
    void requireConfigured() const;
    /// From the keychain; notes why it cannot be asked.
    QString passphrase();
    /// Makes the archive in a folder of its own, checks it, and returns its path.
    QString makeArchive(const QString &folder, const QString &passphrase, const std::stop_token &stop);
    QString sealed(const QString &zipPath, const QString &passphrase, const std::stop_token &stop);
    std::shared_ptr<FileService> openDestination(const std::stop_token &stop);
    void copySources(const BackupDestination &destination, const std::stop_token &stop);
    void prune(const BackupDestination &destination, const std::stop_token &stop);
    void report(const QString &text, qint64 done = 0, qint64 total = 0);
    QString deliveryText() const;

    BackupJob m_job;
    Environment m_environment;
    Surroundings m_surroundings;
    Report m_report;
    BackupOutcome m_outcome;
};

} // namespace moorix
