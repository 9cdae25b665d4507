// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncRowsModel.h"
#include "support/TestMain.h"
#include "ui/sync/SyncFilter.h"

#include "base/Json.h"
#include "files/LocalFileService.h"

#include <QAbstractItemModelTester>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// A session that has looked at a folder and at an empty one.
struct LookedAt
{
    TestTree tree;
    std::unique_ptr<SyncSession> session;

    explicit LookedAt(std::initializer_list<TestTree::Entry> entries, const QStringList &ignored = {})
        : tree(entries)
    {
        tree.write("there/", "");
        const auto disk = std::make_shared<LocalFileService>();
        SyncPlaces places;
        places.local = disk;
        places.stateFolder = tree.path("state");
        places.open = [disk](const ServerConnection &, SyncPlaces::Opened done, SyncPlaces::Failed failed) {
            return runJob([disk](const std::stop_token &) { return std::shared_ptr<FileService>(disk); },
                          std::move(done), std::move(failed));
        };
        const ServerConnection server = serverAt(u"web"_s, u"me"_s);
        const SyncPair pair{newUuid(), {}, tree.path("here"), server.id, tree.path("there"), ignored};
        session = std::make_unique<SyncSession>(places, pair, server);
        session->look();
        [this] { QTRY_COMPARE(session->state(), SyncSession::State::review); }();
    }
};

QStringList linesOf(const SyncRowsModel &rows)
{
    QStringList lines;
    for (int line = 0; line < rows.rowCount(); ++line)
        lines << QString(rows.depth(line), u'.') + rows.index(line, 0).data().toString();
    return lines;
}

int lineOf(const SyncRowsModel &rows, const QString &path)
{
    for (int line = 0; line < rows.rowCount(); ++line) {
        if (rows.relPath(line) == path)
            return line;
    }
    return -1;
}

SyncFilter filterOf(const SyncSession &session, const QString &id)
{
    for (const SyncFilter &filter : SyncFilter::of(session)) {
        if (filter.id == id)
            return filter;
    }
    return {};
}

} // namespace

/// Which rows of a sync are to be seen, and where.
class SyncRowsModelTest final : public QObject
{
    Q_OBJECT

private slots:
    void aListIsPutInOrderByAColumnAndBackAgain()
    {
        const LookedAt scene{{"here/b", "22"}, {"here/c/", ""}, {"here/a", "333"}, {"here/d", "22"}};
        SyncRowsModel rows(*scene.session);
        rows.sort(SyncRowsModel::localSize, Qt::AscendingOrder);
        QCOMPARE(linesOf(rows), QStringList({u"c"_s, u"b"_s, u"d"_s, u"a"_s}));
        rows.sort(SyncRowsModel::localSize, Qt::DescendingOrder);
        QCOMPARE(linesOf(rows), QStringList({u"a"_s, u"b"_s, u"d"_s, u"c"_s}));
        QCOMPARE(rows.row(0)->diff.relPath, u"a"_s);
        rows.sort(SyncRowsModel::path, Qt::DescendingOrder);
        QCOMPARE(linesOf(rows), QStringList({u"d"_s, u"c"_s, u"b"_s, u"a"_s}));
        rows.sort(-1, Qt::AscendingOrder);
        QCOMPARE(linesOf(rows), QStringList({u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    }

    void treeKeepsFoldersTogetherAndLeadsToWhatIsFound()
    {
        const LookedAt scene{{"here/a/x.txt", "1"}, {"here/a-b", "2"}, {"here/a/deep/y.log", "3"}, {"here/z.log", "4"}};
        SyncRowsModel rows(*scene.session);
        const QAbstractItemModelTester tester(&rows);
        QCOMPARE(linesOf(rows),
                 (QStringList{u"a"_s, u"a-b"_s, u"a/deep"_s, u"a/deep/y.log"_s, u"a/x.txt"_s, u"z.log"_s}));
        rows.setForm(SyncRowsModel::Form::tree);
        QCOMPARE(linesOf(rows), (QStringList{u"a"_s, u".deep"_s, u"..y.log"_s, u".x.txt"_s, u"a-b"_s, u"z.log"_s}));
        rows.setClosed(lineOf(rows, u"a/deep"_s), true);
        QCOMPARE(linesOf(rows), (QStringList{u"a"_s, u".deep"_s, u".x.txt"_s, u"a-b"_s, u"z.log"_s}));
        rows.setClosed(lineOf(rows, u"a/deep"_s), false);
        rows.search(u".LOG"_s);
        // The folders are there only because of what lies in them.
        QCOMPARE(linesOf(rows), (QStringList{u"a"_s, u".deep"_s, u"..y.log"_s, u"z.log"_s}));
        QVERIFY(!rows.row(0) && rows.row(2));
        QCOMPARE(rows.places({rows.index(0, 0)}).size(), 1);
        rows.setClosed(0, true);
        QCOMPARE(linesOf(rows), (QStringList{u"a"_s, u"z.log"_s}));
        rows.search({});
        QCOMPARE(rows.places({rows.index(0, 0)}).size(), 4);
    }

    void kindsAreCountedAndWhatIsLeftOutHasItsReason()
    {
        const LookedAt scene({{"here/a", "1"}, {"here/b", "2"}, {"here/skip.me", "3"}, {"there/b", "longer"}},
                             {u"*.me"_s});
        QStringList kinds;
        for (const SyncFilter &filter : SyncFilter::of(*scene.session))
            kinds << u"%1 %2"_s.arg(filter.id).arg(filter.count);
        QCOMPARE(kinds, (QStringList{u"changes 2"_s, u"conflict 1"_s, u"createOnRemote 1"_s, u"leftOut 1"_s}));
        SyncRowsModel rows(*scene.session);
        rows.show(filterOf(*scene.session, u"conflict"_s));
        QCOMPARE(linesOf(rows), QStringList{u"b"_s});
        rows.show(filterOf(*scene.session, u"leftOut"_s));
        QCOMPARE(linesOf(rows), QStringList{u"skip.me"_s});
        QVERIFY(!rows.index(0, SyncRowsModel::what).data().toString().isEmpty());
        QVERIFY(rows.places({rows.index(0, 0)}).isEmpty());
    }
};

MOORIX_TEST(SyncRowsModelTest)
#include "SyncRowsModelTest.moc"
