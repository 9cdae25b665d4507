// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

namespace moorix {

class JsonReader;
class JsonWriter;
struct BackupOutcome;

/// One run that has ended.
struct BackupRecord
{
    enum class Result { completed, failed, cancelled };

    QDateTime started;
    QDateTime ended;
    Result result = Result::failed;
    /// "Completed", or why not.
    QString status;
    /// At the destination; empty when none arrived.
    QString archive;
    qint64 bytes = 0;
    QStringList notes;

    static BackupRecord of(const BackupOutcome &outcome);

    bool operator==(const BackupRecord &) const = default;
};

/// What this machine knows of one job beside its record.
struct BackupJobState
{
    static constexpr qsizetype mostRuns = 50;

    QUuid jobID;
    /// The schedule in force, as BackupSchedule::fingerprint has it, and since when.
    QString schedule;
    QDateTime since;
    /// Names this job's part files, on this machine.
    QUuid transferID;
    /// Since when the destination has been away; the user is told of that once.
    std::optional<QDateTime> absentSince;
    bool isAbsenceTold = false;
    /// The destination folder of the last good run, and the mount point it was on.
    QString destination;
    QString mountPoint;
    std::optional<QDateTime> lastGoodRun;
    QString lastGoodArchive;
    /// The latest first, `mostRuns` at most.
    QList<BackupRecord> runs;

    void add(const BackupRecord &record);

    bool operator==(const BackupJobState &) const = default;
};

/// The runs of all jobs on this machine. Never mirrored.
struct BackupHistory
{
    QList<BackupJobState> jobs;

    /// Throws an Error that says what is wrong.
    static BackupHistory decode(const QByteArray &bytes);
    QByteArray encode() const;

    bool operator==(const BackupHistory &) const = default;
};

} // namespace moorix
