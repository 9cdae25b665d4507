// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupSchedule.h"
#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

const QTimeZone berlin("Europe/Berlin");

/// "daily 02:30", "weekly 7 02:30", "monthly 31 02:30".
BackupJob jobOf(const QString &text)
{
    const QStringList words = text.split(u' ');
    BackupJob job;
    job.frequency = *backupFrequencyFromRaw(words.constFirst());
    job.dayOfWeek = job.dayOfMonth = words.size() > 2 ? words.at(1).toInt() : 1;
    job.hour = words.constLast().section(u':', 0, 0).toInt();
    job.minute = words.constLast().section(u':', 1).toInt();
    return job;
}

QDateTime utc(const QString &text)
{
    return QDateTime::fromString(text + u":00Z"_s, Qt::ISODate);
}

QString text(const QDateTime &date)
{
    return date.toUTC().toString(u"yyyy-MM-ddTHH:mm"_s);
}

} // namespace

/// When jobs are due, in a zone with daylight saving.
class BackupScheduleTest final : public QObject
{
    Q_OBJECT

private slots:
    void schedulesAreDescribed()
    {
        QCOMPARE(BackupSchedule::scheduleDescription(jobOf(u"daily 7:5"_s)), u"Every day at 07:05"_s);
        QCOMPARE(BackupSchedule::scheduleDescription(jobOf(u"weekly 1 18:30"_s)), u"Every Monday at 18:30"_s);
        QCOMPARE(BackupSchedule::scheduleDescription(jobOf(u"weekly 9 25:0"_s)), u"Every Sunday at 23:00"_s);
        QCOMPARE(BackupSchedule::scheduleDescription(jobOf(u"monthly 31 0:0"_s)), u"Day 31 every month at 00:00"_s);
    }

    void theLastAndTheNextMomentFitTheCalendar_data()
    {
        QTest::addColumn<QString>("schedule");
        QTest::addColumn<QString>("now");
        QTest::addColumn<QString>("last");
        QTest::addColumn<QString>("next");
        const auto row = [](const char *name, const QString &schedule, const QString &now, const QString &last,
                            const QString &next) { QTest::newRow(name) << schedule << now << last << next; };
        row("the moment itself counts", u"daily 7:5"_s, u"2025-03-07T06:05"_s, u"2025-03-07T06:05"_s,
            u"2025-03-08T06:05"_s);
        row("a minute before it", u"daily 7:5"_s, u"2025-03-07T06:04"_s, u"2025-03-06T06:05"_s, u"2025-03-07T06:05"_s);
        row("Sunday belongs to the week before", u"weekly 7 12:0"_s, u"2025-03-10T08:00"_s, u"2025-03-09T11:00"_s,
            u"2025-03-16T11:00"_s);
        row("February has no 31st", u"monthly 31 12:0"_s, u"2025-03-05T08:00"_s, u"2025-02-28T11:00"_s,
            u"2025-03-31T10:00"_s);
        row("nor has it in a leap year", u"monthly 30 12:0"_s, u"2024-03-01T08:00"_s, u"2024-02-29T11:00"_s,
            u"2024-03-30T11:00"_s);
        row("a time that is skipped comes later", u"daily 2:30"_s, u"2025-03-30T12:00"_s, u"2025-03-30T01:30"_s,
            u"2025-03-31T00:30"_s);
        row("a time that comes twice counts once", u"daily 2:30"_s, u"2025-10-26T12:00"_s, u"2025-10-26T00:30"_s,
            u"2025-10-27T01:30"_s);
        row("in the year's first hours", u"monthly 1 3:0"_s, u"2025-01-01T01:00"_s, u"2024-12-01T02:00"_s,
            u"2025-01-01T02:00"_s);
    }

    void theLastAndTheNextMomentFitTheCalendar()
    {
        QFETCH(const QString, schedule);
        QFETCH(const QString, now);
        QTEST(text(BackupSchedule::lastDue(jobOf(schedule), utc(now), berlin)), "last");
        QTEST(text(BackupSchedule::nextDue(jobOf(schedule), utc(now), berlin)), "next");
    }

    void eachMomentIsRunForOnceThroughAWholeYearOfMinutes()
    {
        for (const auto &[schedule, expected] :
             {std::pair{u"daily 2:30"_s, 365}, {u"weekly 7 2:30"_s, 52}, {u"monthly 31 2:30"_s, 12}}) {
            BackupJob job = jobOf(schedule);
            const QDateTime first = utc(u"2025-01-01T12:00"_s);
            int runs = 0;
            for (QDateTime now = first; now < first.addYears(1); now = now.addSecs(60 * 15)) {
                if (!BackupSchedule::dueMoment(job, first, now, berlin))
                    continue;
                job.lastRun = now;
                ++runs;
            }
            QCOMPARE(runs, expected);
        }
    }

    void onlyWhatCameSinceTheScheduleIsInForceIsMadeUpFor()
    {
        BackupJob job = jobOf(u"daily 7:0"_s);
        const QDateTime now = utc(u"2025-03-07T12:00"_s);
        const auto due = [&](const QString &since) {
            const auto moment = BackupSchedule::dueMoment(job, utc(since), now, berlin);
            return moment ? text(*moment) : QString();
        };
        QCOMPARE(due(u"2025-03-07T08:00"_s), QString());
        QCOMPARE(due(u"2025-03-04T08:00"_s), u"2025-03-07T06:00"_s);
        job.lastRun = utc(u"2025-03-07T06:00"_s);
        QCOMPARE(due(u"2025-03-04T08:00"_s), QString());
        // The clock was put back after a run.
        job.lastRun = utc(u"2025-05-01T06:00"_s);
        QCOMPARE(due(u"2025-03-04T08:00"_s), u"2025-03-07T06:00"_s);
        job.enabled = false;
        QCOMPARE(due(u"2025-03-04T08:00"_s), QString());
    }
};

MOORIX_TEST(BackupScheduleTest)
#include "BackupScheduleTest.moc"
