// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FileServiceContract.h"

#include "base/Error.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/RemoteFileService.h"
#include "support/Shorthand.h"
#include "support/TestTree.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace moorix::test::FileServiceContract {

namespace {

const std::stop_token go;

/// Short words for the rules: paths are relative to the subject's root.
struct Place : Subject
{
    QString path(const RelPath &relative) const { return Format::join(root, relative.text); }
    void write(const RelPath &file, const QByteArray &content) const { service.write(content, path(file), go); }
    void chmod(const RelPath &entry, const char *octal, Recursive recursive = Recursive::no) const
    {
        service.setPermissions(path(entry), QLatin1String(octal), recursive, go);
    }
    /// A word for each entry: "folder/" or "file=content".
    void make(const char *entries) const
    {
        for (const QString &entry : QString::fromLatin1(entries).split(u' ')) {
            if (entry.endsWith(u'/'))
                service.createDirectory(path(entry.chopped(1)), go);
            else
                write(entry.section(u'=', 0, 0), entry.section(u'=', 1).toLatin1());
        }
    }
    FileItem item(const RelPath &relative) const
    {
        const auto found = service.stat(path(relative), go);
        if (!found)
            throw Error(u"Test"_s, u"“%1” is not there."_s.arg(relative.text));
        return *found;
    }
    QMap<QString, FileItem> listed(const RelPath &folder = "") const
    {
        QMap<QString, FileItem> items;
        for (const FileItem &item :
             service.list(folder.text.isEmpty() ? root : path(folder), HiddenFiles::included, go))
            items.insert(item.name, item);
        return items;
    }
    QString mode(const char *folder, const QString &name) const
    {
        return listed(folder).value(name).permissions.value_or(u"none"_s);
    }
    /// What really lies there, whatever the service says.
    TreeSnapshot contents() const { return snapshotOf(root); }
    /// Null for this machine's own files.
    RemoteFileService *server() const { return dynamic_cast<RemoteFileService *>(&service); }
};

void writtenBytesAreReadBack(const Place &at)
{
    QByteArray bytes("\r\n\n");
    for (int i = 0; i < 256; ++i)
        bytes += char(i);
    at.write("bytes", bytes + bytes);
    at.write("empty", {});
    QCOMPARE(at.contents(), (TreeSnapshot{{u"bytes"_s, bytes + bytes}, {u"empty"_s, {}}}));
    QCOMPARE(at.service.read(at.path("bytes"), go), bytes + bytes);
    QCOMPARE(at.service.read(at.path("empty"), go), QByteArray());
    at.chmod("bytes", "640");
    at.write("bytes", "shorter");
    QCOMPARE(at.service.read(at.path("bytes"), go), QByteArray("shorter"));
    QCOMPARE(at.mode("", u"bytes"_s), u"rw-r-----"_s);
}

void listingAndStatTellWhatIsThere(const Place &at)
{
    at.make("folder/ folder/deep=unlisted file.txt=12345 .hidden=1");
    const auto items = at.listed();
    QCOMPARE(items.keys(), (QStringList{u".hidden"_s, u"file.txt"_s, u"folder"_s}));
    for (const FileItem &item : items) {
        const FileItem alone = at.item(item.name);
        QCOMPARE(item.path, at.path(item.name));
        QCOMPARE(alone.path, item.path);
        QCOMPARE(item.isDirectory, item.name == u"folder");
        QCOMPARE(alone.isDirectory, item.isDirectory);
        QVERIFY(qAbs(item.modified->secsTo(QDateTime::currentDateTime())) < 120);
        if (!item.isDirectory)
            QVERIFY(alone.size == item.size && item.size == (item.name == u"file.txt" ? 5 : 1));
    }
    // So long a path that a client cuts the rows it is told in.
    QString folder = u"folder"_s;
    while (folder.size() < 700)
        at.service.createDirectory(at.path(folder += u'/' + QString(200, u'f')), go);
    const QString deepest(160, u'd');
    at.write(folder + u'/' + deepest, "1");
    QCOMPARE(at.listed(folder).keys(), QStringList{deepest});
    for (const QString &nothing : {u"nothing"_s, folder + u"/nothing"_s})
        QVERIFY(!at.service.stat(at.path(nothing), go));
}

void missingEntriesAreRefused(const Place &at)
{
    const FileItem missing = entryAt(at.path("missing"));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.list(missing.path, HiddenFiles::included, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.read(missing.path, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.remove(missing, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.rename(missing, u"new"_s, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.copy(missing, at.path("new"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.service.move(missing, at.path("new"), go));
    QVERIFY_THROWS_EXCEPTION(Error, at.write("missing/file", "x"));
    QVERIFY_THROWS_EXCEPTION(Error, at.chmod("missing", "644"));
    QCOMPARE(at.contents(), TreeSnapshot());
}

void whatStandsAtTheTargetIsNeverReplaced(const Place &at)
{
    at.make("folder/ empty/ folder/inside=kept a=first b=second");
    const TreeSnapshot before = at.contents();
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
    std::vector<RemoteStep> steps{{RemoteStep::Kind::rename, at.path("a"), at.path("b")},
                                  {RemoteStep::Kind::rename, at.path("folder"), at.path("empty")},
                                  {RemoteStep::Kind::setMode, at.path("missing"), {}, u"600"_s}};
    if (at.server()) {
        at.server()->takeSteps(steps, go);
        for (const RemoteStep &step : steps)
            QVERIFY2(step.state == RemoteStep::State::failed, qUtf8Printable(step.path));
    }
    QCOMPARE(at.contents(), before);
}

void treesAreCopiedMovedAndRemovedWhole(const Place &at)
{
    at.make("a/ a/empty/ a/in/ a/in/file=1 a/.hidden=2 a2/");
    TreeSnapshot expected = at.contents();
    const QDateTime then(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC);
    setTimeAndMode(at.path("a/in/file"), then, QFile::Permissions(0x6640));
    at.service.copy(at.item("a"), at.path("a2/b"), go);
    at.service.move(at.item("a2/b"), at.path("a2/c"), go);
    for (const QString &entry : expected.keys()) {
        if (entry.startsWith(u"a/"))
            expected.insert(u"a2/c/"_s + entry.mid(2), expected.value(entry));
    }
    QCOMPARE(at.contents(), expected);
    at.service.copy(at.item("a2/c/in/file"), at.path("a2/d"), go);
    for (const QString &copy : {at.path("a2/c/in/file"), at.path("a2/d")}) {
        QCOMPARE(QFileInfo(copy).lastModified().toUTC(), then);
        QCOMPARE(QFile::permissions(copy) & 0x7077, QFile::Permissions(0x6040));
    }
    at.service.remove(at.item("a"), go);
    at.service.remove(at.item("a2"), go);
    QCOMPARE(at.contents(), TreeSnapshot());
}

void permissionsAreSetOnTheItemOrTheTree(const Place &at)
{
    at.make("folder/ folder/file=1 other=2");
    QVERIFY(QFile::link(at.path("other"), at.path("folder/link")));
    at.chmod("other", "644");
    at.chmod("folder/file", "640");
    at.chmod("folder", "711");
    QCOMPARE(at.mode("folder", u"file"_s), u"rw-r-----"_s);
    QCOMPARE(at.mode("", u"folder"_s), u"rwx--x--x"_s);
    at.chmod("folder", "750", Recursive::yes);
    QCOMPARE(at.mode("", u"folder"_s), u"rwxr-x---"_s);
    QCOMPARE(at.mode("folder", u"file"_s), u"rwxr-x---"_s);
    QCOMPARE(at.mode("", u"other"_s), u"rw-r--r--"_s);
}

void stoppedOperationsThrowCancelledAndChangeNothing(const Place &at)
{
    at.make("folder/ folder/file=1");
    const TreeSnapshot before = at.contents();
    const FileItem folder = at.item("folder");
    std::stop_source source;
    source.request_stop();
    const std::stop_token stopped = source.get_token();
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.list(folder.path, HiddenFiles::included, stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.read(at.path("folder/file"), stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.write("2", at.path("folder/file"), stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.copy(folder, at.path("copy"), stopped));
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.service.remove(folder, stopped));
    QCOMPARE(at.contents(), before);
}

void linksAreListedFollowedAndRemovedAsLinks(const Place &at)
{
    at.make("folder/ folder/file=12345");
    const TreeSnapshot before = at.contents();
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
    QCOMPARE(at.contents(), before);
}

void filesTravelWithTimesAndModes(const Place &at)
{
    if (!at.server())
        QSKIP("Only servers have files travel.");
    const TestTree local{{"a", "1"}};
    const QDateTime then(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC);
    setTimeAndMode(local.path("a"), then, QFile::Permissions(0x6600));
    at.server()->upload(local.path("a"), at.path("b"), {true, {}}, go);
    QCOMPARE(QFileInfo(at.path("b")).lastModified().toUTC(), then);
    QCOMPARE(at.mode("", u"b"_s), u"rw-------"_s);
    at.server()->download(at.path("b"), local.path("c"), {true, {}}, go);
    QCOMPARE(QFileInfo(local.path("c")).lastModified().toUTC(), then);
    at.make("d/ e/ f/");
    const QString tooLong = u"e/"_s + QString(300, u'x');
    // In two folders, in one, and in one with a name that no disk takes.
    for (const QStringList &names : {QStringList{u"2 "_s, u"d/0"_s, u"d/1"_s, u"d/2"_s, u"d/3"_s},
                                     QStringList{u"f/0"_s, u"f/1"_s, u"f/2"_s, u"f/3"_s, u"f/4"_s},
                                     QStringList{u"e/1"_s, u"e/2"_s, tooLong, u"e/4"_s, u"e/5"_s}}) {
        std::vector<RemoteCopy> together;
        for (const QString &name : names)
            together.push_back({local.path("a"), at.path(name)});
        at.server()->uploadAll(
            together, [](std::size_t) {}, go);
        for (const RemoteCopy &copy : together) {
            if (copy.to == at.path(tooLong)) {
                QVERIFY(copy.state == RemoteCopy::State::failed && !copy.failure.isEmpty());
                continue;
            }
            QVERIFY2(copy.state == RemoteCopy::State::arrived, qUtf8Printable(copy.failure));
            QCOMPARE(copy.copiedBytes, 1);
            QCOMPARE(QFileInfo(copy.to).lastModified().toUTC(), then);
        }
        const QString last = names.constLast();
        QCOMPARE(at.mode(last.left(1).toLatin1(), last.mid(2)), u"rw-------"_s);
    }
}

void foldersTakeNamesOfNothingElse(const Place &at)
{
    if (!at.server())
        QSKIP("Only servers rename like that.");
    at.make("part/ part/new=1 file=2 folder/ folder/old=3");
    QVERIFY(QFile::link(at.path("folder"), at.path("link")));
    const TreeSnapshot before = at.contents();
    std::vector<RemoteStep> steps;
    for (const char *name : {"file", "folder", "link"}) {
        QVERIFY2(!at.server()->renameBeside(at.path("part"), at.path(name), go), name);
        steps.push_back({RemoteStep::Kind::renameFolder, at.path("part"), at.path(name)});
    }
    if (at.server()->takesMany())
        at.server()->takeSteps(steps, go);
    for (const RemoteStep &step : steps)
        QCOMPARE(step.state == RemoteStep::State::failed, at.server()->takesMany());
    QCOMPARE(at.contents(), before);
    QVERIFY(!at.server()->renameBeside(at.path("missing"), at.path("name"), go));
    if (at.server()->renameBeside(at.path("part"), at.path("name"), go))
        QCOMPARE(at.listed("name").keys(), QStringList{u"new"_s});
    else
        QCOMPARE(at.contents(), before);
}

/// The beginnings differ from those of the sources, which tells what was sent.
void transfersGoOnWhereTheyBrokeOff(const Place &at)
{
    if (!at.server())
        QSKIP("Only servers have files travel.");
    const TestTree local{{"whole", "0123456789"}, {"part", "----"}, {"longer", "0123456789x"}};
    RemoteTransferOptions onwards;
    onwards.resumes = true;
    at.make("begun=---- whole=0123456789");
    at.server()->upload(local.path("whole"), at.path("begun"), onwards, go);
    QCOMPARE(at.contents().value(u"begun"_s), QByteArray("----456789"));
    at.server()->download(at.path("whole"), local.path("part"), onwards, go);
    QCOMPARE(local.read("part"), QByteArray("----456789"));
    QVERIFY_THROWS_EXCEPTION(Error, at.server()->download(at.path("whole"), local.path("longer"), onwards, go));
    QCOMPARE(local.read("longer"), QByteArray("0123456789x"));
}

/// What `folder` holds on the disk, by path, as a listing must tell it; times are compared with those of `tree`.
void isToldAsItIs(const ListedTree &tree, const QString &folder)
{
    QMap<QString, FileItem> told;
    for (const FileItem &item : tree.entries(folder))
        told.insert(item.path, item);
    const QList<FileItem> real = LocalFileService().list(folder, HiddenFiles::included, go);
    QCOMPARE(told.size(), real.size());
    for (const FileItem &item : real) {
        QVERIFY2(told.contains(item.path), qUtf8Printable(item.path));
        const FileItem &shown = told[item.path];
        QVERIFY2(shown.isSymlink == item.isSymlink && shown.isDirectory == (item.isDirectory && !item.isSymlink),
                 qUtf8Printable(item.path));
        if (item.isSymlink)
            continue;
        QVERIFY2(shown.isDirectory || shown.size == item.size, qUtf8Printable(item.path));
        QCOMPARE(shown.permissions, item.permissions);
        const qint64 late = shown.modified->secsTo(*item.modified);
        QVERIFY2(late >= 0 && late < tree.times.slack(*shown.modified).count(), qUtf8Printable(item.path));
    }
}

/// Some servers tell unreadable folders by their own account's rights, others have none they may not read.
void wholeTreeIsToldAsItsFoldersAre(const Place &at)
{
    if (!at.server())
        QSKIP("Only servers tell whole trees.");
    QDir top(at.root);
    const QDateTime old(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC);
    QString deep = u"deep"_s;
    for (int i = 0; i < 6; ++i)
        deep += u"/%1"_s.arg(i);
    QStringList folders{u".hid/.den"_s, u" [a]{b} \"#'$(x)\\"_s, u"two  blanks/ü ☺"_s, u"it's/empty"_s, deep};
    for (int i = 0; i < 300; ++i)
        folders << u"wide/%1"_s.arg(i);
    for (const QString &folder : std::as_const(folders)) {
        QVERIFY(top.mkpath(folder));
        if (folder.size() % 2 != 0)
            putFile(at.path(folder + u"/.f  %41"_s), folder.toUtf8());
    }
    putFile(at.path("old"), "old");
    setTimeAndMode(at.path("old"), old, QFile::Permissions(0x6444));
    for (const auto &[link, target] : {std::pair("it's/link", "wide"), std::pair("up", "."), std::pair("gone", "no")})
        QVERIFY(QFile::link(at.path(target), at.path(link)));
    for (const char *locked : {"it's/locked ü\\", "it's/noentry"}) {
        QVERIFY(top.mkpath(at.path(locked) + u"/in"_s));
        QFile::setPermissions(at.path(locked), QFile::Permissions(locked[5] == 'l' ? 0x7000 : 0x7744));
    }
    QList<qint64> seen;
    const ListedTree tree = at.server()->listTree(
        at.root, [&seen](qint64 entries) { seen << entries; }, go);
    qint64 entries = 0;
    QStringList open{at.root};
    while (!open.isEmpty()) {
        const QString folder = open.takeLast();
        const QString told = messageOf([&] { tree.entries(folder); });
        // Each would take its time on most servers.
        if (!folder.contains(u"/wide/"_s) && !folder.contains(u"/deep/"_s)) {
            QCOMPARE(told, messageOf([&] { at.service.list(folder, HiddenFiles::included, go); }));
            QCOMPARE(tree.unread.value(folder), told);
        }
        if (!told.isEmpty())
            continue;
        isToldAsItIs(tree, folder);
        entries += tree.entries(folder).size();
        open += ListedTree::subfolders(tree.entries(folder));
    }
    QVERIFY(tree.folders.size() > 310 && std::is_sorted(seen.begin(), seen.end()));
    QCOMPARE(seen.constLast(), entries);
    QVERIFY_THROWS_EXCEPTION(Error, at.server()->listTree(at.path("missing"), {}, go));
    QVERIFY_THROWS_EXCEPTION(Error, at.server()->listTree(at.path("old"), {}, go));
    std::stop_source stopping;
    const TreeProgress stopAtOnce = [&stopping](qint64) { stopping.request_stop(); };
    QVERIFY_THROWS_EXCEPTION(Cancelled, at.server()->listTree(at.root, stopAtOnce, stopping.get_token()));
}

/// Every operation on an entry whose name means something to a shell, a pattern or a command line treats that entry,
/// and none of those its name could be taken for.
void oddName(const Place &at, const QString &name)
{
    const TreeSnapshot bystanders{{u"ab"_s, "1"}, {u"x"_s, "2"}, {u"q"_s, "3"}, {u"lead"_s, "4"},
                                  {u"a"_s, "5"},  {u"b"_s, "6"}, {u"u"_s, "7"}};
    for (auto file = bystanders.cbegin(); file != bystanders.cend(); ++file)
        putFile(at.path(file.key()), file.value());
    const auto with = [&bystanders](const TreeSnapshot &added) {
        TreeSnapshot all = bystanders;
        all.insert(added);
        return all;
    };
    at.write(name, "odd");
    QCOMPARE(at.contents(), with({{name, "odd"}}));
    QCOMPARE(at.listed().keys(), with({{name, "odd"}}).keys());
    QCOMPARE(at.service.read(at.path(name), go), QByteArray("odd"));
    QCOMPARE(at.item(name).name, name);
    at.chmod(name, "600");
    at.write(name, "changed");
    at.service.rename(at.item(name), u"plain"_s, go);
    at.service.rename(at.item("plain"), name, go);
    at.service.copy(at.item(name), at.path("plain"), go);
    QCOMPARE(at.contents(), with({{name, "changed"}, {u"plain"_s, "changed"}}));
    at.service.remove(at.item(name), go);
    at.service.createDirectory(at.path(name), go);
    at.service.move(at.item("plain"), at.path(name + u'/' + name), go);
    at.chmod(name, "700", Recursive::yes);
    at.service.copy(at.item(name), at.path("tree"), go);
    QCOMPARE(
        at.contents(),
        with({{name + u'/', {}}, {name + u'/' + name, "changed"}, {u"tree/"_s, {}}, {u"tree/"_s + name, "changed"}}));
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
    {"files travel with their times and modes", filesTravelWithTimesAndModes},
    {"transfers go on where they broke off", transfersGoOnWhereTheyBrokeOff},
    {"folders take names of nothing else", foldersTakeNamesOfNothingElse},
    {"a whole tree is told as its folders are", wholeTreeIsToldAsItsFoldersAre},
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
