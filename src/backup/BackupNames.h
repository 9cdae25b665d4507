// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupJob.h"

#include <QDateTime>

/// How archives are called, and which archives are a job's. Pure; any thread.
namespace moorix::BackupNames {

enum class Kind { folder, zip, encryptedZip };
Kind kindOf(const BackupJob &job);

/// The job's name with "_" for each space. What could not be a file name is mapped: slashes and control characters
/// become "_" too, a leading "-" or "." gets a "_" in front, an empty name becomes "Backup", and a long one is cut
/// after 200 bytes of UTF-8.
QString baseName(const QString &jobName);

/// "Web_site-20250307-140509.zip", for encrypted archives with ".enc" behind it, for folders without ".zip".
/// `start` is taken as local time of its own time zone.
QString archiveName(const QString &jobName, const QDateTime &start, Kind kind);

/// Whether an entry is one of the job's archives: exactly its base name, "-", eight digits, "-", six digits and the
/// extension of any archive; without an extension only folders are.
bool isArchiveOf(const QString &jobName, const QString &entryName, bool isFolder);

/// Whether the archives of both could not be told apart: the same base name at the same destination.
bool clash(const BackupJob &a, const BackupJob &b);

/// Whether a path is this folder or lies in it, by their texts.
bool isWithin(const QString &path, const QString &folder);

/// Why the job could not run as it stands, beside the others, or nothing: what an editor shows. Looks at no disk.
std::optional<QString> problem(const BackupJob &job, const QList<BackupJob> &all);

} // namespace moorix::BackupNames
