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

class ServerTreeModelTest : public QObject
{
    Q_OBJECT

    NamedLibrary m_library{u"A/\n  AA/\n  a1 1\n  a2 2\n  a3 3\nB/ 1\ntop 4"_s};
    std::unique_ptr<TestTree> m_folder;
    KeyValueStore m_cloud{QString()};
    std::unique_ptr<ServerStore> m_store;
    std::unique_ptr<ServerTreeModel> m_model;
    std::unique_ptr<QAbstractItemModelTester> m_tester;

    QModelIndex indexOf(const QString &name) const { return m_model->indexOf(m_library[name]); }

    /// "A(AA() a1 a2) B() top"
    QString tree(const QModelIndex &parent = {}) const
    {
        QStringList rows;
        for (int row = 0; row < m_model->rowCount(parent); ++row) {
            const QModelIndex index = m_model->index(row, 0, parent);
            rows += index.data().toString() + (m_model->isFolder(index) ? u"("_s + tree(index) + u")"_s : QString());
        }
        return rows.join(u' ');
    }

    bool drop(const QString &what, int row, const QString &onto)
    {
        const std::unique_ptr<QMimeData> data(m_model->mimeData({indexOf(what)}));
        return m_model->dropMimeData(data.get(), Qt::MoveAction, row, 0, indexOf(onto));
    }

private slots:
    void init()
    {
        m_folder = std::make_unique<TestTree>(
            std::initializer_list<TestTree::Entry>{{"servers.json", m_library.library.encode()}});
        m_store = std::make_unique<ServerStore>(ServerStore::Options{.path = m_folder->path("servers.json")}, m_cloud);
        m_model = std::make_unique<ServerTreeModel>(*m_store, [](const QUuid &) { return false; });
        m_tester = std::make_unique<QAbstractItemModelTester>(m_model.get(),
                                                              QAbstractItemModelTester::FailureReportingMode::QtTest);
    }

    void cleanup()
    {
        m_tester.reset();
        m_model.reset();
    }

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
            cleanup();
            init();
            QVERIFY(drop(QLatin1String(what), row, QLatin1String(onto)));
            QCOMPARE(tree(), QLatin1String(expected));
        }
    }

    void folderIsNotDroppedIntoItself()
    {
        QVERIFY(!drop(u"A"_s, -1, u"AA"_s));
        QVERIFY(!drop(u"A"_s, 0, u"A"_s));
        QVERIFY(!drop(u"a1"_s, -1, u"top"_s));
        QCOMPARE(tree(), u"A(AA() a1 a2 a3) B() top"_s);
    }

    void searchShowsHitsWithTheFoldersAroundThemAndRefusesDrops()
    {
        m_model->setFilter(u" A2 "_s);
        QCOMPARE(tree(), u"A(a2)"_s);
        QVERIFY(!drop(u"a2"_s, -1, QString()));
        m_model->setFilter(u"nothing such"_s);
        QCOMPARE(tree(), QString());
        m_model->setFilter({});
        QCOMPARE(tree(), u"A(AA() a1 a2 a3) B() top"_s);
    }

    void emptyNameIsNoNewName()
    {
        const QModelIndex folder = indexOf(u"B"_s);
        QVERIFY(!m_model->setData(folder, u"  "_s, Qt::EditRole));
        QVERIFY(m_model->setData(folder, u" C "_s, Qt::EditRole));
        QCOMPARE(tree(), u"A(AA() a1 a2 a3) C() top"_s);
    }
};

MOORIX_TEST(ServerTreeModelTest)
#include "ServerTreeModelTest.moc"
