// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerTree.h"
#include "platform/KeyValueStore.h"
#include "servers/ServerStore.h"
#include "support/NamedLibrary.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QSignalSpy>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

class ServerTreeTest : public QObject
{
    Q_OBJECT

    const QString m_tree =
        u"work/ 1\n  web/ 1\n    live/\n      a\n    b 1\n  mail/ 2\n    c\nhome/ 2\n  d\n  e 1\nf\n"_s;

private slots:
    void changesMoveWhatTheyShouldAndRefuseWhatTheyMust()
    {
        const std::pair<const char *, const char *> rows[] = {
            {"remove web", "work/\n  live/\n    a\n  mail/\n    c\n  b\nhome/\n  d\n  e\nf\n"},
            {"remove work", "web/\n  live/\n    a\n  b\nhome/\n  d\n  e\nmail/\n  c\nf\n"},
            {"remove nothing", ""},
            {"folder web home", "work/\n  mail/\n    c\nhome/\n  web/\n    live/\n      a\n    b\n  d\n  e\nf\n"},
            {"folder live ", "live/\n  a\nwork/\n  web/\n    b\n  mail/\n    c\nhome/\n  d\n  e\nf\n"},
            {"folder work work", ""},
            {"folder work live", ""},
            {"folder web nothing", ""},
            {"place work work", ""},
            {"place work live", ""},
            {"place work nothing", ""},
            {"server f live", "work/\n  web/\n    live/\n      a\n      f\n    b\n  mail/\n    c\nhome/\n  d\n  e\n"},
            {"server a ", "work/\n  web/\n    live/\n    b\n  mail/\n    c\nhome/\n  d\n  e\na\nf\n"},
            {"server a nothing", ""},
        };
        for (const auto &[change, expected] : rows) {
            NamedLibrary tree(m_tree);
            ServerLibrary &library = tree.library;
            const QStringList words = QString::fromLatin1(change).split(u' ');
            const QUuid id = tree[words.at(1)];
            const std::optional<QUuid> to = tree.parent(words.value(2));
            const bool isDone = words.at(0) == u"remove"   ? serverTree::removeFolder(library, id)
                                : words.at(0) == u"place"  ? serverTree::placeFolder(library, id, to, 0)
                                : words.at(0) == u"folder" ? serverTree::moveFolder(library, id, to)
                                                           : serverTree::moveServer(library, id, to);
            QVERIFY2(isDone == (*expected != 0), change);
            QCOMPARE(shown(library, !isDone),
                     isDone ? QString::fromLatin1(expected) : shown(NamedLibrary(m_tree).library, true));
        }
    }

    void aPlacedRecordTakesItsPositionAndAllSiblingsAreRenumbered()
    {
        const std::tuple<const char *, qsizetype, const char *> rows[] = {
            {"x", 2, "a b x c"},  // from elsewhere to the middle
            {"x", 99, "a b c x"}, // beyond the end
            {"c", -5, "c a b"},   // before the front
            {"a", 1, "b a c"},    // later among the same siblings
            {"b", 1, "a b c"}};   // where it is
        for (const auto &[name, at, order] : rows) {
            for (const QString &mark : {u"/"_s, QString()}) { // folders, servers
                NamedLibrary tree(u"in/ 1\n  a% 3\n  b% 7\n  c% 7\nout/ 2\n  x% 1\n"_s.replace(u'%', mark));
                const auto place = mark.isEmpty() ? serverTree::placeServer : serverTree::placeFolder;
                QVERIFY(place(tree.library, tree[QLatin1String(name)], tree.parent(u"in"_s), at));
                QString expected = u"in/ 1\n"_s;
                int index = 0;
                for (const QString &sibling : QString::fromLatin1(order).split(u' '))
                    expected += u"  %1%2 %3\n"_s.arg(sibling, mark).arg(index++);
                expected += u"out/ 2\n"_s + (*name == 'x' ? QString() : u"  x%1 1\n"_s.arg(mark));
                QCOMPARE(shown(tree.library, true), expected);
            }
        }
    }

