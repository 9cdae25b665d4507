// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/InstallerDownload.h"
#include "endpoints/InstallerPart.h"
#include "endpoints/ReleaseVersion.h"
#include "endpoints/UpdateScene.h"
#include "support/SmallDisk.h"

#include <unistd.h>

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
        const auto reserveAll = [&] { InstallerPart(folder).reserve(SmallDisk::bytes + 1); };
        const auto writeAll = [&] {
            InstallerPart part(folder);
            for (qsizetype i = 0; i <= SmallDisk::bytes; i += 65536)
                part.write(QByteArray(65536, 'x'));
        };
        const QString sentence = u"The installer could not be written to %1: No space left on device."_s.arg(folder);
        QCOMPARE(messageOf(reserveAll), sentence);
        QCOMPARE(messageOf(writeAll), sentence);
        QVERIFY(QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }
};

/// Installers on their way into the Downloads folder, and which release is worth one.
class InstallerDownloadTest final : public QObject
{
    Q_OBJECT

private slots:
    void whatFailsLeavesNothing_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("reason");
        QTest::newRow("status") << WebServer::reply("gone", 404) << u"127.0.0.1 answered with status 404."_s;
        QTest::newRow("cut") << WebServer::reply(QByteArray(90'000, 'x')).chopped(9)
                             << u"127.0.0.1 closed the connection before its answer was whole."_s;
        QTest::newRow("empty") << WebServer::reply({}) << u"127.0.0.1 sent an empty file."_s;
        QTest::newRow("no length")
            << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n")
            << u"127.0.0.1 does not say how long the file is, so that nobody can tell whether it is whole."_s;
        QTest::newRow("elsewhere") << WebServer::redirect(u"http://localhost/x"_s)
                                   << u"127.0.0.1 redirects to another host, localhost, which is not followed."_s;
    }
    void whatFailsLeavesNothing()
    {
        QFETCH(const QByteArray, answer);
        QFETCH(const QString, reason);
        UpdateScene scene([&](const WebRequest &request) {
            return request.path.startsWith("/dl/") ? answer : WebServer::reply(releaseJson(request));
        });
        scene.check();
        scene.download();
        QCOMPARE(scene.updates.statusMessage(), u"Download failed: The DMG download failed."_s);
        QCOMPARE(scene.updates.lastError(), u"The DMG download failed.\n"_s + reason);
        QVERIFY(scene.downloaded().isEmpty() && scene.opened.isEmpty());
    }

    void aCancelledDownloadLeavesNothingAndAKilledOneIsCleared()
    {
        UpdateScene scene([&](const WebRequest &request) {
            return request.path.startsWith("/dl/") ? QByteArray() : WebServer::reply(releaseJson(request));
        });
        scene.check();
        const QByteArray left = ".moorix-update-00000000-0000-0000-0000-0000000000AB.part";
        scene.tree.write(QString::fromLatin1("Downloads/" + left), "half");
        scene.tree.write("Downloads/.moorix-update-mine.part", "the user's");
        scene.updates.downloadAndOpenLatestDMG();
        QTRY_COMPARE(scene.server.requests().size(), 2);
        QCOMPARE(scene.downloaded().size(), 2);
        QVERIFY(!scene.downloaded().contains(QString::fromLatin1(left)));
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
        if (::geteuid() != 0)
            QSKIP("Only root can mount a small disk.");
        const TestTree tree{{"disk/", {}}};
        QByteArray output;
        QVERIFY2(SmallDisk::run(tree.path("disk"), tree.path("disk/inside"), "SmallDiskDownloadProgram", output),
                 output.constData());
        QVERIFY2(output.contains("PASS   : SmallDiskDownloadProgram::aFullDisk"), output.constData());
    }

    void versionsAreComparedByTheirNumbers_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("build");
        QTest::addColumn<QString>("current");
        QTest::addColumn<bool>("isNewer");
        QTest::newRow("not as text") << u"2.10"_s << QString() << u"2.9"_s << true;
        QTest::newRow("shorter is equal") << u"1.2"_s << u"5"_s << u"1.2.0"_s << false;
        QTest::newRow("a build decides") << u"1.2"_s << u" 6\n"_s << u"1.2.0"_s << true;
        QTest::newRow("no build decides nothing") << u"1.2.0"_s << u"6a"_s << u"1.2"_s << false;
        QTest::newRow("an old version with a high build") << u"1.1"_s << u"99"_s << u"1.2"_s << false;
        QTest::newRow("one more number") << u"1.2.1"_s << QString() << u"1.2"_s << true;
        QTest::newRow("a beta comes before") << u"v2.0.0-beta7"_s << QString() << u"2.0"_s << false;
        QTest::newRow("beyond 64 bits") << u"99999999999999999999.1"_s << QString() << u"2"_s << true;
        QTest::newRow("no number at all") << u"next"_s << QString() << u"0.1"_s << false;
    }
    void versionsAreComparedByTheirNumbers()
    {
        QFETCH(const QString, version);
        QFETCH(const QString, build);
        QFETCH(const QString, current);
        QTEST(ReleaseVersion::isNewer(version, build, current, u"5"_s), "isNewer");
    }
};

MOORIX_TEST(SmallDiskDownloadProgram)
MOORIX_TEST(InstallerDownloadTest)
#include "InstallerDownloadTest.moc"
