// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/Format.h"
#include "files/FileNames.h"
#include "files/FileSortKey.h"
#include "files/ItemOrder.h"
#include "files/NativePath.h"
#include "support/TestMain.h"

#include <QLocale>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

FileItem entry(const char *name, qint64 size = 0, qint64 modified = -1)
{
    FileItem item = entryAt(QString::fromUtf8(name), size);
    if (modified >= 0)
        item.modified = QDateTime::fromSecsSinceEpoch(modified, Qt::UTC);
    return item;
}

QString names(const QList<FileItem> &items, const std::vector<quint32> &order)
{
    QStringList shown;
    for (const quint32 index : order)
        shown.append(items.at(index).name);
    return shown.join(u' ');
}

QString inOrder(const QList<FileItem> &items, const ItemView &view = {})
{
    return names(items, ItemOrder::sorted(ItemOrder::keys(items), view));
}

} // namespace

/// How entries are shown and ordered in lists, and what their names may be.
class FormatTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    void cleanup() { QLocale::setDefault(QLocale::c()); }

    void sizesAreShownInDecimalUnits()
    {
        // What would round to 1000 of a unit is shown in the next.
        const std::pair<qint64, const char *> rows[] = {
            {0, "0 bytes"},     {1, "1 byte"},     {999, "999 bytes"}, {1000, "1.0 kB"},
            {99949, "99.9 kB"}, {99950, "100 kB"}, {999500, "1.0 MB"}, {std::numeric_limits<qint64>::max(), "9.2 EB"}};
        for (const auto &[bytes, text] : rows)
            QCOMPARE(Format::byteCount(bytes), QLatin1String(text));
    }

    void datesAndSizesFollowTheLocale()
    {
        const QDateTime date(QDate(2024, 3, 5), QTime(14, 7, 9));
        QCOMPARE(Format::date(date), u"Mar 5, 2024, 2:07 PM"_s);
        QLocale::setDefault(QLocale(QLocale::German));
        QCOMPARE(Format::date(date), u"5. März 2024, 14:07"_s);
        QCOMPARE(Format::byteCount(4600000), u"4,6 MB"_s);
        QLocale::setDefault(QLocale(QLocale::Chinese)); // weekday at the end
        QCOMPARE(Format::date(date), u"2024年3月5日, 14:07"_s);
        QLocale::setDefault(QLocale::c()); // Qt has no short time without seconds for it
        QCOMPARE(Format::date(date), u"5 Mar 2024, 14:07"_s);
        QCOMPARE(Format::date(std::nullopt), u"—"_s);
    }

    void pathsAreJoinedWithOneSlashAndTakenApart()
    {
        for (const QString &root : {u""_s, u"/"_s})
            QCOMPARE(Format::join(root, u"a"_s), u"/a"_s);
        for (const QString &folder : {u"/x"_s, u"/x/"_s})
            QCOMPARE(Format::join(folder, u" ../."_s), u"/x/ ../."_s);
        const std::pair<const char *, const char *> rows[] = {
            {"/a/b/c", "/a/b|c"}, {"/a", "/|a"}, {"/", "/|"}, {"/a/b/", "/a|b"}, {"/a//b", "/a|b"}};
        for (const auto &[text, parts] : rows) {
            const QString path = QLatin1String(text);
            QCOMPARE(Format::parent(path) + u'|' + Format::fileName(path), QLatin1String(parts));
        }
    }

    void whatCannotBeSeenIsShownAsAnEscape()
    {
        const QByteArray name("a ü 🎈\nb\tc\x1b[31m\xFF\x80z\xE2\x80\xAEgpj.exe"); // with a right-to-left override
        QCOMPARE(Format::display(NativePath::text(name)), u"a ü 🎈\\nb\\tc\\x1B[31m\\xFF\\x80z\\u202Egpj.exe"_s);
    }

    void anyNameSurvivesTheWayToTextAndBack()
    {
        for (const QByteArray &bytes : {
                 QByteArray("plain.txt"),
                 QByteArray("aü€🎈"),
                 QByteArray("\xEF\xBB\xBF\xEF\xBB\xBFname"),         // byte order mark in front
                 QByteArray("M\xFCller.txt"),                        // Latin-1
                 QByteArray("\xF0\x9F z a\xE2\x82"),                 // cut sequences
                 QByteArray("\xC0\xAF\xE0\x80\xAF\xF0\x80\x80\xAF"), // overlong slash
                 QByteArray("\xED\xA0\xBD\xED\xBC\x88"),             // encoded surrogates
                 QByteArray("\xF4\x90\x80\x80\xF8\xFF"),             // beyond Unicode
                 QByteArray("🎈\x88🎈"),
             }) {
            const QString text = NativePath::text(bytes);
            QCOMPARE(NativePath::bytes(text).toHex(' '), bytes.toHex(' '));
            QVERIFY(!text.contains(u'/') && !text.contains(QChar::ReplacementCharacter));
            QCOMPARE(NativePath::isUnicode(text), QByteArrayView(bytes).isValidUtf8());
        }
    }

    void copiesAreNamedBeforeTheExtension()
    {
        const std::tuple<const char *, int, const char *> rows[] = {{"a.txt", 1, "a copy.txt"},
                                                                    {"Makefile", 1, "Makefile copy"},
                                                                    {".bashrc", 1, ".bashrc copy"},
                                                                    {".a.conf", 3, ".a copy 3.conf"},
                                                                    {"a.b.tar.gz", 1, "a.b copy.tar.gz"},
                                                                    {".tar.gz", 1, ".tar copy.gz"},
                                                                    {"a.", 1, "a. copy"}};
        for (const auto &[name, number, copy] : rows)
            QCOMPARE(FileNames::copyOfFile(QLatin1String(name), number), QLatin1String(copy));
        QCOMPARE(FileNames::copyOfFolder(u"v1.2"_s, 2), u"v1.2 copy 2"_s);
    }

    void namesThatCannotBeAreRefused()
    {
        for (const char *name : {"", ".", "..", "a/b", "/", "a\nb", "\x7f"})
            QVERIFY2(FileNames::problem(QString::fromLatin1(name)), name);
        for (const char *name : {"a", " ", "...", ".a", "a\\b", "-x", "*", "ü"})
            QVERIFY2(!FileNames::problem(QString::fromUtf8(name)), name);
    }

    void entriesAreOrderedByAKeyInAnyCapitalisationWithFoldersFirst()
    {
        // Equal ones by name; absent dates first; kinds whatever their case.
        const std::tuple<const char *, bool, const char *> rows[] = {
            {"name", true, "Dir ein A.txt b.TXT c.md noext"}, {"Name", false, "ein Dir noext c.md b.TXT A.txt"},
            {"size", true, "Dir ein c.md b.TXT noext A.txt"}, {"Size", false, "ein Dir A.txt b.TXT noext c.md"},
            {"Date", true, "Dir ein noext c.md A.txt b.TXT"}, {"kind", true, "Dir ein noext c.md A.txt b.TXT"}};
        const QList<FileItem> items{entry("noext", 5),     entry("b.TXT", 5, 30), entry("ein/", 2),
                                    entry("A.txt", 9, 20), entry("Dir/", 1),      entry("c.md", 1, 10)};
        for (const auto &[key, ascending, order] : rows)
            QCOMPARE(inOrder(items, {fileSortKeyFromRaw(QLatin1String(key)).value(), ascending, false, {}}),
                     QLatin1String(order));
        QVERIFY(!fileSortKeyFromRaw(u"colour"_s));
        // Names that differ in case only keep a fixed order.
        QCOMPARE(inOrder({entry("a"), entry("A")}), inOrder({entry("A"), entry("a")}));
    }

    void linkIsAmongFoldersOnlyWhenItLeadsToOneAndHiddenOnesOnRequest()
    {
        FileItem link = entry("a link");
        link.isSymlink = true;
        FileItem folderLink = link;
        folderLink.name = u"zz"_s;
        folderLink.leadsToFolder = true;
        const QList<FileItem> items{link, entry("z/"), folderLink, entry(".b")};
        QCOMPARE(inOrder(items), u"z zz a link"_s);
        QCOMPARE(inOrder(items, {FileSortKey::name, true, true, {}}), u"z zz .b a link"_s);
    }

    void searchKeepsTheOrderAndIgnoresCase()
    {
        const QList<FileItem> items{entry("Übung.txt"), entry("b"), entry("ÜBER"), entry("xüb")};
        const ItemKeys keys = ItemOrder::keys(items);
        const std::vector<quint32> order{3, 2, 1, 0};
        QCOMPARE(names(items, ItemOrder::matching(keys, order, u"üB"_s)), u"xüb ÜBER Übung.txt"_s);
        QCOMPARE(ItemOrder::matching(keys, order, {}), order);
        QVERIFY(ItemOrder::matching(keys, order, u"nothing"_s).empty());
    }
};

MOORIX_TEST(FormatTest)
#include "FormatTest.moc"
