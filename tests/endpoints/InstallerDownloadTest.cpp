// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/InstallerDownload.h"
#include "endpoints/InstallerPart.h"
#include "endpoints/ReleaseVersion.h"
#include "endpoints/UpdateScene.h"
#include "support/SmallDisk.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Skipped unless started by the test below.
class SmallDiskDownloadProgram final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        if (!SmallDisk::folder())
            QSKIP("Only a part of InstallerDownloadTest.");
    }

    void aFullDiskIsSaidAndNothingIsLeft()
    {
        const QString folder = *SmallDisk::folder();
        const QString sentence = u"The installer could not be written to %1: No space left on device."_s.arg(folder);
        QCOMPARE(messageOf([&] { InstallerPart(folder).reserve(SmallDisk::bytes + 1); }), sentence);
        QCOMPARE(messageOf([&] { InstallerPart(folder).write(QByteArray(SmallDisk::bytes + 1, 'x')); }), sentence);
        QVERIFY(QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }
};

/// Installers on their way into the Downloads folder, and which release is worth one.
class InstallerDownloadTest final : public QObject
{
    Q_OBJECT

private slots:
    void whatFailsLeavesNothing()
    {
        const std::pair<QByteArray, QString> answers[] = {
            {WebServer::reply("gone", 404), u"127.0.0.1 answered with status 404."_s},
            {WebServer::reply(QByteArray(90000, 'x')).chopped(9),
             u"127.0.0.1 closed the connection before its answer was whole."_s},
            {WebServer::reply({}), u"127.0.0.1 sent an empty file."_s},
            {"HTTP/1.1 200 OK\r\n\r\nhalf",
             u"127.0.0.1 does not say how long the file is, so that nobody can tell whether it is whole."_s}};
        for (const auto &[answer, reason] : answers) {
            UpdateScene scene([&answer = answer](const WebRequest &request) {
                return request.path.startsWith("/dl/") ? answer : WebServer::update(request);
            });
            scene.check();
            scene.download();
            QCOMPARE(scene.updates.statusMessage(), u"Download failed: The DMG download failed."_s);
            QCOMPARE(scene.updates.lastError(), u"The DMG download failed.\n"_s + reason);
            QVERIFY(scene.downloaded().isEmpty() && scene.opened.isEmpty());
        }
    }

    void aCancelledDownloadLeavesNothingAndAKilledOneIsCleared()
    {
        UpdateScene scene([&](const WebRequest &request) {
            return request.path.startsWith("/dl/") ? QByteArray() : WebServer::update(request);
        });
        scene.check();
        const QString left = u".moorix-update-00000000-0000-0000-0000-0000000000AB.part"_s;
        scene.tree.write(u"Downloads/"_s + left, "half");
        scene.tree.write("Downloads/.moorix-update-mine.part", "the user's");
        scene.updates.downloadAndOpenLatestDMG();
        QTRY_COMPARE(scene.server.requests().size(), 2);
        QVERIFY(scene.downloaded().size() == 2 && !scene.downloaded().contains(left));
        scene.updates.cancelDownload();
        QTRY_COMPARE(scene.downloaded(), QStringList{u".moorix-update-mine.part"_s});
        QCOMPARE(scene.updates.statusMessage(), u"The download was cancelled."_s);
    }

    void noFileIsReplaced()
    {
        const TestTree tree{{"a.tar.gz", "first"}};
        tree.link("a.tar-2.gz", "nowhere");
        tree.write("plain", "first");
        QCOMPARE(InstallerDownload::uniqueDestinationURL(tree.path(), u"a.tar.gz"_s), tree.path("a.tar-3.gz"));
        QCOMPARE(InstallerDownload::uniqueDestinationURL(tree.path(), u"plain"_s), tree.path("plain-2"));
        // Two at once take names one after the other.
        InstallerPart one(tree.path());
        InstallerPart two(tree.path());
        one.write("one");
        two.write("two");
        QCOMPARE(one.takeName(u"b.dmg"_s), tree.path("b.dmg"));
        QCOMPARE(two.takeName(u"b.dmg"_s), tree.path("b-2.dmg"));
        QCOMPARE(tree.read("b.dmg") + tree.read("b-2.dmg"), "onetwo");
    }

    void aFullDiskIsSaid()
    {
        SmallDisk::verify("SmallDiskDownloadProgram", "PASS   : SmallDiskDownloadProgram::aFullDisk");
    }

    void versionsAreComparedByTheirNumbers()
    {
        const auto isNewer = [](const char *version, const char *build, const char *than) {
            return ReleaseVersion::isNewer(QString::fromLatin1(version), QString::fromLatin1(build),
                                           QString::fromLatin1(than), u"5"_s);
        };
        QVERIFY(isNewer("2.10", "", "2.9"));
        QVERIFY(isNewer("1.2.1", "", "1.2") && !isNewer("1.2", "", "1.2.1"));
        // Equal ones are told apart by the build, if there is one.
        QVERIFY(isNewer("1.2", " 6\n", "1.2.0") && !isNewer("1.2", "5", "1.2.0") && !isNewer("1.2.0", "6a", "1.2"));
        QVERIFY(!isNewer("1.1", "99", "1.2"));
        // What comes before a release, what no integer holds, and what holds none.
        QVERIFY(!isNewer("v2.0.0-beta7", "", "2.0") && isNewer("99999999999999999999.1", "", "2"));
        QVERIFY(!isNewer("next", "", "0.1") && !isNewer("", "", ""));
    }
};

MOORIX_TEST(SmallDiskDownloadProgram)
MOORIX_TEST(InstallerDownloadTest)
#include "InstallerDownloadTest.moc"