    void swappingStopsAtEitherEnd()
    {
        const QString before = u"a/ 5\nb/ 5\nc/ 9\n"_s;
        NamedLibrary tree(before);
        const auto swap = [&](const QString &name, serverTree::Neighbour with) {
            return serverTree::swapFolder(tree.library, tree[name], with);
        };
        QVERIFY(!swap(u"a"_s, serverTree::Neighbour::previous) && !swap(u"c"_s, serverTree::Neighbour::next));
        QCOMPARE(shown(tree.library, true), before);
        QVERIFY(swap(u"b"_s, serverTree::Neighbour::previous) && swap(u"a"_s, serverTree::Neighbour::next));
        QCOMPARE(shown(tree.library, true), u"b/ 0\nc/ 1\na/ 2\n"_s);
    }

    void foldersAreFlattenedDepthFirstAndGatheredBelowOne()
    {
        const NamedLibrary tree(m_tree);
        QStringList rows;
        for (const auto &[folder, depth] : serverTree::flattened(tree.library))
            rows.append(QString::number(depth) + folder.name);
        QCOMPARE(rows.join(u' '), u"0work 1web 2live 1mail 0home"_s);
        QCOMPARE(serverTree::subtree(tree.library, tree[u"web"_s]), (QSet<QUuid>{tree[u"web"_s], tree[u"live"_s]}));
    }

    void mendingBringsEveryRecordBackIntoReach()
    {
        NamedLibrary tree(u"a/\n  b/\n    c/\n      server\nlost\nkept/\n  inside\n"_s);
        tree.library.folders.first().parentID = tree[u"b"_s];
        tree.library.servers[1].folderID = QUuid::createUuid();
        QVERIFY(serverTree::mend(tree.library));
        QCOMPARE(shown(tree.library), u"a/\n  b/\n    c/\n      server\nkept/\n  inside\nlost\n"_s);
        QVERIFY(!serverTree::mend(tree.library));
    }
};

MOORIX_TEST(ServerTreeTest)

/// The store's own operations over the tree.
class ServerStoreEditTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestTree> m_tree;
    KeyValueStore m_kv{QString()};
    std::unique_ptr<ServerStore> m_store;

private slots:
    void init()
    {
        m_tree = std::make_unique<TestTree>(
            std::initializer_list<TestTree::Entry>{{"servers.json", ServerLibrary::empty().encode()}});
        m_store = std::make_unique<ServerStore>(ServerStore::Options{.path = m_tree->path("servers.json")}, m_kv);
    }

    void aNewServerComesAfterAllOthersWhateverItsFolder()
    {
        const ServerFolder folder;
        m_store->updateFolder(folder);
        ServerConnection first;
        m_store->upsert(first);
        QCOMPARE(m_store->server(first.id)->sortIndex, 1);
        first.sortIndex = 7;
        first.folderID = folder.id;
        m_store->upsert(first);
        const ServerConnection second;
        m_store->upsert(second);
        QCOMPARE(m_store->server(first.id)->sortIndex, 7);
        QCOMPARE(m_store->server(second.id)->sortIndex, 8);
        QCOMPARE(m_store->library().servers.size(), 2);
        QCOMPARE(m_store->serverCount(folder.id), 1);
    }

    void recordsSavedIntoWhereTheyCannotBeStayInReach()
    {
        ServerConnection server;
        server.folderID = QUuid::createUuid();
        m_store->upsert(server);
        QCOMPARE(m_store->servers(std::nullopt).size(), 1);
        ServerFolder outer;
        ServerFolder inner;
        inner.parentID = outer.id;
        m_store->updateFolder(outer);
        m_store->updateFolder(inner);
        outer.parentID = inner.id;
        outer.name = u"renamed"_s;
        m_store->updateFolder(outer);
        QCOMPARE(m_store->folder(outer.id)->name, u"renamed"_s);
        QVERIFY(!m_store->folder(outer.id)->parentID && m_store->isDescendant(inner.id, outer.id));
    }

    void whatIsRefusedOrUnknownIsNoChange()
    {
        const ServerFolder folder;
        m_store->updateFolder(folder);
        QSignalSpy changes(m_store.get(), &ServerStore::libraryChanged);
        const QUuid unknown = QUuid::createUuid();
        m_store->moveFolder(folder.id, std::optional(folder.id));
        m_store->moveFolder(folder.id, ServerStore::Direction::up);
        m_store->remove(unknown);
        m_store->toggleFavorite(unknown);
        m_store->deleteFolder(unknown);
        m_store->moveServer(unknown, std::nullopt);
        QCOMPARE(changes.count(), 0);
    }
};

MOORIX_TEST(ServerStoreEditTest)
#include "ServerTreeTest.moc"
