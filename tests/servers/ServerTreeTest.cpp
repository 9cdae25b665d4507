// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerTree.h"
#include "platform/KeyValueStore.h"
#include "servers/ServerStore.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QHash>
#include <QSignalSpy>
#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

/// Records made and found by name. A tree is written as lines, children indented by two blanks: "folder/" or "server",
/// each with its sortIndex where that matters ("work/ 3").
class NamedLibrary final
{
public:
    explicit NamedLibrary(const QStringList &lines)
    {
        QList<std::optional<QUuid>> parents{std::nullopt};
        for (const QString &line : lines) {
            const qsizetype depth = (line.size() - line.trimmed().size()) / 2;
            const QString label = line.trimmed().section(u' ', 0, 0);
            const qint64 sortIndex = line.trimmed().section(u' ', 1, 1).toLongLong();
            parents.resize(depth + 1);
            if (label.endsWith(u'/'))
                parents.append(addFolder(label.chopped(1), parents.last(), sortIndex));
            else
                addServer(label, parents.last(), sortIndex);
        }
    }

    QUuid operator[](const QString &name) const { return m_ids.value(name); }
    std::optional<QUuid> parent(const QString &name) const
    {
        return name.isEmpty() ? std::nullopt : std::optional(m_ids.value(name));
    }

    ServerLibrary library;

private:
    QUuid addFolder(const QString &name, const std::optional<QUuid> &parent, qint64 sortIndex)
    {
        ServerFolder folder;
        folder.name = name;
        folder.parentID = parent;
        folder.sortIndex = sortIndex;
        library.folders.append(folder);
        m_ids.insert(name, folder.id);
        return folder.id;
    }
    void addServer(const QString &name, const std::optional<QUuid> &folder, qint64 sortIndex)
    {
        ServerConnection server;
        server.name = name;
        server.folderID = folder;
        server.sortIndex = sortIndex;
        library.servers.append(server);
        m_ids.insert(name, server.id);
    }

    QHash<QString, QUuid> m_ids;
};

/// The tree as it is shown, in the form NamedLibrary reads, with the sortIndex of each where asked.
QStringList shown(const ServerLibrary &library, bool isNumbered = false, const std::optional<QUuid> &parent = {},
                  int depth = 0)
{
    QStringList lines;
    const QString indent(depth * 2, u' ');
    const auto number = [&](qint64 index) { return isNumbered ? QStringLiteral(" %1").arg(index) : QString(); };
    for (const ServerFolder &folder : serverTree::folders(library, parent)) {
        lines.append(indent + folder.name + u'/' + number(folder.sortIndex));
        lines.append(shown(library, isNumbered, folder.id, depth + 1));
    }
    for (const ServerConnection &server : serverTree::servers(library, parent))
        lines.append(indent + server.name + number(server.sortIndex));
    return lines;
}

QStringList lines(const char *text)
{
    return QString::fromUtf8(text).split(u'\n');
}

} // namespace

class ServerTreeTest : public QObject
{
    Q_OBJECT

