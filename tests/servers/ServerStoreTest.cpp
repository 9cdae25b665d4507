// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerStore.h"
#include "platform/KeyValueStore.h"
#include "support/NamedLibrary.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
const char libraryFile[] = "Moorix/servers.json";
const char cloudFile[] = "cloud/serverLibrary.v1.json";

/// A library of one server.
ServerLibrary libraryNamed(const QString &serverName, const std::optional<QDateTime> &lastModified = {})
{
    ServerLibrary library = NamedLibrary(serverName).library;
    library.lastModified = lastModified;
    return library;
}

/// A store over a tree: the library file, and a cloud folder beside it.
struct Fixture
{
    explicit Fixture(const TestTree &where, bool isCloudOn = false, const QDateTime &now = noon,
                     const std::optional<QString> &cloud = {})
        : tree(where)
        , kv(cloud.value_or(tree.path("cloud")))
        , store(ServerStore::Options{.path = tree.path(libraryFile),
                                     .iCloudSyncEnabled = isCloudOn,
                                     .inMemoryOnly = false,
                                     .clock = [now] { return now; }},
                kv)
        , changes(&store, &ServerStore::libraryChanged)
    {
    }

    QString servers() const { return namesOf(store.library().servers).join(u' '); }
    /// Whether the file holds what the store shows.
    bool isSaved() const { return ServerLibrary::decode(tree.read(libraryFile)) == store.library(); }

    const TestTree &tree;
    KeyValueStore kv;
    ServerStore store;
    QSignalSpy changes;
};

} // namespace

