// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupJob.h"

#include <QTimeZone>

#include <chrono>

/// When jobs run. Pure; any thread.
namespace moorix::BackupSchedule {

/// "Every day at 07:05", "Every Monday at 07:05", "Day 31 every month at 07:05".
QString scheduleDescription(const BackupJob &job);

/// What tells one schedule from another, for noticing a change: the description, or nothing while it is disabled.
QString fingerprint(const BackupJob &job);

/// The last scheduled moment that is not after `now`. A day the month lacks is its last day; a time that the clock
/// skips comes as much later as it skips, one that it shows twice counts the first time. Numbers out of bounds count
/// as the nearest bound.
QDateTime lastDue(const BackupJob &job, const QDateTime &now, const QTimeZone &zone);
/// The first scheduled moment after `now`.
QDateTime nextDue(const BackupJob &job, const QDateTime &now, const QTimeZone &zone);

/// The scheduled moment that has come and was not run for yet, if any. `since`: when this schedule came into force; a
/// job that never ran is not made up for what was before. Of several missed moments only the last one counts. A last
/// run in the future, after the clock was put back, is not believed.
std::optional<QDateTime> dueMoment(const BackupJob &job, const QDateTime &since, const QDateTime &now,
                                   const QTimeZone &zone);

/// How long it is from one run to the next: 1, 7 or 31 days.
std::chrono::hours period(BackupFrequency frequency);

} // namespace moorix::BackupSchedule
