// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FileServiceContract.h"

#include "base/Error.h"
#include "files/Format.h"

#include <QTest>

#include <iterator>

namespace moorix::test::FileServiceContract {

namespace {

const std::stop_token go;

/// A tree in the service by relative paths in UTF-8: files with their bytes, folders with a slash behind their name.
using Contents = QMap<QByteArray, QByteArray>;

/// Short words for the rows: paths are relative to the row's root, in UTF-8.
class Place final
{
public:
    explicit Place(const Subject &subject)
        : m_subject(subject)
    {
    }

    FileService &service() const { return m_subject.service; }
    QString path(const QString &relative) const { return Format::join(m_subject.root, relative); }
    QString path(const char *relative) const { return path(QString::fromUtf8(relative)); }

    void write(const QString &relative, const QByteArray &content) const
    {
        service().write(content, path(relative), go);
    }
    void write(const char *relative, const QByteArray &content) const { write(QString::fromUtf8(relative), content); }
    void makeFolder(const char *relative) const { service().createDirectory(path(relative), go); }
    void makeLink(const char *target, const char *relative) const { m_subject.makeLink(path(target), path(relative)); }

    FileItem item(const QString &relative) const
    {
        const auto found = service().stat(path(relative), go);
        if (!found)
            throw Error(QStringLiteral("Test"), QStringLiteral("“%1” is not there.").arg(relative));
        return *found;
    }
    FileItem item(const char *relative) const { return item(QString::fromUtf8(relative)); }

    QList<FileItem> list(const QString &relative) const
    {
        return service().list(relative.isEmpty() ? m_subject.root : path(relative), HiddenFiles::included, go);
    }

    Contents contents(const QString &relative = {}) const
    {
        Contents all;
        for (const FileItem &entry : list(relative)) {
            const QString name = relative.isEmpty() ? entry.name : relative + u'/' + entry.name;
            if (entry.isDirectory) {
                all.insert(name.toUtf8() + '/', {});
                all.insert(contents(name));
            } else {
                all.insert(name.toUtf8(), entry.isSymlink ? QByteArray("a link") : service().read(path(name), go));
            }
        }
        return all;
    }

