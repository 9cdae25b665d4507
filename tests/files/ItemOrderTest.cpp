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
    void entriesAreOrderedByKeyWithFoldersFirst()
    {
        const std::tuple<FileSortKey, bool, const char *> rows[] = {
            {FileSortKey::name, true, "Dir ein A.txt b.TXT c.md noext"},
            {FileSortKey::name, false, "ein Dir noext c.md b.TXT A.txt"},
            {FileSortKey::size, true, "Dir ein c.md b.TXT noext A.txt"}, // equal ones by name
            {FileSortKey::size, false, "ein Dir A.txt b.TXT noext c.md"},
            {FileSortKey::date, true, "Dir ein noext c.md A.txt b.TXT"}, // absent dates first
            {FileSortKey::kind, true, "Dir ein noext c.md A.txt b.TXT"}, // ignores case
        };
        const QList<FileItem> items{file("noext", 5),     file("b.TXT", 5, 30), folder("ein", 2),
                                    file("A.txt", 9, 20), folder("Dir", 1),     file("c.md", 1, 10)};
        for (const auto &[key, ascending, order] : rows)
            QCOMPARE(names(items, ItemOrder::sorted(ItemOrder::keys(items), {key, ascending, false, {}})),
                     QLatin1String(order));
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

MOORIX_TEST(ItemOrderTest)
#include "ItemOrderTest.moc"
