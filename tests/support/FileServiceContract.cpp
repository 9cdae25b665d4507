// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FileServiceContract.h"

#include "base/Error.h"
#include "files/Format.h"
#include "support/Shorthand.h"
#include "support/TestTree.h"

#include <QFile>
#include <QTest>

#include <iterator>

using namespace Qt::StringLiterals;

namespace moorix::test::FileServiceContract {

namespace {

const std::stop_token go;

/// A tree in the service by relative paths in UTF-8: files with their bytes, folders with a slash behind their name.
using Contents = QMap<QByteArray, QByteArray>;

/// Short words for the rules: paths are relative to the subject's root.
struct Place : Subject
{
    QString path(const RelPath &relative) const { return Format::join(root, relative.text); }
    void write(const RelPath &file, const QByteArray &content) const { service.write(content, path(file), go); }
    void chmod(const RelPath &entry, const char *octal, Recursive recursive = Recursive::no) const
    {
        service.setPermissions(path(entry), QLatin1String(octal), recursive, go);
    }
    void make(const Contents &tree) const
    {
        for (auto entry = tree.cbegin(); entry != tree.cend(); ++entry) {
            if (entry.key().endsWith('/'))
                service.createDirectory(path(entry.key().chopped(1).constData()), go);
            else
                write(entry.key().constData(), entry.value());
        }
    }
    FileItem item(const RelPath &relative) const
    {
        const auto found = service.stat(path(relative), go);
        if (!found)
            throw Error(u"Test"_s, u"“%1” is not there."_s.arg(relative.text));
        return *found;
    }
    QMap<QByteArray, FileItem> listed(const RelPath &folder = "") const
    {
        QMap<QByteArray, FileItem> items;
        for (const FileItem &item :
             service.list(folder.text.isEmpty() ? root : path(folder), HiddenFiles::included, go))
            items.insert(item.name.toUtf8(), item);
        return items;
    }
    QString mode(const char *folder, const char *name) const
    {
        return listed(folder).value(name).permissions.value_or(u"none"_s);
    }
    /// What really lies there, whatever the service says.
    Contents contents() const
    {
        Contents all;
        const TreeSnapshot tree = snapshotOf(root);
        for (auto entry = tree.cbegin(); entry != tree.cend(); ++entry)
            all.insert(entry.key().toUtf8(), entry.value());
        return all;
    }
};

void writtenBytesAreReadBack(const Place &at)
{
    QByteArray bytes("\r\n\n");
    for (int i = 0; i < 256; ++i)
        bytes += char(i);
    at.make({{"bytes", bytes + bytes}, {"empty", {}}});
    QCOMPARE(at.contents(), (Contents{{"bytes", bytes + bytes}, {"empty", {}}}));
    QCOMPARE(at.service.read(at.path("bytes"), go), bytes + bytes);
    QCOMPARE(at.service.read(at.path("empty"), go), QByteArray());
    at.write("bytes", "shorter");
    QCOMPARE(at.service.read(at.path("bytes"), go), QByteArray("shorter"));
}

void listingAndStatTellWhatIsThere(const Place &at)
{
    at.make({{"folder/", {}}, {"folder/deep", "not listed"}, {"file.txt", "12345"}, {".hidden", "1"}});
    const auto items = at.listed();
    QCOMPARE(items.keys(), (QList<QByteArray>{".hidden", "file.txt", "folder"}));
    for (const FileItem &item : items) {
        const FileItem alone = at.item(item.name);
        QCOMPARE(item.path, at.path(item.name));
        QCOMPARE(alone.path, item.path);
        QCOMPARE(item.isDirectory, item.name == u"folder");
        QCOMPARE(alone.isDirectory, item.isDirectory);
        if (!item.isDirectory)
            QVERIFY(alone.size == item.size && item.size == (item.name == u"file.txt" ? 5 : 1));
    }
    for (const char *nothing : {"nothing", "folder/nothing"})
        QVERIFY(!at.service.stat(at.path(nothing), go));
}

void missingEntriesAreRefused(const Place &at)
{
    FileItem missing;
    missing.name = u"missing"_s;
    missing.path = at.path("missing");
    QVERIFY_THROWS_EXCEPTION(Error, at.service.list(missing.path, HiddenFiles::included, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.read(missing.path, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.remove(missing, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.rename(missing, u"new"_s, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.copy(missing, at.path("new"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.move(missing, at.path("new"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.write("missing/file", "x"));
    QVERIFY_THROWS_EXCEPTION(Error, at.chmod("missing", "644"));
    QCOMPARE(at.contents(), Contents());
}

void whatStandsAtTheTargetIsNeverReplaced(const Place &at)
{
    const Contents tree{{"folder/", {}}, {"empty/", {}}, {"folder/inside", "kept"}, {"a", "first"}, {"b", "second"}};
    at.make(tree);
    for (const char *source : {"a", "folder"}) {
        for (const char *target : {"b", "empty"}) {
            const FileItem item = at.item(source);
            QVERIFY_THROWS_EXCEPTION(Error, at.service.rename(item, QLatin1String(target), go));
            QVERIFY_THROWS_EXCEPTION(Error, at.service.move(item, at.path(target), go));
            QVERIFY_THROWS_EXCEPTION(Error, at.service.copy(item, at.path(target), go));
        }
    }
    QVERIFY_THROWS_EXCEPTION(Error, at.service.createDirectory(at.path("a"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.write("folder", "x"));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.read(at.path("folder"), go));
    QCOMPARE(at.contents(), tree);
}

void treesAreCopiedMovedAndRemovedWhole(const Place &at)
{
    at.make({{"a/", {}}, {"a/empty/", {}}, {"a/in/", {}}, {"a/in/file", "1"}, {"a/.hidden", "2"}, {"a2/", {}}});
    at.service.copy(at.item("a"), at.path("a2/b"), go);
    at.service.move(at.item("a"), at.path("a2/c"), go);
    const Contents copy{{"a2/", {}},      {"a2/b/", {}},         {"a2/b/empty/", {}},
                        {"a2/b/in/", {}}, {"a2/b/in/file", "1"}, {"a2/b/.hidden", "2"}};
    Contents expected = copy;
    for (auto entry = copy.cbegin(); entry != copy.cend(); ++entry)
        expected.insert(QByteArray(entry.key()).replace("2/b/", "2/c/"), entry.value());
    QCOMPARE(at.contents(), expected);
    at.service.remove(at.item("a2/c"), go);
    QCOMPARE(at.contents(), copy);
}

void permissionsAreSetOnTheItemOrTheTree(const Place &at)
{
    at.make({{"folder/", {}}, {"folder/file", "1"}, {"other", "2"}});
    at.chmod("other", "644");
    at.chmod("folder/file", "640");
    at.chmod("folder", "711");
    QCOMPARE(at.mode("folder", "file"), u"rw-r-----"_s);
    QCOMPARE(at.mode("", "folder"), u"rwx--x--x"_s);
    at.chmod("folder", "750", Recursive::yes);
    QCOMPARE(at.mode("", "folder"), u"rwxr-x---"_s);
    QCOMPARE(at.mode("folder", "file"), u"rwxr-x---"_s);
    QCOMPARE(at.mode("", "other"), u"rw-r--r--"_s);
}

void stoppedOperationsThrowCancelledAndChangeNothing(const Place &at)
{
    const Contents tree{{"folder/", {}}, {"folder/file", "1"}};
    at.make(tree);
    const FileItem folder = at.item("folder");
    std::stop_source source;
    source.request_stop();
    const std::stop_token stopped = source.get_token();
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.list(folder.path, HiddenFiles::included, stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.read(at.path("folder/file"), stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.write("2", at.path("folder/file"), stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.copy(folder, at.path("copy"), stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.remove(folder, stopped));
    QCOMPARE(at.contents(), tree);
}

void linksAreListedFollowedAndRemovedAsLinks(const Place &at)
{
    const Contents tree{{"folder/", {}}, {"folder/file", "12345"}};
    at.make(tree);
    at.service.createDirectory(at.path("around"), go);
    for (const auto &[link, target] : {std::pair("to folder", "folder"), std::pair("to file", "folder/file"),
                                       std::pair("broken", "nowhere"), std::pair("around/link", "folder")})
        QVERIFY(QFile::link(at.path(target), at.path(link)));
    const FileItem toFolder = at.item("to folder");
    const FileItem folder = at.service.followLink(toFolder, go);
    QVERIFY(toFolder.isSymlink && folder.isDirectory);
    QCOMPARE(folder.path, toFolder.path);
    QCOMPARE(at.listed("to folder").size(), 1);
    const FileItem file = at.service.followLink(at.item("to file"), go);
    QVERIFY(!file.isDirectory && file.size == 5);
    QVERIFY_THROWS_EXCEPTION(Error, at.service.followLink(at.item("broken"), go));
    for (const char *entry : {"to folder", "to file", "broken", "around"})
        at.service.remove(at.item(entry), go);
    QCOMPARE(at.contents(), tree);
}

/// Every operation on an entry whose name means something to a shell, a pattern or a command line treats that entry,
/// and none of those its name could be taken for.
void oddName(const Place &at, const QString &name)
{
    const Contents bystanders{{"ab", "1"}, {"x", "2"}, {"q", "3"}, {"lead", "4"}, {"a", "5"}, {"b", "6"}, {"u", "7"}};
    for (auto file = bystanders.cbegin(); file != bystanders.cend(); ++file)
        putFile(at.path(file.key().constData()), file.value());
    const auto with = [&bystanders](const Contents &added) {
        Contents all = bystanders;
        all.insert(added);
        return all;
    };
    const QByteArray key = name.toUtf8();
    at.write(name, "odd");
    QCOMPARE(at.contents(), with({{key, "odd"}}));
    QCOMPARE(at.listed().keys(), with({{key, "odd"}}).keys());
    QCOMPARE(at.service.read(at.path(name), go), QByteArray("odd"));
    QCOMPARE(at.item(name).name, name);
    at.chmod(name, "600");
    at.write(name, "changed");
    at.service.rename(at.item(name), u"plain"_s, go);
    at.service.rename(at.item("plain"), name, go);
    at.service.copy(at.item(name), at.path("plain"), go);
    QCOMPARE(at.contents(), with({{key, "changed"}, {"plain", "changed"}}));
    at.service.remove(at.item(name), go);
    at.service.createDirectory(at.path(name), go);
    at.service.move(at.item("plain"), at.path(name + u'/' + name), go);
    at.chmod(name, "700", Recursive::yes);
    at.service.copy(at.item(name), at.path("tree"), go);
    QCOMPARE(at.contents(),
             with({{key + '/', {}}, {key + '/' + key, "changed"}, {"tree/", {}}, {"tree/" + key, "changed"}}));
    at.service.remove(at.item(name), go);
    at.service.remove(at.item("tree"), go);
    QCOMPARE(at.contents(), bystanders);
}

using Rule = void (*)(const Place &);

constexpr std::pair<const char *, Rule> rules[] = {
    {"written bytes are read back", writtenBytesAreReadBack},
    {"listing and stat tell what is there", listingAndStatTellWhatIsThere},
    {"missing entries are refused", missingEntriesAreRefused},
    {"what stands at the target is never replaced", whatStandsAtTheTargetIsNeverReplaced},
    {"trees are copied, moved and removed whole", treesAreCopiedMovedAndRemovedWhole},
    {"permissions are set on the item or the tree", permissionsAreSetOnTheItemOrTheTree},
    {"stopped operations throw Cancelled and change nothing", stoppedOperationsThrowCancelledAndChangeNothing},
    {"links are listed, followed and removed as links", linksAreListedFollowedAndRemovedAsLinks},
};

} // namespace

QStringList oddNames()
{
    return {u"a\\b"_s, u"$(touch x)"_s, u"`touch x`"_s, u"\"q\""_s,    u"'q'"_s,          u" lead"_s,
            u"*"_s,    u"?"_s,          u"[ab]"_s,      u"{a,b}"_s,    u"-x"_s,           u"a;b&c|d>e"_s,
            u"!x"_s,   u"#x"_s,         u"~"_s,         u"ü 日本 🎈"_s, QString(200, u'n')};
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
    const QString problem = messageOf([&] {
        if (name.isEmpty())
            rules[rule].second({subject});
        else
            oddName({subject}, name);
    });
    QVERIFY2(problem.isEmpty(), qUtf8Printable(problem));
}

} // namespace moorix::test::FileServiceContract
