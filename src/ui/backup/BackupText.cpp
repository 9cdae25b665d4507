// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/BackupText.h"

#include "backup/BackupSchedule.h"
#include "files/Format.h"
#include "ui/TransferText.h"

#include <QCoreApplication>

namespace moorix::BackupText {

namespace {

/// A run that is due this long is late.
constexpr qint64 patienceSeconds = 300;
constexpr qint64 minuteSeconds = 60;
constexpr qint64 hourSeconds = 3600;
constexpr qint64 daySeconds = 24 * hourSeconds;

QString tr(const char *text, const char *comment = nullptr, int count = -1)
{
    return QCoreApplication::translate("moorix::BackupText", text, comment, count);
}

/// The scheduled moment that has passed without a good archive, if any.
std::optional<QDateTime> missed(const BackupJob &job, const BackupJobState &state, const QDateTime &now)
{
    if (!job.enabled || !state.since.isValid())
        return std::nullopt;
    const QDateTime due = BackupSchedule::lastDue(job, now, QTimeZone::systemTimeZone());
    const bool isServed = state.lastGoodRun && *state.lastGoodRun >= due;
    if (isServed || state.since >= due || due.secsTo(now) < patienceSeconds)
        return std::nullopt;
    return due;
}

} // namespace

QString age(const QDateTime &moment, const QDateTime &now)
{
    const qint64 seconds = moment.secsTo(now);
    if (seconds < -minuteSeconds)
        return tr("in the future, on %1").arg(Format::date(moment.toLocalTime()));
    if (seconds < minuteSeconds)
        return tr("just now");
    if (const int minutes = int(seconds / minuteSeconds); seconds < hourSeconds)
        return minutes == 1 ? tr("1 minute ago") : tr("%n minutes ago", nullptr, minutes);
    if (const int hours = int(seconds / hourSeconds); seconds < daySeconds)
        return hours == 1 ? tr("1 hour ago") : tr("%n hours ago", nullptr, hours);
    const int days = int(seconds / daySeconds);
    return days == 1 ? tr("1 day ago") : tr("%n days ago", nullptr, days);
}

QString moment(const QDateTime &moment, const QDateTime &now)
{
    const QDateTime local = moment.toLocalTime();
    const QString time = Format::timeOfDay(local);
    switch (now.toLocalTime().date().daysTo(local.date())) {
    case -1:
        return tr("yesterday at %1").arg(time);
    case 0:
        return tr("today at %1").arg(time);
    case 1:
        return tr("tomorrow at %1").arg(time);
    default:
        return Format::date(local);
    }
}

Line lastGood(const BackupJob &job, const std::optional<BackupJobState> &state, const QDateTime &now)
{
    const auto due = state ? missed(job, *state, now) : std::nullopt;
    if (!state || !state->lastGoodRun) {
        if (due)
            return {tr("No good backup yet — due since %1").arg(moment(*due, now)), Tone::danger};
        return {tr("No good backup yet"), Tone::warning};
    }
    const QString text = tr("Last good backup %1").arg(age(*state->lastGoodRun, now));
    if (due)
        return {tr("%1 — overdue since %2").arg(text, moment(*due, now)), Tone::warning};
    return {text, Tone::good};
}

Line status(const BackupJob &job, const std::optional<BackupJobState> &state, const QDateTime &now)
{
    if (state && state->absentSince && !state->isAbsenceTold) {
        return {tr("The destination is away since %1. The backup runs as soon as it is there again.")
                    .arg(moment(*state->absentSince, now)),
                Tone::quiet};
    }
    if (job.lastStatus.isEmpty())
        return {};
    const bool wasCancelled =
        state && !state->runs.isEmpty() && state->runs.constFirst().result == BackupRecord::Result::cancelled;
    if (job.lastSuccess || wasCancelled)
        return {job.lastStatus, Tone::quiet};
    return {job.lastStatus, Tone::danger};
}

QString nextRun(const std::optional<QDateTime> &next, const QDateTime &now)
{
    return next ? tr("Next run %1").arg(moment(*next, now)) : tr("Not scheduled; runs when you say so");
}

QString destination(const BackupJob &job, const std::optional<QString> &serverName)
{
    const QString folder = Format::display(job.destinationPath);
    if (!job.destinationServerID)
        return tr("to %1").arg(folder);
    return tr("to %1:%2").arg(serverName ? Format::display(*serverName) : tr("a removed server"), folder);
}

QString duration(const BackupRecord &run)
{
    return TransferText::duration(std::chrono::milliseconds(run.started.msecsTo(run.ended)));
}

QString form(const BackupJob &job)
{
    QStringList parts;
    if (job.encrypt)
        parts << tr("encrypted");
    else if (!job.zip)
        parts << tr("plain copies");
    parts << (job.keepVersions > 0 ? tr("keeps %1").arg(job.keepVersions) : tr("keeps all"));
    return parts.join(QStringLiteral(", "));
}

QString amount(qint64 done, qint64 total)
{
    if (total <= 0)
        return {};
    return tr("%1 of %2").arg(Format::byteCount(done), Format::byteCount(total));
}

QString toneName(Tone tone)
{
    switch (tone) {
    case Tone::good:
        return QStringLiteral("good");
    case Tone::warning:
        return QStringLiteral("warning");
    case Tone::danger:
        return QStringLiteral("danger");
    case Tone::quiet:
        break;
    }
    return QStringLiteral("quiet");
}

} // namespace moorix::BackupText
