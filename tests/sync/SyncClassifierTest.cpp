// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncClassifier.h"
#include "servers/ServerConnection.h"
#include "support/FolderServer.h"
#include "support/TestMain.h"
#include "sync/SyncIgnore.h"
#include "sync/SyncJournal.h"
#include "sync/SyncTreeWalker.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using Entry = std::optional<SyncEntry>;

namespace {

const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);

SyncEntry file(qint64 size, double secondsLater = 0)
{
    return {size, noon.addMSecs(qint64(secondsLater * 1000)), false};
}

const SyncEntry folder{0, noon, true};
const SyncEntry undated{5, std::nullopt, false};
const Entry none;

} // namespace

/// What is decided of snapshots and baselines, without any files.
class SyncClassifierTest final : public QObject
{
    Q_OBJECT

private slots:
    void eachPathGetsItsVerdict_data()
    {
        QTest::addColumn<Entry>("local");
        QTest::addColumn<Entry>("remote");
        QTest::addColumn<Entry>("baselineLocal");
        QTest::addColumn<Entry>("baselineRemote");
        QTest::addColumn<SyncBucket>("expected");
        const Entry a = file(5);
        const Entry edited = file(6);
        const auto row = [](const char *name, Entry local, Entry remote, Entry bl, Entry br, SyncBucket expected) {
            QTest::addRow("%s", name) << local << remote << bl << br << expected;
        };
        row("90 s apart", a, file(5, 90), none, none, SyncBucket::unchanged);
        row("a little more", a, file(5, 90.001), none, none, SyncBucket::conflict);
        row("a little less", a, file(5, -90.001), none, none, SyncBucket::conflict);
        row("undated", undated, file(5, 1e6), none, none, SyncBucket::unchanged);
        row("undated, other size", undated, edited, none, none, SyncBucket::conflict);
        row("folders of any size and time", folder, SyncEntry{9, std::nullopt, true}, none, none,
            SyncBucket::unchanged);
        row("file and folder", a, folder, none, none, SyncBucket::conflict);
        row("equal in spite of the baselines", a, a, edited, none, SyncBucket::unchanged);
        row("edited here", edited, a, a, a, SyncBucket::updateRemote);
        row("edited there", a, edited, a, a, SyncBucket::updateLocal);
        row("edited on both sides", file(7), edited, a, a, SyncBucket::conflict);
        row("only the other side is known", edited, a, none, a, SyncBucket::updateRemote);
        row("both as they were, but not alike", a, edited, a, edited, SyncBucket::conflict);
        row("new here", a, none, none, none, SyncBucket::createOnRemote);
        row("new here, known here", a, none, a, none, SyncBucket::createOnRemote);
        row("deleted there", a, none, a, a, SyncBucket::deleteLocal);
        row("deleted there, edited here", edited, none, a, a, SyncBucket::restoreOnRemote);
        row("deleted there, never known here", a, none, none, a, SyncBucket::restoreOnRemote);
        row("new there", none, a, none, a, SyncBucket::createOnLocal);
        row("deleted here", none, a, a, a, SyncBucket::deleteRemote);
        row("deleted here, touched there", none, file(5, 91), a, a, SyncBucket::restoreOnLocal);
        row("deleted here, never known there", none, a, a, none, SyncBucket::restoreOnLocal);
        row("gone", none, none, a, none, SyncBucket::bothMissing);
    }
    void eachPathGetsItsVerdict()
    {
        QFETCH(const Entry, local);
        QFETCH(const Entry, remote);
        QFETCH(const Entry, baselineLocal);
        QFETCH(const Entry, baselineRemote);
        QTEST(SyncClassifier::classifyOne(local, remote, baselineLocal, baselineRemote), "expected");
    }

    void everyPathHasItsRowInOrder()
    {
        SyncManifest manifest;
        manifest.localEntries = {{u"gone"_s, file(1)}, {u"b/x"_s, file(1)}};
        manifest.remoteEntries = {{u"b/x"_s, file(1)}, {u"z"_s, file(2)}};
        const SyncEntries local{{u"b"_s, folder}, {u"b/x"_s, file(1)}, {u"b-x"_s, file(3)}};
        const SyncEntries remote{{u"B"_s, file(4)}, {u"b"_s, folder}, {u"z"_s, file(2)}};
        const QList<SyncDiffEntry> expected{
            {u"B"_s, SyncBucket::createOnLocal, none, file(4)},    {u"b"_s, SyncBucket::unchanged, folder, folder},
            {u"b-x"_s, SyncBucket::createOnRemote, file(3), none}, {u"b/x"_s, SyncBucket::deleteLocal, file(1), none},
            {u"gone"_s, SyncBucket::bothMissing, none, none},      {u"z"_s, SyncBucket::createOnLocal, none, file(2)}};
        QCOMPARE(SyncClassifier::classify(local, remote, manifest), expected);
        for (const SyncDiffEntry &row : SyncClassifier::classify(local, remote, std::nullopt))
            QVERIFY(QList({SyncBucket::unchanged, SyncBucket::createOnLocal, SyncBucket::createOnRemote,
                           SyncBucket::conflict})
                        .contains(row.bucket));
    }

