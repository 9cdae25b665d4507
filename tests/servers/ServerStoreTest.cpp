// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerStore.h"

#include "platform/KeyValueStore.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QSignalSpy>
#include <QTest>

using namespace moorix;
using moorix::test::TestTree;

namespace {

const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
const char libraryFile[] = "Moorix/servers.json";
const char cloudFile[] = "cloud/serverLibrary.v1.json";

ServerLibrary libraryNamed(const QString &serverName, const std::optional<QDateTime> &lastModified)
{
    ServerConnection server;
    server.name = serverName;
    ServerLibrary library;
    library.servers = {server};
    library.lastModified = lastModified;
    return library;
}

QStringList namesOf(const QList<ServerConnection> &servers)
{
    QStringList names;
    for (const ServerConnection &server : servers)
        names.append(server.name);
    return names;
}

/// A store over a tree: the library file, and a cloud folder beside it.
struct Fixture
{
    explicit Fixture(const TestTree &where, bool isCloudOn = false, const QDateTime &now = noon)
        : tree(where)
        , kv(tree.path("cloud"))
        , store(ServerStore::Options{.path = tree.path(libraryFile),
                                     .iCloudSyncEnabled = isCloudOn,
                                     .inMemoryOnly = false,
                                     .clock = [now] { return now; }},
                kv)
        , changes(&store, &ServerStore::libraryChanged)
    {
    }

    ServerLibrary saved() const { return ServerLibrary::decode(tree.read(libraryFile)); }

    const TestTree &tree;
    KeyValueStore kv;
    ServerStore store;
    QSignalSpy changes;
};

} // namespace

