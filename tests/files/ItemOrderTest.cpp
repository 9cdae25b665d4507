// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/ItemOrder.h"

#include "support/TestMain.h"

#include <QStringList>
#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

FileItem file(const char *name, qint64 size = 0, qint64 modified = -1)
{
    FileItem item;
    item.name = QString::fromUtf8(name);
    item.path = u'/' + item.name;
    item.size = size;
    if (modified >= 0)
        item.modified = QDateTime::fromSecsSinceEpoch(modified, Qt::UTC);
    return item;
}

FileItem folder(const char *name, qint64 size = 0)
{
    FileItem item = file(name, size);
    item.isDirectory = true;
    return item;
}

QString names(const QList<FileItem> &items, const std::vector<quint32> &order)
{
    QStringList shown;
    for (const quint32 index : order)
        shown.append(items.at(index).name);
    return shown.join(u' ');
}

} // namespace

class ItemOrderTest : public QObject
{
    Q_OBJECT

private slots:
    void entriesAreOrderedByKeyWithFoldersFirst_data()
    {
        QTest::addColumn<FileSortKey>("key");
        QTest::addColumn<bool>("ascending");
        QTest::addColumn<QString>("order");
        QTest::newRow("name") << FileSortKey::name << true << "Dir ein A.txt b.TXT c.md noext";
        QTest::newRow("name down") << FileSortKey::name << false << "ein Dir noext c.md b.TXT A.txt";
        QTest::newRow("size, equal ones by name") << FileSortKey::size << true << "Dir ein c.md b.TXT noext A.txt";
        QTest::newRow("size down, equal ones by name")
            << FileSortKey::size << false << "ein Dir A.txt b.TXT noext c.md";
        QTest::newRow("absent dates first") << FileSortKey::date << true << "Dir ein noext c.md A.txt b.TXT";
        QTest::newRow("kind ignores case") << FileSortKey::kind << true << "Dir ein noext c.md A.txt b.TXT";
    }
    void entriesAreOrderedByKeyWithFoldersFirst()
    {
        QFETCH(FileSortKey, key);
        QFETCH(bool, ascending);
        const QList<FileItem> items{file("noext", 5),     file("b.TXT", 5, 30), folder("ein", 2),
                                    file("A.txt", 9, 20), folder("Dir", 1),     file("c.md", 1, 10)};
        const auto order = ItemOrder::sorted(ItemOrder::keys(items), {key, ascending, false, {}});
        QTEST(names(items, order), "order");
    }

    void linkIsAmongFoldersOnlyWhenItLeadsToOneAndHiddenOnesOnRequest()
    {
        FileItem link = file("a link");
        link.isSymlink = true;
        FileItem folderLink = link;
        folderLink.name = u"zz"_s;
        folderLink.leadsToFolder = true;
        const QList<FileItem> items{link, folder("z"), folderLink, file(".b")};
        const ItemKeys keys = ItemOrder::keys(items);
        QCOMPARE(names(items, ItemOrder::sorted(keys, {})), u"z zz a link"_s);
        QCOMPARE(names(items, ItemOrder::sorted(keys, {FileSortKey::name, true, true, {}})), u"z zz .b a link"_s);
    }

    void namesThatDifferInCaseOnlyKeepAFixedOrder()
    {
        const QList<FileItem> items{file("a"), file("A")};
        const QList<FileItem> swapped{file("A"), file("a")};
        QCOMPARE(names(items, ItemOrder::sorted(ItemOrder::keys(items), {})),
                 names(swapped, ItemOrder::sorted(ItemOrder::keys(swapped), {})));
    }

    void searchKeepsTheOrderAndIgnoresCase()
    {
        const QList<FileItem> items{file("Übung.txt"), file("b"), file("ÜBER"), file("xüb")};
        const ItemKeys keys = ItemOrder::keys(items);
        const std::vector<quint32> order{3, 2, 1, 0};
        QCOMPARE(names(items, ItemOrder::matching(keys, order, u"üB"_s)), u"xüb ÜBER Übung.txt"_s);
        QCOMPARE(ItemOrder::matching(keys, order, {}), order);
        QVERIFY(ItemOrder::matching(keys, order, u"nothing"_s).empty());
    }
};

Q_DECLARE_METATYPE(moorix::FileSortKey)
MOORIX_TEST(ItemOrderTest)
#include "ItemOrderTest.moc"
