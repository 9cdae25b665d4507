// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncAlignment.h"
#include "support/TestMain.h"
#include "sync/SyncClassifier.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const QDateTime now(QDate(2026, 7, 1), QTime(12, 0), Qt::UTC);
const ListedTimes exact;
const ListedTimes ftp{ListedTimes::Precision::minutesOrDays, Qt::UTC};

SyncEntry fileOf(const QDateTime &modified, qint64 size = 5)
{
    return {size, modified, false};
}

QDateTime ago(qint64 days, const QTime &time)
{
    return {now.date().addDays(-days), time, Qt::UTC};
}

/// Files of all ages, as a listing shows them that is so many hours ahead.
SyncEntries listing(const SyncEntries &files, int hoursAhead)
{
    SyncEntries listed;
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        QDateTime time = file->modified->addSecs(hoursAhead * 3600);
        const bool isOld = file->modified->daysTo(now) > 180;
        time.setTime(isOld ? QTime(0, 0) : QTime(time.time().hour(), time.time().minute()));
        listed.insert(file.key(), fileOf(time, file->size));
    }
    return listed;
}

SyncEntries filesOfAllAges()
{
    return {{u"a"_s, fileOf(now.addSecs(-30))},
            {u"b"_s, fileOf(ago(3, QTime(9, 59, 59)))},
            {u"c"_s, fileOf(ago(100, QTime(23, 58, 1)))},
            {u"d"_s, fileOf(ago(170, QTime(0, 0, 0)))},
            {u"e"_s, fileOf(ago(200, QTime(23, 59, 59)))},
            {u"f"_s, fileOf(ago(900, QTime(0, 0, 0)))},
            {u"g"_s, fileOf(ago(12000, QTime(14, 0, 0)))},
            {u"h"_s, fileOf(ago(20, QTime(14, 0, 20)))}};
}

QStringList changed(const SyncEntries &local, const SyncAlignment &alignment,
                    const std::optional<SyncManifest> &manifest)
{
    QStringList rows;
    for (const SyncDiffEntry &row : SyncClassifier::classify(local, alignment.forComparison, manifest)) {
        if (row.bucket != SyncBucket::unchanged)
            rows << row.relPath + u": "_s + rawText(row.bucket);
    }
    return rows;
}

SyncManifest manifestOf(const SyncEntries &local, const SyncEntries &remote)
{
    SyncManifest manifest;
    manifest.localEntries = local;
    manifest.remoteEntries = remote;
    return manifest;
}

} // namespace

/// What is compared when a server tells times badly.
class SyncAlignmentTest final : public QObject
{
    Q_OBJECT

private slots:
    void sameFilesAreAlikeHoweverAServerShowsTheirTimes()
    {
        const SyncEntries local = filesOfAllAges();
        for (const int hours : {0, 1, -8, 14}) {
            // First found alike, then again with what was remembered, and when the clocks there have changed.
            const SyncAlignment first = SyncAlignment::of(listing(local, hours), local, nullptr, ftp, now);
            QCOMPARE(changed(local, first, std::nullopt), QStringList());
            const SyncManifest manifest = manifestOf(local, first.asSeen);
            for (const int later : {hours, hours + 1}) {
                const SyncAlignment again = SyncAlignment::of(listing(local, later), local, &manifest, ftp, now);
                QCOMPARE(changed(local, again, manifest), QStringList());
            }
            // A year later they all show only their day.
            const QDateTime later = now.addDays(365);
            SyncEntries days = listing(local, hours);
            for (SyncEntry &entry : days)
                entry.modified = QDateTime(entry.modified->date(), QTime(0, 0), Qt::UTC);
            const SyncAlignment old = SyncAlignment::of(days, local, &manifest, ftp, later);
            QCOMPARE(changed(local, old, manifest), QStringList());
        }
    }

    void finerAndCoarserListingsShowTheSameFile()
    {
        const SyncEntries local = filesOfAllAges();
        const ListedTimes listed{ListedTimes::Precision::minutesOrDays, Qt::LocalTime};
        const SyncAlignment coarse = SyncAlignment::of(listing(local, 0), local, nullptr, listed, now);
        const SyncManifest manifest = manifestOf(local, coarse.asSeen);
        QCOMPARE(changed(local, SyncAlignment::of(local, local, &manifest, exact, now), manifest), QStringList());
        const SyncManifest fine = manifestOf(local, local);
        QCOMPARE(changed(local, SyncAlignment::of(listing(local, 0), local, &fine, listed, now), fine), QStringList());
    }

    void editsAreSeenAllTheSame()
    {
        const SyncEntries local = filesOfAllAges();
        const SyncManifest manifest = manifestOf(local, listing(local, 2));
        SyncEntries listed = listing(local, 2);
        listed[u"b"_s].modified = listed[u"b"_s].modified->addSecs(3600);
        listed[u"e"_s].size = 6;
        listed[u"f"_s].modified = listed[u"f"_s].modified->addDays(2);
        listed[u"g"_s].modified = now;
        QCOMPARE(changed(local, SyncAlignment::of(listed, local, &manifest, ftp, now), manifest),
                 (QStringList{u"b: updateLocal"_s, u"e: updateLocal"_s, u"f: updateLocal"_s, u"g: updateLocal"_s}));
        // A local edit is no conflict because the server now shows only the day.
        SyncEntries edited = local;
        edited[u"c"_s] = fileOf(now);
        SyncEntries days = listing(local, 2);
        days[u"c"_s].modified = QDateTime(days[u"c"_s].modified->date(), QTime(0, 0), Qt::UTC);
        QCOMPARE(changed(edited, SyncAlignment::of(days, edited, &manifest, ftp, now.addDays(100)), manifest),
                 QStringList{u"c: updateRemote"_s});
        // One file an hour off is an edit, not a clock; and exact times are never bent.
        const SyncEntries one{{u"a"_s, fileOf(ago(3, QTime(8, 0)))}};
        const SyncEntries later{{u"a"_s, fileOf(ago(3, QTime(9, 0)))}};
        QCOMPARE(changed(one, SyncAlignment::of(later, one, nullptr, ftp, now), std::nullopt),
                 QStringList{u"a: conflict"_s});
        const SyncEntries midnight{{u"a"_s, fileOf(ago(300, QTime(0, 0)))}};
        const SyncEntries morning{{u"a"_s, fileOf(ago(300, QTime(9, 0)))}};
        QCOMPARE(changed(morning, SyncAlignment::of(midnight, morning, nullptr, exact, now), std::nullopt),
                 QStringList{u"a: conflict"_s});
    }

    void serverThatKeepsNoTimesIsRemembered()
    {
        const SyncEntries local{{u"a"_s, fileOf(ago(50, QTime(8, 0)))}};
        const SyncEntries uploaded{{u"a"_s, fileOf(now)}};
        const SyncManifest manifest = manifestOf(local, uploaded);
        QCOMPARE(changed(local, SyncAlignment::of(uploaded, local, &manifest, exact, now), manifest), QStringList());
        const SyncEntries edited{{u"a"_s, fileOf(now.addSecs(600))}};
        QCOMPARE(changed(local, SyncAlignment::of(edited, local, &manifest, exact, now), manifest),
                 QStringList{u"a: updateLocal"_s});
    }
};

MOORIX_TEST(SyncAlignmentTest)
#include "SyncAlignmentTest.moc"