    QString permissions(const char *folder, const char *name) const
    {
        for (const FileItem &entry : list(QString::fromUtf8(folder))) {
            if (entry.name == QString::fromUtf8(name))
                return entry.permissions.value_or(QStringLiteral("none"));
        }
        return QStringLiteral("not listed");
    }

private:
    const Subject &m_subject;
};

void writtenBytesAreReadBack(const Place &at)
{
    QByteArray allBytes;
    for (int i = 0; i < 256; ++i)
        allBytes += char(i);
    at.write("bytes", allBytes + "\r\n\n" + allBytes);
    at.write("empty", {});
    QCOMPARE(at.contents(), (Contents{{"bytes", allBytes + "\r\n\n" + allBytes}, {"empty", {}}}));
    at.write("bytes", "shorter");
    QCOMPARE(at.service().read(at.path("bytes"), go), QByteArray("shorter"));
}

void listingAndStatTellWhatIsThere(const Place &at)
{
    at.makeFolder("folder");
    at.write("folder/deep", "not listed");
    at.write("file.txt", "12345");
    at.write(".hidden", "1");
    QStringList paths;
    for (const FileItem &item : at.list({})) {
        paths << item.path;
        QCOMPARE(item.isDirectory, item.name == u"folder");
        const FileItem alone = at.item(item.name);
        QCOMPARE(alone.path, item.path);
        QCOMPARE(alone.isDirectory, item.isDirectory);
        if (!item.isDirectory)
            QVERIFY(alone.size == item.size && item.size == (item.name == u"file.txt" ? 5 : 1));
    }
    paths.sort();
    QCOMPARE(paths, (QStringList{at.path(".hidden"), at.path("file.txt"), at.path("folder")}));
    for (const char *nothing : {"nothing", "folder/nothing"})
        QVERIFY(!at.service().stat(at.path(nothing), go));
}

void missingEntriesAreRefused(const Place &at)
{
    FileItem missing;
    missing.name = QStringLiteral("missing");
    missing.path = at.path("missing");
    QVERIFY_THROWS_EXCEPTION(Error, at.service().list(missing.path, HiddenFiles::included, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service().read(missing.path, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service().remove(missing, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service().rename(missing, QStringLiteral("new"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service().copy(missing, at.path("new"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service().move(missing, at.path("new"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service().write("x", at.path("missing/file"), go));
    QVERIFY_THROWS_EXCEPTION(Error,
                             at.service().setPermissions(missing.path, QStringLiteral("644"), Recursive::no, go));
    QCOMPARE(at.contents(), Contents());
}

void whatStandsAtTheTargetIsNeverReplaced(const Place &at)
{
    at.makeFolder("folder");
    at.makeFolder("empty");
    at.write("folder/inside", "kept");
    at.write("a", "first");
    at.write("b", "second");
    const Contents before = at.contents();
    for (const char *source : {"a", "folder"}) {
        for (const char *target : {"b", "empty"}) {
            const FileItem item = at.item(source);
            QVERIFY_THROWS_EXCEPTION(Error, at.service().rename(item, QString::fromUtf8(target), go));
            QVERIFY_THROWS_EXCEPTION(Error, at.service().move(item, at.path(target), go));
            QVERIFY_THROWS_EXCEPTION(Error, at.service().copy(item, at.path(target), go));
        }
    }
    QVERIFY_THROWS_EXCEPTION(Error, at.service().createDirectory(at.path("a"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service().write("x", at.path("folder"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service().read(at.path("folder"), go));
    QCOMPARE(at.contents(), before);
}

void folderIsRemovedWithItsContentsOnly(const Place &at)
{
    at.makeFolder("folder");
    at.makeFolder("folder/inner");
    at.write("folder/inner/file", "1");
    at.write("folder/.hidden", "2");
    at.write("folder2", "kept");
    at.service().remove(at.item("folder"), go);
    QCOMPARE(at.contents(), (Contents{{"folder2", "kept"}}));
}

void treesAreCopiedAndMovedWhole(const Place &at)
{
    at.makeFolder("from");
    at.makeFolder("from/empty");
    at.makeFolder("from/inner");
    at.write("from/inner/file", "1");
    at.write("from/.hidden", "2");
    at.makeFolder("other");
    const Contents tree{{"empty/", {}}, {"inner/", {}}, {"inner/file", "1"}, {".hidden", "2"}};
    at.service().copy(at.item("from"), at.path("other/copy"), go);
    at.service().move(at.item("from"), at.path("other/moved"), go);
    Contents expected{{"other/", {}}, {"other/copy/", {}}, {"other/moved/", {}}};
    for (auto entry = tree.cbegin(); entry != tree.cend(); ++entry) {
        expected.insert("other/copy/" + entry.key(), entry.value());
        expected.insert("other/moved/" + entry.key(), entry.value());
    }
    QCOMPARE(at.contents(), expected);
}

void permissionsAreSetOnTheItemOrTheTree(const Place &at)
{
    at.makeFolder("folder");
    at.write("folder/file", "1");
    at.write("other", "2");
    at.service().setPermissions(at.path("other"), QStringLiteral("644"), Recursive::no, go);
    at.service().setPermissions(at.path("folder/file"), QStringLiteral("640"), Recursive::no, go);
    at.service().setPermissions(at.path("folder"), QStringLiteral("711"), Recursive::no, go);
    QCOMPARE(at.permissions("folder", "file"), QStringLiteral("rw-r-----"));
    QCOMPARE(at.permissions("", "folder"), QStringLiteral("rwx--x--x"));
    at.service().setPermissions(at.path("folder"), QStringLiteral("750"), Recursive::yes, go);
    QCOMPARE(at.permissions("", "folder"), QStringLiteral("rwxr-x---"));
    QCOMPARE(at.permissions("folder", "file"), QStringLiteral("rwxr-x---"));
    QCOMPARE(at.permissions("", "other"), QStringLiteral("rw-r--r--"));
}

void stoppedOperationsThrowCancelledAndChangeNothing(const Place &at)
{
    at.makeFolder("folder");
    at.write("folder/file", "1");
    const Contents before = at.contents();
    std::stop_source source;
    source.request_stop();
    const std::stop_token stopped = source.get_token();
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service().list(at.path("folder"), HiddenFiles::included, stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service().read(at.path("folder/file"), stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service().write("2", at.path("folder/file"), stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service().copy(at.item("folder"), at.path("copy"), stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service().remove(at.item("folder"), stopped));
    QCOMPARE(at.contents(), before);
}

/// Every operation on an entry whose name means something to a shell, a pattern or a command line treats that entry,
/// and none of those its name could be taken for.
void oddName(const Place &at, const QString &name)
{
    const Contents bystanders{{"ab", "1"}, {"x", "2"}, {"q", "3"}, {"lead", "4"}, {"a", "5"}, {"b", "6"}, {"u", "7"}};
    for (auto entry = bystanders.cbegin(); entry != bystanders.cend(); ++entry)
        at.write(entry.key().constData(), entry.value());
    const auto with = [&bystanders](const Contents &added) {
        Contents all = bystanders;
        all.insert(added);
        return all;
    };
    const QByteArray key = name.toUtf8();
    at.write(name, "odd");
    QCOMPARE(at.contents(), with({{key, "odd"}}));
    QCOMPARE(at.item(name).name, name);
    at.service().setPermissions(at.path(name), QStringLiteral("600"), Recursive::no, go);
    at.write(name, "changed");
    at.service().rename(at.item(name), QStringLiteral("plain"), go);
    at.service().rename(at.item("plain"), name, go);
    at.service().copy(at.item(name), at.path("plain"), go);
    QCOMPARE(at.contents(), with({{key, "changed"}, {"plain", "changed"}}));
    at.service().remove(at.item(name), go);
    at.service().createDirectory(at.path(name), go);
    at.service().move(at.item("plain"), at.path(name + u'/' + name), go);
    at.service().setPermissions(at.path(name), QStringLiteral("700"), Recursive::yes, go);
    at.service().copy(at.item(name), at.path("tree"), go);
    QCOMPARE(at.contents(),
             with({{key + '/', {}}, {key + '/' + key, "changed"}, {"tree/", {}}, {"tree/" + key, "changed"}}));
    at.service().remove(at.item(name), go);
    at.service().remove(at.item("tree"), go);
    QCOMPARE(at.contents(), bystanders);
}

void linksAreListedFollowedAndRemovedAsLinks(const Place &at)
{
    at.makeFolder("folder");
    at.write("folder/file", "12345");
    at.makeLink("folder", "to folder");
    at.makeLink("folder/file", "to file");
    at.makeLink("nowhere", "broken");
    const FileItem toFolder = at.item("to folder");
    QVERIFY(toFolder.isSymlink);
    const FileItem folder = at.service().followLink(toFolder, go);
    QVERIFY(folder.isDirectory);
    QCOMPARE(folder.path, toFolder.path);
    QCOMPARE(at.list(QStringLiteral("to folder")).size(), 1);
    const FileItem file = at.service().followLink(at.item("to file"), go);
    QVERIFY(!file.isDirectory);
    QCOMPARE(file.size, 5);
    QVERIFY_THROWS_EXCEPTION(Error, at.service().followLink(at.item("broken"), go));
    for (const char *link : {"to folder", "to file", "broken"})
        at.service().remove(at.item(link), go);
    QCOMPARE(at.contents(), (Contents{{"folder/", {}}, {"folder/file", "12345"}}));
}

void treesWithLinksAreRemovedWithoutFollowingThem(const Place &at)
{
    at.makeFolder("kept");
    at.write("kept/file", "1");
    at.makeFolder("folder");
    at.makeLink("kept", "folder/link");
    at.service().remove(at.item("folder"), go);
    QCOMPARE(at.contents(), (Contents{{"kept/", {}}, {"kept/file", "1"}}));
}

using Rule = void (*)(const Place &);

constexpr std::pair<const char *, Rule> rules[] = {
    {"written bytes are read back", writtenBytesAreReadBack},
    {"listing and stat tell what is there", listingAndStatTellWhatIsThere},
    {"missing entries are refused", missingEntriesAreRefused},
    {"what stands at the target is never replaced", whatStandsAtTheTargetIsNeverReplaced},
    {"folder is removed with its contents only", folderIsRemovedWithItsContentsOnly},
    {"trees are copied and moved whole", treesAreCopiedAndMovedWhole},
    {"permissions are set on the item or the tree", permissionsAreSetOnTheItemOrTheTree},
    {"stopped operations throw Cancelled and change nothing", stoppedOperationsThrowCancelledAndChangeNothing},
    {"links are listed, followed and removed as links", linksAreListedFollowedAndRemovedAsLinks},
    {"trees with links are removed without following them", treesWithLinksAreRemovedWithoutFollowingThem},
};

} // namespace

QStringList oddNames()
{
    return {QStringLiteral("a\\b"),  QStringLiteral("$(touch x)"), QStringLiteral("`touch x`"),
            QStringLiteral("\"q\""), QStringLiteral("'q'"),        QStringLiteral(" lead"),
            QStringLiteral("*"),     QStringLiteral("?"),          QStringLiteral("[ab]"),
            QStringLiteral("{a,b}"), QStringLiteral("-x"),         QStringLiteral("a;b&c|d>e"),
            QStringLiteral("!x"),    QStringLiteral("#x"),         QStringLiteral("~"),
            QStringLiteral("ü"),     QStringLiteral("日本 🎈"),     QString(200, u'n')};
}

void addRows(const QStringList &names, const QStringList &only)
{
    QTest::addColumn<qsizetype>("rule");
    QTest::addColumn<QString>("name");
    for (qsizetype rule = 0; rule < qsizetype(std::size(rules)); ++rule) {
        if (only.isEmpty() || only.contains(QLatin1String(rules[rule].first)))
            QTest::newRow(rules[rule].first) << rule << QString();
    }
    for (const QString &name : names)
        QTest::addRow("only the entry is touched: %s", qUtf8Printable(name.left(20))) << qsizetype(0) << name;
}

void runRow(const Subject &subject)
{
    QFETCH(qsizetype, rule);
    QFETCH(QString, name);
    const Place place(subject);
    try {
        if (name.isEmpty())
            rules[rule].second(place);
        else
            oddName(place, name);
    } catch (const Error &error) {
        QFAIL(error.what());
    }
}

} // namespace moorix::test::FileServiceContract