/// Loading, saving and merging, and the operations over the tree.
class ServerStoreTest final : public QObject
{
    Q_OBJECT

private slots:
    void aFirstStartShowsTheSampleAndKeepsItOnThisMachine()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture first(tree);
        first.store.setCloudSyncEnabled(true);
        QVERIFY(first.isSaved());
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
        server.name = u"new"_s;
        fixture.store.upsert(server);
        QCOMPARE(fixture.store.library().lastModified, std::optional(noon));
        QVERIFY(fixture.isSaved());
        QCOMPARE(tree.read(cloudFile), tree.read(libraryFile));
        QCOMPARE(fixture.changes.count(), 1);
    }

    void withTheCloudOffNothingIsReadFromOrWrittenToIt()
    {
        const TestTree tree{{cloudFile, libraryNamed(u"cloud"_s, noon.addDays(1)).encode()}};
        const auto before = tree.read(cloudFile);
        Fixture fixture(tree);
        fixture.store.upsert(ServerConnection());
        QCOMPARE(fixture.store.library().servers.size(), 6);
        QCOMPARE(tree.read(cloudFile), before);
    }

    void aLibraryThatCannotBeReadIsSetAsideUnderItsFixedName()
    {
        for (const char *damaged : {"", "/inside"}) {
            const TestTree tree{{u"Moorix/servers.json"_s + QLatin1String(damaged), "garbage"}};
            const Fixture fixture(tree);
            QVERIFY(fixture.store.library() == ServerLibrary::empty());
            QVERIFY(fixture.store.problem().contains(u"servers.corrupt-.json"_s));
            QCOMPARE(tree.read(u"Moorix/servers.corrupt-.json"_s + QLatin1String(damaged)), QByteArray("garbage"));
            QVERIFY(!tree.exists(libraryFile));
        }
    }

    void aSecondDamagedLibraryStaysInPlaceAndIsNeverWrittenOver()
    {
        const TestTree tree{{libraryFile, "second"}, {"Moorix/servers.corrupt-.json", "first"}};
        Fixture fixture(tree);
        QCOMPARE(tree.snapshot().size(), 3);
        QVERIFY(tree.read(libraryFile) == "second" && !fixture.store.problem().isEmpty());
        fixture.store.upsert(ServerConnection());
        QVERIFY(fixture.isSaved() && fixture.store.problem().isEmpty());
        QCOMPARE(tree.snapshot().size(), 4);
        QCOMPARE(tree.read("Moorix/servers.corrupt-.json"), QByteArray("first"));
        QVERIFY(tree.snapshot().key("second").startsWith(u"Moorix/servers.corrupt-2"_s));
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
        QVERIFY(fixture.isSaved());
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

    void theNewerOfCloudAndLocalWinsAndTiesGoToTheCloud()
    {
        const QDateTime later = noon.addMSecs(1);
        using Date = std::optional<QDateTime>;
        const std::tuple<Date, Date, const char *> rows[] = {{noon, later, "cloud"}, {later, noon, "local"},
                                                             {noon, noon, "cloud"},  {{}, noon, "cloud"},
                                                             {noon, {}, "local"},    {{}, {}, "cloud"}};
        for (const auto &[local, cloud, winner] : rows) {
            const QByteArray cloudBefore = libraryNamed(u"cloud"_s, cloud).encode();
            const TestTree tree{{libraryFile, libraryNamed(u"local"_s, local).encode()}, {cloudFile, cloudBefore}};
            const Fixture fixture(tree, true);
            QCOMPARE(fixture.servers(), QLatin1String(winner));
            QVERIFY(fixture.isSaved());
            QCOMPARE(tree.read(cloudFile), cloudBefore);
        }
    }

    void aLibraryThatArrivesLaterIsShownAndSavedAndOurOwnIsNoChange()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree, true);
        const auto arrive = [&](const QByteArray &library) {
            QFile::remove(tree.path(cloudFile));
            fixture.kv.synchronize();
            tree.write(cloudFile, library);
            fixture.kv.synchronize();
        };
        arrive(libraryNamed(u"other"_s, noon).encode());
        QCOMPARE(fixture.servers(), u"other"_s);
        QVERIFY(fixture.isSaved());
        fixture.store.toggleFavorite(fixture.store.library().servers.first().id);
        QCOMPARE(fixture.changes.count(), 2);
        arrive(tree.read(cloudFile));
        arrive("{\"folders\":[]}"); // cannot be decoded
        QCOMPARE(fixture.changes.count(), 2);
        QVERIFY(fixture.isSaved());
    }

    void aChangeHereCountsAsNewerAlthoughTheOtherMachinesClockIsAhead()
    {
        const QDateTime ahead = noon.addSecs(300);
        const TestTree tree{{cloudFile, libraryNamed(u"other machine"_s, ahead).encode()}};
        Fixture fixture(tree, true);
        fixture.store.toggleFavorite(fixture.store.library().servers.first().id);
        QCOMPARE(fixture.store.library().lastModified, std::optional(ahead.addMSecs(1)));
    }

    void turningTheCloudOnOrChoosingItsFolderMergesOrSends()
    {
        const std::pair<QByteArray, QString> rows[] = {
            {{}, u"local"_s},
            {libraryNamed(u"cloud"_s, noon.addDays(-1)).encode(), u"local"_s},
            {libraryNamed(u"cloud"_s, noon.addDays(1)).encode(), u"cloud"_s}};
        for (const auto &[cloud, everywhere] : rows) {
            for (const bool isFolderChosen : {false, true}) {
                const TestTree tree{{libraryFile, libraryNamed(u"local"_s, noon).encode()}, {"cloud/", ""}};
                if (!cloud.isEmpty())
                    tree.write(cloudFile, cloud);
                Fixture fixture(tree, isFolderChosen, noon, isFolderChosen ? QString() : tree.path("cloud"));
                if (isFolderChosen)
                    fixture.kv.setFolder(tree.path("cloud"));
                else
                    fixture.store.setCloudSyncEnabled(true);
                QCOMPARE(fixture.servers(), everywhere);
                QVERIFY(fixture.isSaved());
                QCOMPARE(tree.read(cloudFile), tree.read(libraryFile));
            }
        }
    }

    void twoProgramsNeverWriteOverEachOthersChanges()
    {
        const TestTree tree({{libraryFile, ServerLibrary::empty().encode()}});
        Fixture window(tree);
        Fixture commandLine(tree, false, noon.addSecs(1));
        const ServerConnection first = libraryNamed(u"first"_s).servers.first();
        const ServerConnection second = libraryNamed(u"second"_s).servers.first();
        window.store.upsert(first);
        commandLine.store.upsert(second);
        window.store.toggleFavorite(second.id);
        QCOMPARE(window.servers(), u"first second"_s);
        QVERIFY(window.isSaved() && window.store.server(second.id)->isFavorite);

        commandLine.store.remove(first.id);
        QTRY_COMPARE(window.servers(), u"second"_s);
        tree.write(libraryFile, "{damaged");
        window.store.toggleFavorite(second.id);
        QCOMPARE(tree.read("Moorix/servers.corrupt-.json"), QByteArray("{damaged"));
        QVERIFY(window.isSaved() && window.servers() == u"second"_s);
    }

    void aNewServerComesAfterAllOthersWhateverItsFolder()
    {
        const TestTree tree{{libraryFile, ServerLibrary::empty().encode()}};
        Fixture fixture(tree);
        ServerStore &store = fixture.store;
        const ServerFolder folder;
        store.updateFolder(folder);
        ServerConnection first;
        store.upsert(first);
        QCOMPARE(store.server(first.id)->sortIndex, 1);
        first.sortIndex = 7;
        first.folderID = folder.id;
        store.upsert(first);
        const ServerConnection second;
        store.upsert(second);
        QCOMPARE(store.server(first.id)->sortIndex, 7);
        QCOMPARE(store.server(second.id)->sortIndex, 8);
        QCOMPARE(store.library().servers.size(), 2);
        QCOMPARE(store.serverCount(folder.id), 1);
    }

    void recordsSavedIntoWhereTheyCannotBeStayInReach()
    {
        const TestTree tree{{libraryFile, ServerLibrary::empty().encode()}};
        Fixture fixture(tree);
        ServerStore &store = fixture.store;
        ServerConnection server;
        server.folderID = QUuid::createUuid();
        store.upsert(server);
        QCOMPARE(store.servers(std::nullopt).size(), 1);
        ServerFolder outer;
        ServerFolder inner;
        inner.parentID = outer.id;
        store.updateFolder(outer);
        store.updateFolder(inner);
        outer.parentID = inner.id;
        outer.name = u"renamed"_s;
        store.updateFolder(outer);
        QCOMPARE(store.folder(outer.id)->name, u"renamed"_s);
        QVERIFY(!store.folder(outer.id)->parentID && store.isDescendant(inner.id, outer.id));
    }

    void whatIsRefusedOrUnknownIsNoChange()
    {
        const TestTree tree{{libraryFile, ServerLibrary::empty().encode()}};
        Fixture fixture(tree);
        ServerStore &store = fixture.store;
        const ServerFolder folder;
        store.updateFolder(folder); // the only change
        const QUuid unknown = QUuid::createUuid();
        store.moveFolder(folder.id, std::optional(folder.id));
        store.moveFolder(folder.id, ServerStore::Direction::up);
        store.remove(unknown);
        store.toggleFavorite(unknown);
        store.deleteFolder(unknown);
        store.moveServer(unknown, std::nullopt);
        QCOMPARE(fixture.changes.count(), 1);
    }
};

MOORIX_TEST(ServerStoreTest)
#include "ServerStoreTest.moc"
