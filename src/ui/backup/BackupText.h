// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupHistory.h"
#include "backup/BackupJob.h"

/// What the window says about backups. Times are told in the local time zone. Pure.
namespace moorix::BackupText {

/// How loudly something is said.
enum class Tone { quiet, good, warning, danger };

struct Line
{
    QString text;
    Tone tone = Tone::quiet;

    bool operator==(const Line &) const = default;
};

/// "just now", "5 minutes ago", "3 hours ago", "2 days ago"; "in the future" where the clock was put back.
QString age(const QDateTime &moment, const QDateTime &now);
/// "today at 14:00", "tomorrow at 02:00", "yesterday at 02:00", else with its date.
QString moment(const QDateTime &moment, const QDateTime &now);
/// How old the last good archive is. A warning when there is none, and when a scheduled time has passed without one.
Line lastGood(const BackupJob &job, const std::optional<BackupJobState> &state, const QDateTime &now);
/// What became of the last run, and a destination that is away; nothing before the first run.
Line status(const BackupJob &job, const std::optional<BackupJobState> &state, const QDateTime &now);
/// "Next run tomorrow at 02:00", or that there is none.
QString nextRun(const std::optional<QDateTime> &next, const QDateTime &now);
/// "to /media/disk", "to web-01:/srv/backup". `serverName`: absent when the server is no longer saved.
QString destination(const BackupJob &job, const std::optional<QString> &serverName);
/// "4 s", "3 min 20 s", and the size where there is one: of a run that has ended.
QString duration(const BackupRecord &run);
/// "keeps 7", "keeps all", "encrypted", "plain copies": what is special about a job's archives.
QString form(const BackupJob &job);
/// "12 MB of 40 MB", or nothing where that is not known.
QString amount(qint64 done, qint64 total);
/// The value of the style property "tone".
QString toneName(Tone tone);

} // namespace moorix::BackupText
