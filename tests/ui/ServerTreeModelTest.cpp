// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ServerTreeModel.h"

#include "platform/KeyValueStore.h"
#include "servers/ServerStore.h"
#include "support/NamedLibrary.h"
#include "support/TestMain.h"

#include <QAbstractItemModelTester>
#include <QMimeData>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// The model of a library, watched for what views rely on.
struct Tree
{
    NamedLibrary library{u"A/\n  AA/\n  a1 1\n  a2 2\n  a3 3\nB/ 1\ntop 4"_s};
    TestTree folder{{"servers.json", library.library.encode()}};
    KeyValueStore cloud{QString()};
    ServerStore store{{.path = folder.path("servers.json")}, cloud};
    ServerTreeModel model{store, [](const QUuid &) { return false; }};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::QtTest};

    QModelIndex indexOf(const QString &name) const { return model.indexOf(library[name]); }

    /// "A(AA() a1 a2) B() top"
    QString text(const QModelIndex &parent = {}) const
    {
        QStringList rows;
        for (int row = 0; row < model.rowCount(parent); ++row) {
            const QModelIndex index = model.index(row, 0, parent);
            rows += index.data().toString() + (model.isFolder(index) ? u"("_s + text(index) + u")"_s : QString());
        }
        return rows.join(u' ');
    }

    bool drop(const QString &what, int row, const QString &onto)
    {
        const std::unique_ptr<QMimeData> data(model.mimeData({indexOf(what)}));
        return model.dropMimeData(data.get(), Qt::MoveAction, row, 0, indexOf(onto));
    }
};

} // namespace

class ServerTreeModelTest final : public QObject
{
    Q_OBJECT

private slots:
    void droppedEntryStandsWhereItWasDropped()
    {
        // Down and up among siblings; to its own place and to the end; above the folders, so first of the servers; onto
        // a folder; out to the top. A folder before its sibling; below the servers, so last of the folders; into
        // another.
        const std::tuple<const char *, int, const char *, const char *> rows[] = {
            {"a1", 3, "A", "A(AA() a2 a1 a3) B() top"}, {"a3", 1, "A", "A(AA() a3 a1 a2) B() top"},
            {"a2", 2, "A", "A(AA() a1 a2 a3) B() top"}, {"a1", 4, "A", "A(AA() a2 a3 a1) B() top"},
            {"a2", 0, "A", "A(AA() a2 a1 a3) B() top"}, {"top", -1, "B", "A(AA() a1 a2 a3) B(top)"},
            {"a1", -1, "", "A(AA() a2 a3) B() top a1"}, {"B", 0, "", "B() A(AA() a1 a2 a3) top"},
            {"A", 3, "", "B() A(AA() a1 a2 a3) top"},   {"A", -1, "B", "B(A(AA() a1 a2 a3)) top"}};
        for (const auto &[what, row, onto, expected] : rows) {
            Tree tree;
            QVERIFY(tree.drop(QLatin1String(what), row, QLatin1String(onto)));
            QCOMPARE(tree.text(), QLatin1String(expected));
        }
    }

    void folderIsNotDroppedIntoItself()
    {
        Tree tree;
        QVERIFY(!tree.drop(u"A"_s, -1, u"AA"_s));
        QVERIFY(!tree.drop(u"A"_s, 0, u"A"_s));
        QVERIFY(!tree.drop(u"a1"_s, -1, u"top"_s));
        QCOMPARE(tree.text(), u"A(AA() a1 a2 a3) B() top"_s);
    }

    void searchShowsHitsWithTheFoldersAroundThemAndRefusesDrops()
    {
        Tree tree;
        tree.model.setFilter(u" A2 "_s);
        QCOMPARE(tree.text(), u"A(a2)"_s);
        QVERIFY(!tree.drop(u"a2"_s, -1, QString()));
        tree.model.setFilter(u"nothing such"_s);
        QCOMPARE(tree.text(), QString());
        tree.model.setFilter({});
        QCOMPARE(tree.text(), u"A(AA() a1 a2 a3) B() top"_s);
    }

    void emptyNameIsNoNewName()
    {
        Tree tree;
        const QModelIndex folder = tree.indexOf(u"B"_s);
        QVERIFY(!tree.model.setData(folder, u"  "_s, Qt::EditRole));
        QVERIFY(tree.model.setData(folder, u" C "_s, Qt::EditRole));
        QCOMPARE(tree.text(), u"A(AA() a1 a2 a3) C() top"_s);
    }
};

MOORIX_TEST(ServerTreeModelTest)
#include "ServerTreeModelTest.moc"
