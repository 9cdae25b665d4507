// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

namespace moorix {

class JsonReader;
class JsonWriter;

enum class BackupFrequency { daily, weekly, monthly };
/// The raw text is the stored form.
QString rawText(BackupFrequency frequency);
std::optional<BackupFrequency> backupFrequencyFromRaw(const QString &text);

/// What is to be backed up where and when. A fresh one has a new id and what the editor proposes.
struct BackupJob
{
    BackupJob();

    QUuid id;
    /// Also the base of the archives' names.
    QString name = QStringLiteral("New Backup");
    /// The scheduler only considers enabled jobs.
    bool enabled = true;
    /// Absolute local files and folders.
    QStringList sourcePaths;
    /// A local folder, or a folder on the destination server.
    QString destinationPath;
    /// Absent: the destination is local.
    std::optional<QUuid> destinationServerID;
    BackupFrequency frequency = BackupFrequency::daily;
    /// 1 = Monday … 7 = Sunday.
    qint64 dayOfWeek = 1;
    /// From 1; in a shorter month its last day.
    qint64 dayOfMonth = 1;
    /// Local time.
    qint64 hour = 2;
    qint64 minute = 0;
    /// One zip archive a run. Without it, and without `encrypt`, each run makes a folder of plain copies.
    bool zip = true;
    bool encrypt = false;
    /// How many archives stay at the destination; below 1 all of them do.
    qint64 keepVersions = 7;
    /// Start of the last run.
    std::optional<QDateTime> lastRun;
    QString lastStatus;
    bool lastSuccess = false;

    /// Whether a run makes one archive file rather than a folder.
    bool makesArchive() const { return zip || encrypt; }

    /// Tolerant: missing keys get what a fresh job has. Throws an Error for a key of another type.
    static BackupJob fromJson(const JsonReader &reader);
    void writeJson(JsonWriter &writer) const;

    bool operator==(const BackupJob &) const = default;
};

/// All jobs, in the user's order.
struct BackupLibrary
{
    QList<BackupJob> jobs;
    /// Set on every save; absent in a library that was never saved.
    std::optional<QDateTime> lastModified;

    static BackupLibrary empty() { return {}; }
    /// Throws an Error that says what is wrong.
    static BackupLibrary decode(const QByteArray &bytes);
    QByteArray encode() const;

    bool operator==(const BackupLibrary &) const = default;
};

} // namespace moorix