    const QStringList m_tree =
        lines("work/ 1\n  web/ 1\n    live/\n      a\n    b 1\n  mail/ 2\n    c\nhome/ 2\n  d\n  e 1\nf");

private slots:
    void changesMoveWhatTheyShouldAndRefuseWhatTheyMust_data()
    {
        QTest::addColumn<std::function<bool(NamedLibrary &)>>("change");
        QTest::addColumn<QString>("expected"); // empty: refused
        using Change = std::function<bool(NamedLibrary &)>;
        const auto row = [](const char *name, Change change, const char *expected) {
            QTest::newRow(name) << change << QString::fromUtf8(expected);
        };
        const auto moveFolder = [](const QString &id, const QString &to) -> Change {
            return [=](NamedLibrary &tree) { return serverTree::moveFolder(tree.library, tree[id], tree.parent(to)); };
        };
        const auto removeFolder = [](const QString &id) -> Change {
            return [=](NamedLibrary &tree) { return serverTree::removeFolder(tree.library, tree[id]); };
        };
        const auto moveServer = [](const QString &id, const QString &to) -> Change {
            return [=](NamedLibrary &tree) { return serverTree::moveServer(tree.library, tree[id], tree.parent(to)); };
        };
        row("removed inner folder leaves its content one level up", removeFolder(u"web"_s),
            "work/\n  live/\n    a\n  mail/\n    c\n  b\nhome/\n  d\n  e\nf");
        row("removed top folder leaves its content at the top", removeFolder(u"work"_s),
            "web/\n  live/\n    a\n  b\nhome/\n  d\n  e\nmail/\n  c\nf");
        row("removing what is not there", removeFolder(u"nothing"_s), "");
        row("folder into another", moveFolder(u"web"_s, u"home"_s),
            "work/\n  mail/\n    c\nhome/\n  web/\n    live/\n      a\n    b\n  d\n  e\nf");
        row("folder to the top", moveFolder(u"live"_s, u""_s),
            "live/\n  a\nwork/\n  web/\n    b\n  mail/\n    c\nhome/\n  d\n  e\nf");
        row("folder into itself", moveFolder(u"work"_s, u"work"_s), "");
        row("folder into its descendant", moveFolder(u"work"_s, u"live"_s), "");
        row("folder into what does not exist", moveFolder(u"web"_s, u"nothing"_s), "");
        row("server into a folder", moveServer(u"f"_s, u"live"_s),
            "work/\n  web/\n    live/\n      a\n      f\n    b\n  mail/\n    c\nhome/\n  d\n  e");
        row("server to the top", moveServer(u"a"_s, u""_s),
            "work/\n  web/\n    live/\n    b\n  mail/\n    c\nhome/\n  d\n  e\na\nf");
        row("server into what does not exist", moveServer(u"a"_s, u"nothing"_s), "");
    }
    void changesMoveWhatTheyShouldAndRefuseWhatTheyMust()
    {
        QFETCH(const std::function<bool(NamedLibrary &)>, change);
        QFETCH(const QString, expected);
        NamedLibrary tree(m_tree);
        const ServerLibrary before = tree.library;
        QCOMPARE(change(tree), !expected.isEmpty());
        if (expected.isEmpty())
            QVERIFY(tree.library == before);
        else
            QCOMPARE(shown(tree.library), expected.split(u'\n'));
    }

