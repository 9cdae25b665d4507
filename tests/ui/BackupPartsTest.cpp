// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupSchedule.h"
#include "support/TestMain.h"
#include "ui/backup/ArchiveTreeModel.h"
#include "ui/backup/BackupRules.h"
#include "ui/backup/BackupText.h"

#include <QAbstractItemModelTester>
#include <QTreeView>

using namespace moorix;
using namespace Qt::StringLiterals;
using BackupText::Tone;

namespace {

/// Every day at 07:00 local time, seen at noon.
const QDateTime noon(QDate(2025, 3, 7), QTime(12, 0));

BackupJob dailyJob()
{
    BackupJob job;
    job.name = u"Site"_s;
    job.sourcePaths = {u"/home/anna/site"_s};
    job.destinationPath = u"/media/disk"_s;
    job.hour = 7;
    return job;
}

BackupJobState stateSince(int daysAgo)
{
    BackupJobState state;
    state.since = noon.addDays(-daysAgo);
    return state;
}

QList<BackupField> fieldsOf(const QList<BackupProblem> &problems)
{
    QList<BackupField> fields;
    for (const BackupProblem &problem : problems)
        fields << problem.field;
    return fields;
}

ZipEntry file(const char *path, qint64 size)
{
    ZipEntry entry;
    entry.path = QString::fromUtf8(path);
    entry.size = size;
    return entry;
}

} // namespace