/// Loading, saving and merging.
class ServerStoreTest : public QObject
{
    Q_OBJECT

private slots:
    void aFirstStartShowsTheSampleAndKeepsItOnThisMachine()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture first(tree);
        first.store.setCloudSyncEnabled(true);
        QVERIFY(first.saved() == first.store.library());
        QVERIFY(first.store.problem().isEmpty());
        QVERIFY(!tree.exists(cloudFile));
        const Fixture second(tree);
        QVERIFY(second.store.library() == first.store.library());
    }

    void aChangeIsStampedSavedAndSentWhole()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree, true);
        ServerConnection server;
        server.name = QStringLiteral("new");
        fixture.store.upsert(server);
        QCOMPARE(fixture.store.library().lastModified, std::optional(noon));
        QVERIFY(fixture.saved() == fixture.store.library());
        QCOMPARE(tree.read(cloudFile), tree.read(libraryFile));
        QCOMPARE(fixture.changes.count(), 1);
    }

    void withTheCloudOffNothingIsReadFromOrWrittenToIt()
    {
        const TestTree tree{{cloudFile, libraryNamed(QStringLiteral("cloud"), noon.addDays(1)).encode()}};
        const auto before = tree.read(cloudFile);
        Fixture fixture(tree);
        fixture.store.upsert(ServerConnection());
        QCOMPARE(fixture.store.library().servers.size(), 6);
        QCOMPARE(tree.read(cloudFile), before);
    }

    void aDamagedLibraryIsSetAsideUnderItsFixedName()
    {
        const TestTree tree{{libraryFile, "garbage"}};
        const Fixture fixture(tree);
        QVERIFY(fixture.store.library() == ServerLibrary::empty());
        QVERIFY(fixture.store.problem().contains(QStringLiteral("servers.corrupt-.json")));
        QCOMPARE(tree.snapshot(), (test::TreeSnapshot{{QStringLiteral("Moorix/"), {}},
                                                      {QStringLiteral("Moorix/servers.corrupt-.json"), "garbage"}}));
    }

    void aLibraryThatCannotBeReadIsNotReplacedByTheSample()
    {
        const TestTree tree{{"Moorix/servers.json/inside", "precious"}};
        const Fixture fixture(tree);
        QVERIFY(fixture.store.library() == ServerLibrary::empty());
        QCOMPARE(tree.read("Moorix/servers.corrupt-.json/inside"), QByteArray("precious"));
    }

    void aSecondDamagedLibraryStaysInPlaceAndIsNeverWrittenOver()
    {
        const TestTree tree{{libraryFile, "second"}, {"Moorix/servers.corrupt-.json", "first"}};
        const auto before = tree.snapshot();
        Fixture fixture(tree);
        QCOMPARE(tree.snapshot(), before);
        QVERIFY(!fixture.store.problem().isEmpty());

        fixture.store.upsert(ServerConnection());
        QVERIFY(fixture.saved() == fixture.store.library());
        QVERIFY(fixture.store.problem().isEmpty());
        QCOMPARE(tree.read("Moorix/servers.corrupt-.json"), QByteArray("first"));
        const auto after = tree.snapshot();
        QCOMPARE(after.size(), 4);
        const auto stamped = std::find_if(after.keyValueBegin(), after.keyValueEnd(),
                                          [](const auto &entry) { return entry.second == "second"; });
        QVERIFY(stamped != after.keyValueEnd());
        QVERIFY((*stamped).first.startsWith(QStringLiteral("Moorix/servers.corrupt-2")));
    }

    void aChangeThatCannotBeSavedStaysInMemoryAndIsTold()
    {
        const TestTree tree{{"Moorix", "a file where the folder should be"}};
        Fixture fixture(tree);
        QSignalSpy problems(&fixture.store, &ServerStore::problemChanged);
        const QUuid id = fixture.store.library().servers.first().id;
        fixture.store.remove(id);
        QVERIFY(!fixture.store.server(id));
        QVERIFY(fixture.store.problem().contains(tree.path(libraryFile)));

        QFile::remove(tree.path("Moorix"));
        fixture.store.toggleFavorite(fixture.store.library().servers.first().id);
        QVERIFY(fixture.store.problem().isEmpty());
        QVERIFY(problems.count() > 0);
        QVERIFY(fixture.saved() == fixture.store.library());
    }

    void aThrowAwayStoreTouchesNoFileNotEvenADamagedOne()
    {
        const TestTree tree{{libraryFile, "garbage"}};
        const auto before = tree.snapshot();
        KeyValueStore kv{QString()};
        ServerStore store({.path = tree.path(libraryFile), .iCloudSyncEnabled = true, .inMemoryOnly = true}, kv);
        store.upsert(ServerConnection());
        QCOMPARE(tree.snapshot(), before);
    }

    void theNewerOfCloudAndLocalWinsAndTiesGoToTheCloud_data()
    {
        QTest::addColumn<std::optional<QDateTime>>("local");
        QTest::addColumn<std::optional<QDateTime>>("cloud");
        QTest::addColumn<QString>("winner");
        using Date = std::optional<QDateTime>;
        QTest::newRow("cloud newer") << Date(noon) << Date(noon.addMSecs(1)) << "cloud";
        QTest::newRow("local newer") << Date(noon.addMSecs(1)) << Date(noon) << "local";
        QTest::newRow("equal") << Date(noon) << Date(noon) << "cloud";
        QTest::newRow("local never saved") << Date() << Date(noon) << "cloud";
        QTest::newRow("cloud without a date") << Date(noon) << Date() << "local";
        QTest::newRow("neither has a date") << Date() << Date() << "cloud";
    }
    void theNewerOfCloudAndLocalWinsAndTiesGoToTheCloud()
    {
        QFETCH(const std::optional<QDateTime>, local);
        QFETCH(const std::optional<QDateTime>, cloud);
        QFETCH(const QString, winner);
        const TestTree tree{{libraryFile, libraryNamed(QStringLiteral("local"), local).encode()},
                            {cloudFile, libraryNamed(QStringLiteral("cloud"), cloud).encode()}};
        const QByteArray cloudBefore = tree.read(cloudFile);
        const Fixture fixture(tree, true);
        QCOMPARE(namesOf(fixture.store.library().servers), QStringList{winner});
        QVERIFY(fixture.saved() == fixture.store.library());
        QCOMPARE(tree.read(cloudFile), cloudBefore);
    }

    void aLibraryThatArrivesLaterIsShownAndSaved()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree, true);
        tree.write(cloudFile, libraryNamed(QStringLiteral("other machine"), noon).encode());
        fixture.kv.synchronize();
        QCOMPARE(namesOf(fixture.store.library().servers), QStringList{QStringLiteral("other machine")});
        QVERIFY(fixture.saved() == fixture.store.library());
        QCOMPARE(fixture.changes.count(), 1);
    }

    void anEchoOfOurOwnChangeIsNoChange()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree, true);
        fixture.store.upsert(ServerConnection());
        fixture.changes.clear();
        // The cloud client took the file away and brought the same bytes back.
        const QByteArray own = tree.read(cloudFile);
        QFile::remove(tree.path(cloudFile));
        fixture.kv.synchronize();
        tree.write(cloudFile, own);
        fixture.kv.synchronize();
        QCOMPARE(fixture.changes.count(), 0);
    }

    void undecodableCloudDataChangesNothing()
    {
        const TestTree tree{{libraryFile, libraryNamed(QStringLiteral("local"), std::nullopt).encode()},
                            {cloudFile, "{\"folders\":[]}"}};
        const auto before = tree.snapshot();
        const Fixture fixture(tree, true);
        QCOMPARE(namesOf(fixture.store.library().servers), QStringList{QStringLiteral("local")});
        QCOMPARE(tree.snapshot(), before);
    }

    void aChangeHereCountsAsNewerAlthoughTheOtherMachinesClockIsAhead()
    {
        const QDateTime ahead = noon.addSecs(300);
        const TestTree tree{{cloudFile, libraryNamed(QStringLiteral("other machine"), ahead).encode()}};
        Fixture fixture(tree, true);
        fixture.store.toggleFavorite(fixture.store.library().servers.first().id);
        QCOMPARE(fixture.store.library().lastModified, std::optional(ahead.addMSecs(1)));
    }

    void turningTheCloudOnOrChoosingItsFolderMergesOrSends_data()
    {
        QTest::addColumn<QByteArray>("cloud");
        QTest::addColumn<QString>("everywhere");
        QTest::newRow("nothing there") << QByteArray() << QStringLiteral("local");
        QTest::newRow("older there") << libraryNamed(QStringLiteral("cloud"), noon.addDays(-1)).encode()
                                     << QStringLiteral("local");
        QTest::newRow("newer there") << libraryNamed(QStringLiteral("cloud"), noon.addDays(1)).encode()
                                     << QStringLiteral("cloud");
    }
    void turningTheCloudOnOrChoosingItsFolderMergesOrSends()
    {
        QFETCH(const QByteArray, cloud);
        QFETCH(const QString, everywhere);
        for (const bool isFolderChosen : {false, true}) {
            const TestTree tree{{libraryFile, libraryNamed(QStringLiteral("local"), noon).encode()}, {"cloud/", ""}};
            if (!cloud.isEmpty())
                tree.write(cloudFile, cloud);
            KeyValueStore kv(isFolderChosen ? QString() : tree.path("cloud"));
            ServerStore store({.path = tree.path(libraryFile), .iCloudSyncEnabled = isFolderChosen}, kv);
            if (isFolderChosen)
                kv.setFolder(tree.path("cloud"));
            else
                store.setCloudSyncEnabled(true);
            QCOMPARE(namesOf(store.library().servers), QStringList{everywhere});
            QVERIFY(ServerLibrary::decode(tree.read(cloudFile)) == store.library());
            QVERIFY(ServerLibrary::decode(tree.read(libraryFile)) == store.library());
        }
    }

    void twoProgramsNeverWriteOverEachOthersChanges()
    {
        const TestTree tree({{libraryFile, ServerLibrary::empty().encode()}});
        Fixture window(tree);
        Fixture commandLine(tree, false, noon.addSecs(1));
        const ServerConnection first = libraryNamed(QStringLiteral("first"), {}).servers.first();
        const ServerConnection second = libraryNamed(QStringLiteral("second"), {}).servers.first();
        window.store.upsert(first);
        commandLine.store.upsert(second);
        window.store.toggleFavorite(second.id);
        QCOMPARE(namesOf(window.saved().servers), QStringList({QStringLiteral("first"), QStringLiteral("second")}));
        QVERIFY(window.saved().servers.last().isFavorite);

        commandLine.store.remove(first.id);
        QTRY_COMPARE(namesOf(window.store.library().servers), QStringList{QStringLiteral("second")});
        tree.write(libraryFile, "{damaged");
        window.store.toggleFavorite(second.id);
        QCOMPARE(tree.read("Moorix/servers.corrupt-.json"), QByteArray("{damaged"));
        QCOMPARE(namesOf(window.saved().servers), QStringList{QStringLiteral("second")});
    }
};

MOORIX_TEST(ServerStoreTest)
#include "ServerStoreTest.moc"