    void aPlacedFolderTakesItsPositionAndAllSiblingsAreRenumbered_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<qsizetype>("at");
        QTest::addColumn<QString>("order");
        QTest::newRow("from elsewhere to the middle") << "x" << qsizetype(2) << "a b x c";
        QTest::newRow("beyond the end") << "x" << qsizetype(99) << "a b c x";
        QTest::newRow("before the front") << "c" << qsizetype(-5) << "c a b";
        QTest::newRow("later among the same siblings") << "a" << qsizetype(1) << "b a c";
        QTest::newRow("where it is") << "b" << qsizetype(1) << "a b c";
    }
    void aPlacedFolderTakesItsPositionAndAllSiblingsAreRenumbered()
    {
        QFETCH(const QString, folder);
        QFETCH(const qsizetype, at);
        QFETCH(const QString, order);
        // Servers follow the same rule.
        for (const QString &mark : {QStringLiteral("/"), QString()}) {
            NamedLibrary tree(
                QStringLiteral("in/ 1\n  a% 3\n  b% 7\n  c% 7\nout/ 2\n  x% 1").replace(u'%', mark).split(u'\n'));
            const auto place = mark.isEmpty() ? serverTree::placeServer : serverTree::placeFolder;
            QVERIFY(place(tree.library, tree[folder], tree.parent(QStringLiteral("in")), at));
            QStringList expected{QStringLiteral("in/ 1")};
            for (const QString &name : order.split(u' '))
                expected.append(QStringLiteral("  %1%2 %3").arg(name, mark).arg(expected.size() - 1));
            expected.append(QStringLiteral("out/ 2"));
            if (folder != u"x")
                expected.append(QStringLiteral("  x%1 1").arg(mark));
            QCOMPARE(shown(tree.library, true), expected);
        }
    }

    void swappingStopsAtEitherEnd()
    {
        NamedLibrary tree(lines("a/ 5\nb/ 5\nc/ 9"));
        const auto swap = [&](const char *name, serverTree::Neighbour with) {
            return serverTree::swapFolder(tree.library, tree[QString::fromUtf8(name)], with);
        };
        QVERIFY(!swap("a", serverTree::Neighbour::previous) && !swap("c", serverTree::Neighbour::next));
        QCOMPARE(shown(tree.library, true), lines("a/ 5\nb/ 5\nc/ 9"));
        QVERIFY(swap("b", serverTree::Neighbour::previous) && swap("a", serverTree::Neighbour::next));
        QCOMPARE(shown(tree.library, true), lines("b/ 0\nc/ 1\na/ 2"));
    }

    void placingAFolderInsideItselfIsRefused()
    {
        NamedLibrary tree(m_tree);
        for (const QString &target : {QStringLiteral("work"), QStringLiteral("live"), QStringLiteral("nothing")})
            QVERIFY(!serverTree::placeFolder(tree.library, tree[QStringLiteral("work")], tree.parent(target), 0));
        QCOMPARE(shown(tree.library, true), shown(NamedLibrary(m_tree).library, true));
    }

    void theTreeIsFlattenedDepthFirst()
    {
        const NamedLibrary tree(m_tree);
        QStringList rows;
        for (const auto &[folder, depth] : serverTree::flattened(tree.library))
            rows.append(QStringLiteral("%1%2").arg(depth).arg(folder.name));
        QCOMPARE(rows, lines("0work\n1web\n2live\n1mail\n0home"));
    }

    void aSubtreeHoldsTheFolderAndAllBelowIt()
    {
        const NamedLibrary tree(m_tree);
        const QSet<QUuid> expected{tree[QStringLiteral("web")], tree[QStringLiteral("live")]};
        QCOMPARE(serverTree::subtree(tree.library, tree[QStringLiteral("web")]), expected);
    }

    void mendingBringsEveryRecordBackIntoReach()
    {
        NamedLibrary tree(lines("a/\n  b/\n    c/\n      server\nlost\nkept/\n  inside"));
        const auto folder = [&](const char *name) {
            return std::find_if(tree.library.folders.begin(), tree.library.folders.end(),
                                [&](const ServerFolder &each) { return each.name == QLatin1String(name); });
        };
        folder("a")->parentID = tree[QStringLiteral("b")];
        tree.library.servers[1].folderID = QUuid::createUuid();
        QVERIFY(serverTree::mend(tree.library));
        QCOMPARE(shown(tree.library), lines("a/\n  b/\n    c/\n      server\nkept/\n  inside\nlost"));
        QVERIFY(!serverTree::mend(tree.library));
    }
};

MOORIX_TEST(ServerTreeTest)

/// The store's own operations over the tree.
class ServerStoreEditTest : public QObject
{
    Q_OBJECT

    const test::TestTree m_tree;
    std::unique_ptr<KeyValueStore> m_kv;
    std::unique_ptr<ServerStore> m_store;

private slots:
    void init()
    {
        m_kv = std::make_unique<KeyValueStore>(QString());
        m_store = std::make_unique<ServerStore>(
            ServerStore::Options{.path = m_tree.path("servers.json"), .iCloudSyncEnabled = false, .inMemoryOnly = true},
            *m_kv);
        for (const ServerConnection &server : QList(m_store->library().servers))
            m_store->remove(server.id);
        m_store->deleteFolder(m_store->library().folders.first().id);
    }

    void aNewServerComesAfterAllOthersWhateverItsFolder()
    {
        ServerFolder folder;
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

    void aServerSavedIntoAFolderThatIsGoneStaysInReach()
    {
        ServerConnection server;
        server.folderID = QUuid::createUuid();
        m_store->upsert(server);
        QCOMPARE(m_store->servers(std::nullopt).size(), 1);
    }

    void anUpdatedFolderThatWouldLieInsideItselfKeepsItsParent()
    {
        ServerFolder outer;
        ServerFolder inner;
        inner.parentID = outer.id;
        m_store->updateFolder(outer);
        m_store->updateFolder(inner);
        outer.parentID = inner.id;
        outer.name = QStringLiteral("renamed");
        m_store->updateFolder(outer);
        QCOMPARE(m_store->folder(outer.id)->name, QStringLiteral("renamed"));
        QVERIFY(!m_store->folder(outer.id)->parentID);
        QVERIFY(m_store->isDescendant(inner.id, outer.id));
    }

    void whatIsRefusedOrUnknownIsNoChange()
    {
        ServerFolder folder;
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
