// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupNames.h"
#include "backup/BackupDestination.h"
#include "files/FileItem.h"
#include "support/TestMain.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using Kind = BackupNames::Kind;

namespace {

FileItem archive(const QString &name, int minute, bool isFolder = false)
{
    FileItem item = entryAt(u"/to/"_s + name);
    item.isDirectory = isFolder;
    item.modified = QDateTime(QDate(2025, 3, 7), QTime(12, minute), Qt::UTC);
    return item;
}

BackupJob jobNamed(const QString &name)
{
    BackupJob job;
    job.name = name;
    job.destinationPath = u"/to"_s;
    job.sourcePaths = {u"/from"_s};
    return job;
}

} // namespace

/// How archives are called, and which of them go.
class BackupNamesTest final : public QObject
{
    Q_OBJECT

private slots:
    void namesAreTheJobsAsFarAsFilesCanHaveThem()
    {
        const QDateTime start(QDate(2025, 3, 7), QTime(14, 5, 9));
        QCOMPARE(BackupNames::archiveName(u"Web site"_s, start, Kind::zip), u"Web_site-20250307-140509.zip"_s);
        QCOMPARE(BackupNames::archiveName(u"Web site"_s, start, Kind::encryptedZip),
                 u"Web_site-20250307-140509.zip.enc"_s);
        QCOMPARE(BackupNames::archiveName(u"a"_s, start, Kind::folder), u"a-20250307-140509"_s);
        QCOMPARE(BackupNames::baseName(u"$(x) \"ä\\b\""_s), u"$(x)_\"ä\\b\""_s);
        QCOMPARE(BackupNames::baseName(u"../-x\n\u0085y"_s), u"_.._-x__y"_s);
        QCOMPARE(BackupNames::baseName(u"-rf"_s), u"_-rf"_s);
        QCOMPARE(BackupNames::baseName({}), u"Backup"_s);
        const QString longName = QString(300, u'ü');
        QCOMPARE(BackupNames::baseName(longName), longName.left(100));
    }

    void onlyTheJobsOwnArchivesGoAndTheOldestFirst()
    {
        BackupJob job = jobNamed(u"Web"_s);
        job.keepVersions = 3;
        const QList<FileItem> entries{
            archive(u"Web-20250307-140504.zip"_s, 4),     archive(u"Web-20250307-140501.zip.enc"_s, 1),
            archive(u"Web-20250307-140503.zip"_s, 2),     archive(u"Web-20250307-140502.zip"_s, 2),
            archive(u"Web-20250307-140500"_s, 0, true),   archive(u"Web-20250307-140505.zip"_s, 5),
            archive(u"Web-old-20250307-140500.zip"_s, 0), archive(u"Web_site-20250307-140500.zip"_s, 0),
            archive(u"Web-20250307-14050.zip"_s, 0),      archive(u"Web-20250307-140500.zip.enc.enc"_s, 0),
            archive(u"Web-20250307-140500.ZIP"_s, 0),     archive(u"Web-20250307-140500.zip"_s, 0, true),
            archive(u"Web-20250307-140500 2.zip"_s, 0),   archive(u"Web-2025030٧-140500.zip"_s, 0),
            archive(u"Web-20250307-140500"_s, 0)};
        const QStringList oldest{u"Web-20250307-140500"_s, u"Web-20250307-140501.zip.enc"_s,
                                 u"Web-20250307-140502.zip"_s};
        QCOMPARE(namesOf(archivesToPrune(entries, job, u"Web-20250307-140505.zip"_s)), oldest);
        // What was just delivered stays, however old its date is.
        QVERIFY(!namesOf(archivesToPrune(entries, job, u"Web-20250307-140501.zip.enc"_s))
                     .contains(u"Web-20250307-140501.zip.enc"_s));
        for (const int all : {0, -1, 7}) {
            job.keepVersions = all;
            QCOMPARE(archivesToPrune(entries, job, u"Web-20250307-140505.zip"_s).size(), 0);
        }
    }

    void jobsWhoseArchivesCouldNotBeToldApartAreRefused()
    {
        const BackupJob job = jobNamed(u"Web site"_s);
        BackupJob other = jobNamed(u"Web_site"_s);
        QVERIFY(BackupNames::problem(job, {other})->contains(u"“Web_site” keeps archives of the same name"_s));
        QVERIFY(!BackupNames::problem(job, {job}));
        other.destinationServerID = QUuid::createUuid();
        QVERIFY(!BackupNames::problem(job, {other}));
        BackupJob inside = job;
        inside.sourcePaths = {u"/to/.."_s};
        QVERIFY(BackupNames::problem(inside, {})->contains(u"lies inside the source"_s));
        inside.sourcePaths = {u"-x"_s};
        QCOMPARE(BackupNames::problem(inside, {}), std::optional(u"“-x” is no absolute path."_s));
    }
};

MOORIX_TEST(BackupNamesTest)
#include "BackupNamesTest.moc"
