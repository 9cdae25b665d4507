// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupSchedule.h"

#include <QLocale>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

int bounded(qint64 value, int low, int high)
{
    return int(std::clamp<qint64>(value, low, high));
}

QTime timeOf(const BackupJob &job)
{
    return QTime(bounded(job.hour, 0, 23), bounded(job.minute, 0, 59));
}

/// What the clock on the wall tells, as a moment. Not left to QDateTime, whose answer for a time that is skipped or
/// comes twice differs between its versions.
QDateTime moment(const QDate &date, const QTime &time, const QTimeZone &zone)
{
    const QDateTime wall(date, time, Qt::UTC);
    const int before = zone.offsetFromUtc(wall.addDays(-1));
    const int after = zone.offsetFromUtc(wall.addDays(1));
    for (const int offset : {before, after}) {
        const QDateTime candidate = wall.addSecs(-offset);
        if (zone.offsetFromUtc(candidate) == offset)
            return candidate;
    }
    return wall.addSecs(-before);
}

QDate dayInMonth(const BackupJob &job, const QDate &month)
{
    return QDate(month.year(), month.month(), std::min(bounded(job.dayOfMonth, 1, 31), month.daysInMonth()));
}

/// The scheduled day of the period that `date` lies in, moved by so many periods.
QDate scheduledDay(const BackupJob &job, const QDate &date, int periods)
{
    switch (job.frequency) {
    case BackupFrequency::daily:
        return date.addDays(periods);
    case BackupFrequency::weekly:
        return date.addDays(bounded(job.dayOfWeek, 1, 7) - date.dayOfWeek() + 7 * periods);
    case BackupFrequency::monthly:
        return dayInMonth(job, QDate(date.year(), date.month(), 1).addMonths(periods));
    }
    return date;
}

} // namespace

QString BackupSchedule::scheduleDescription(const BackupJob &job)
{
    const QString time = QString::asprintf("%02d:%02d", timeOf(job).hour(), timeOf(job).minute());
    switch (job.frequency) {
    case BackupFrequency::daily:
        return u"Every day at "_s + time;
    case BackupFrequency::weekly:
        return u"Every %1 at "_s.arg(QLocale::c().dayName(bounded(job.dayOfWeek, 1, 7))) + time;
    case BackupFrequency::monthly:
        return u"Day %1 every month at "_s.arg(bounded(job.dayOfMonth, 1, 31)) + time;
    }
    return {};
}

QString BackupSchedule::fingerprint(const BackupJob &job)
{
    return job.enabled ? scheduleDescription(job) : QString();
}

QDateTime BackupSchedule::lastDue(const BackupJob &job, const QDateTime &now, const QTimeZone &zone)
{
    const QDate today = now.toTimeZone(zone).date();
    for (int periods = 1;; --periods) {
        const QDateTime due = moment(scheduledDay(job, today, periods), timeOf(job), zone);
        if (due <= now)
            return due;
    }
}

QDateTime BackupSchedule::nextDue(const BackupJob &job, const QDateTime &now, const QTimeZone &zone)
{
    const QDate today = now.toTimeZone(zone).date();
    for (int periods = -1;; ++periods) {
        const QDateTime due = moment(scheduledDay(job, today, periods), timeOf(job), zone);
        if (due > now)
            return due;
    }
}

std::optional<QDateTime> BackupSchedule::dueMoment(const BackupJob &job, const QDateTime &since, const QDateTime &now,
                                                   const QTimeZone &zone)
{
    if (!job.enabled)
        return std::nullopt;
    const QDateTime due = lastDue(job, now, zone);
    const bool hasRun = job.lastRun && *job.lastRun <= now && *job.lastRun >= due;
    return hasRun || since >= due ? std::nullopt : std::optional(due);
}

std::chrono::hours BackupSchedule::period(BackupFrequency frequency)
{
    constexpr int hoursPerDay = 24;
    switch (frequency) {
    case BackupFrequency::daily:
        return std::chrono::hours(hoursPerDay);
    case BackupFrequency::weekly:
        return std::chrono::hours(7 * hoursPerDay);
    case BackupFrequency::monthly:
        break;
    }
    return std::chrono::hours(31 * hoursPerDay);
}

} // namespace moorix