    void pairKeyIsThatOfTheSameFolders()
    {
        ServerConnection server = serverAt(u"Web.Example"_s, u"Deploy"_s, 2222);
        const QString key = SyncManifest::pairKey(u"/home/u/site"_s, server, u"/var/www"_s);
        // printf 'local:/home/u/site\001remote:sftp://Deploy@web.example:2222/var/www' | sha256sum
        QCOMPARE(key, u"edd3946ea00909f3729bdba32f3f14c1e1ce19586bf5f00dc2a825f21e7faed1"_s);
        QCOMPARE(SyncManifest::pairKey(u"/home/u/site/"_s, server, u"/var/www/"_s), key);
        QVERIFY(SyncManifest::pairKey(u"/home/u/site//"_s, server, u"/var/www"_s) != key);
        for (const auto &change : QList<std::function<void(ServerConnection &)>>{
                 [](ServerConnection &other) { other.username = u"deploy"_s; },
                 [](ServerConnection &other) { other.port = 22; },
                 [](ServerConnection &other) { other.networkProtocol = NetworkProtocol::ssh; }}) {
            ServerConnection other = server;
            change(other);
            QVERIFY(SyncManifest::pairKey(u"/home/u/site"_s, other, u"/var/www"_s) != key);
        }
        server.host = u"web.example"_s;
        QCOMPARE(SyncManifest::pairKey(u"/home/u/site"_s, server, u"/var/www"_s), key);
        QVERIFY(SyncManifest::pairKey(u"/"_s, server, u"/"_s) != SyncManifest::pairKey(QString(), server, u"/"_s));
    }

    void documentsComeBackAsTheyWere()
    {
        SyncManifest manifest{u"key"_s, u"/l"_s, u"web"_s, u"/r"_s, noon, {}, {}};
        manifest.localEntries = {{u"a \"q\" größe"_s, file(7, 0.25)}, {u"d"_s, folder}};
        manifest.remoteEntries = {{u"undated"_s, undated}};
        QCOMPARE(SyncManifest::decode(manifest.encode()), manifest);
        const SyncJournal journal{{{u"a"_s, file(1)}}, {{u"b"_s, undated}}};
        QCOMPARE(SyncJournal::decode(journal.encode()), journal);
        const QByteArray damaged = manifest.encode().replace("\"size\": 7", "\"size\": \"7\"");
        QVERIFY(messageOf([&] { SyncManifest::decode(damaged); }).contains(u"größe"_s));
        QVERIFY(!messageOf([] { SyncManifest::decode("{}"); }).isEmpty());
    }

    void treeIsWalkedWithoutFollowingLinks()
    {
        const TestTree tree{{"d/e/f", "123"}, {"d/.hidden", ""}, {"top", "x"}, {"empty/", ""}};
        tree.link("d/loop", "..");
        for (int i = 0; i < 60; ++i)
            tree.write(u"many/%1"_s.arg(i), "");
        FolderServer server;
        QList<qint64> reports;
        const SyncEntries entries =
            SyncTreeWalker::walk(server, tree.path(), {}, [&reports](qint64 count) { reports << count; });
        QCOMPARE(entries.size(), 68);
        QCOMPARE(entries[u"d/e/f"_s].size, 3);
        QVERIFY(entries.contains(u"d/loop"_s) && entries[u"empty"_s].isDirectory);
        QCOMPARE(reports, (QList<qint64>{25, 50, 68}));
        int folders = 0;
        const auto afterTwo = [&folders] { return ++folders > 2; };
        QVERIFY(!messageOf([&] { SyncTreeWalker::walk(server, tree.path(), afterTwo); }).isEmpty());
        QCOMPARE(folders, 3);
        QVERIFY(!messageOf([&] { SyncTreeWalker::walk(server, tree.path("nowhere")); }).isEmpty());
    }

    void patternsLeaveOutWhatTheyMatch_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QStringList>("left");
        const auto row = [](const char *pattern, const QStringList &left) {
            QTest::addRow("%s", pattern) << QString::fromUtf8(pattern) << left;
        };
        row("*.o", {u"a.o"_s, u"d/b.o"_s});
        row("/*.o", {u"a.o"_s});
        row("d/", {u"d/"_s, u"x/d/"_s});
        row("d", {u"d/"_s, u"x/d/"_s, u"y/d"_s});
        row("x/**", {u"x/d/"_s, u"x/d/c"_s});
        row("**/c", {u"x/d/c"_s});
        row("x/*/c", {u"x/d/c"_s});
        row("?.o", {u"a.o"_s, u"d/b.o"_s});
        row("[!b].o", {u"a.o"_s});
        row("# d", {});
        row("", {});
        row("a.(o)", {});
    }
    void patternsLeaveOutWhatTheyMatch()
    {
        QFETCH(const QString, pattern);
        const SyncIgnore ignore({pattern});
        QStringList left;
        for (const char *path : {"a.o", "d/", "d/b.o", "x/d/", "x/d/c", "y/d"}) {
            const QString text = QString::fromUtf8(path);
            const bool isFolder = text.endsWith(u'/');
            if (ignore.matches(text.chopped(isFolder), isFolder))
                left << text;
        }
        QTEST(left, "left");
    }
};

MOORIX_TEST(SyncClassifierTest)
#include "SyncClassifierTest.moc"