class BackupPartsTest final : public QObject
{
    Q_OBJECT

private slots:
    void agesAreRoundedDownToTheLargestUnit_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("age");
        QTest::newRow("now") << qint64(59) << u"just now"_s;
        QTest::newRow("minute") << qint64(60) << u"1 minute ago"_s;
        QTest::newRow("minutes") << qint64(3599) << u"59 minutes ago"_s;
        QTest::newRow("hours") << qint64(3 * 3600 + 1800) << u"3 hours ago"_s;
        QTest::newRow("day") << qint64(47 * 3600) << u"1 day ago"_s;
        QTest::newRow("clock a bit behind") << qint64(-30) << u"just now"_s;
    }
    void agesAreRoundedDownToTheLargestUnit()
    {
        QFETCH(const qint64, seconds);
        QTEST(BackupText::age(noon.addSecs(-seconds), noon), "age");
        QVERIFY(BackupText::age(noon.addDays(1), noon).startsWith(u"in the future"_s));
    }

    void aScheduledTimeThatPassedWithoutAGoodBackupIsAWarning()
    {
        BackupJob job = dailyJob();
        BackupJobState state = stateSince(5);
        QCOMPARE(BackupText::lastGood(job, std::nullopt, noon).tone, Tone::warning);
        QCOMPARE(BackupText::lastGood(job, state, noon).tone, Tone::danger);
        state.lastGoodRun = noon.addSecs(-5 * 3600);
        QCOMPARE(BackupText::lastGood(job, state, noon),
                 (BackupText::Line{u"Last good backup 5 hours ago"_s, Tone::good}));
        state.lastGoodRun = noon.addSecs(-6 * 3600);
        const BackupText::Line overdue = BackupText::lastGood(job, state, noon);
        QCOMPARE(overdue.tone, Tone::warning);
        QVERIFY(overdue.text.startsWith(u"Last good backup 6 hours ago — overdue since today at"_s));
        // It has not been late for long enough to say so, or is not on a schedule, or was not at that time.
        QCOMPARE(BackupText::lastGood(job, state, QDateTime(noon.date(), QTime(7, 4))).tone, Tone::good);
        job.enabled = false;
        QCOMPARE(BackupText::lastGood(job, state, noon).tone, Tone::good);
        job.enabled = true;
        state.since = noon.addSecs(-60);
        QCOMPARE(BackupText::lastGood(job, state, noon).tone, Tone::good);
    }

    void anAbsentDiskIsSaidQuietlyUntilItHasToBeToldLoudly()
    {
        BackupJob job = dailyJob();
        BackupJobState state = stateSince(5);
        QVERIFY(BackupText::status(job, state, noon).text.isEmpty());
        state.absentSince = noon.addDays(-1);
        const BackupText::Line quiet = BackupText::status(job, state, noon);
        QCOMPARE(quiet.tone, Tone::quiet);
        QVERIFY(quiet.text.contains(u"away since yesterday at"_s));
        state.isAbsenceTold = true;
        job.lastStatus = u"The destination has been away"_s;
        QCOMPARE(BackupText::status(job, state, noon), (BackupText::Line{job.lastStatus, Tone::danger}));
        // A run that the user stopped is no alarm.
        BackupRecord cancelled;
        cancelled.result = BackupRecord::Result::cancelled;
        state = stateSince(5);
        state.add(cancelled);
        job.lastStatus = u"Cancelled"_s;
        QCOMPARE(BackupText::status(job, state, noon).tone, Tone::quiet);
    }

    void problemsStandAtTheFieldThatMendsThem()
    {
        const BackupJob good = dailyJob();
        QVERIFY(backupProblems(good, {good}, {}, true).isEmpty());
        BackupJob empty;
        empty.name = u"  "_s;
        empty.encrypt = true;
        using enum BackupField;
        QCOMPARE(fieldsOf(backupProblems(empty, {}, {}, true)),
                 (QList<BackupField>{name, sources, destination, passphrase}));
        BackupJob job = good;
        job.destinationPath = u"/home/anna/site/backups"_s;
        QCOMPARE(fieldsOf(backupProblems(job, {}, {}, true)), QList<BackupField>{destination});
        job.destinationServerID = QUuid::createUuid();
        QVERIFY(backupProblems(job, {}, {}, true).isEmpty());
        QCOMPARE(fieldsOf(backupProblems(job, {}, {}, false)), QList<BackupField>{destination});
        BackupJob twin = dailyJob();
        QCOMPARE(fieldsOf(backupProblems(twin, {good}, {}, true)), QList<BackupField>{name});
        job = good;
        job.encrypt = true;
        QCOMPARE(fieldsOf(backupProblems(job, {}, {u"a"_s, u"b"_s, true}, true)), QList<BackupField>{passphrase});
        QVERIFY(backupProblems(job, {}, {{}, {}, true}, true).isEmpty());
        QVERIFY(backupProblems(job, {}, {u"a"_s, u"a"_s, false}, true).isEmpty());
    }

    void anArchiveIsATreeEvenWhereItsFoldersAreNotListed()
    {
        ArchiveTreeModel model;
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        ZipEntry folder;
        folder.path = u"home/empty"_s;
        folder.isFolder = true;
        model.setTree(ArchiveTreeModel::treeOf({file("home/z", 5), file("home/deep/er/a", 7), folder, file("b", 1)}));
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.node({}).files, 3);
        QCOMPARE(model.node({}).size, 13);
        const QModelIndex home = model.index(0, 0);
        QCOMPARE(model.node(home).size, 12);
        QStringList names;
        for (int row = 0; row < model.rowCount(home); ++row)
            names << model.index(row, 0, home).data().toString();
        QCOMPARE(names, (QStringList{u"deep"_s, u"empty"_s, u"z"_s}));
        QCOMPARE(model.node(model.index(0, 0, model.index(0, 0, home))).path, u"home/deep/er"_s);
        model.setTree(ArchiveTreeModel::treeOf({}));
        QCOMPARE(model.rowCount(), 0);
    }

    void whatLiesBelowAChosenFolderIsNotChosenTwice()
    {
        QList<ZipEntry> entries;
        for (int i = 0; i < 20'000; ++i)
            entries << file(u"f%1/deep/x%2"_s.arg(i % 100).arg(i).toUtf8(), 1);
        entries << file("f1-beside", 1);
        ArchiveTreeModel model;
        model.setTree(ArchiveTreeModel::treeOf(entries));
        QTreeView view;
        view.setModel(&model);
        view.setSelectionMode(QAbstractItemView::ExtendedSelection);
        view.expandAll();
        view.selectAll();
        QItemSelectionModel &chosen = *view.selectionModel();
        QStringList expected{u"f1-beside"_s};
        for (int folder = 0; folder < 100; ++folder)
            expected << u"f%1"_s.arg(folder);
        const auto outermost = [&] {
            QStringList paths = model.outermostPaths(chosen.selection());
            paths.sort();
            return paths;
        };
        expected.sort();
        QCOMPARE(outermost(), expected);
        // Without the folder all below it counts, though not what is below another folder in it.
        const QModelIndex first = model.index(0, 0);
        chosen.select(first, QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
        expected.replace(expected.indexOf(model.node(first).path), model.node(first).path + u"/deep"_s);
        expected.sort();
        QCOMPARE(outermost(), expected);
        chosen.select(model.index(0, 0, first), QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
        QCOMPARE(outermost().size(), 100 + 200);
    }
};

MOORIX_TEST(BackupPartsTest)

#include "BackupPartsTest.moc"
