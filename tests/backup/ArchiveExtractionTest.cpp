// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/ArchiveExtraction.h"
#include "backup/BackupArchive.h"
#include "support/TestMain.h"

#include <QProcess>

#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// A zip archive of these names and contents, whatever the names are; "-> x" makes a link.
void makeZip(const QString &path, const QList<std::pair<QString, QByteArray>> &entries)
{
    QString script = u"import zipfile\nz = zipfile.ZipFile(r'''%1''', 'w')\n"_s.arg(path);
    for (const auto &[name, content] : entries) {
        const bool isLink = content.startsWith("-> ");
        script += u"i = zipfile.ZipInfo('''%1''')\ni.create_system = 3\ni.external_attr = %2 << 16\n"
                  "z.writestr(i, bytes.fromhex('%3'))\n"_s.arg(name, isLink ? u"0o120777"_s : u"0o100640"_s,
                                                               QString::fromLatin1(content.toHex()));
    }
    if (QProcess::execute(u"python3"_s, {u"-W"_s, u"ignore"_s, u"-c"_s, script + u"z.close()\n"_s}) != 0)
        qFatal("No archive was made.");
}

} // namespace

/// Restoring: what comes back where, and what must never be written.
class ArchiveExtractionTest final : public QObject
{
    Q_OBJECT

    static RestoreOutcome restore(const TestTree &tree, const QStringList &paths, TransferConflictPolicy policy)
    {
        const ZipArchive archive(tree.path("a.zip"));
        ArchiveExtraction extraction(archive, tree.path("to"), {.policy = policy, .ask = {}, .progress = {}});
        return extraction.run(paths, neverStops);
    }

private slots:
    void hostileNamesAreNeverFollowed()
    {
        const TestTree tree{{"to/", ""}, {"outside/kept", "kept"}};
        tree.link("to/out", "../outside");
        makeZip(tree.path("a.zip"), {{u"good"_s, "good"},
                                     {u"../outside/kept"_s, "evil"},
                                     {u"x/../../outside/new"_s, "evil"},
                                     {tree.path("outside/absolute"), "evil"},
                                     {u"out/kept"_s, "evil"},
                                     {u"out/new"_s, "evil"},
                                     {u"link"_s, "-> ../outside"},
                                     {u"link/through"_s, "fine"},
                                     {u"."_s, "evil"},
                                     {u"a//b"_s, "evil"}});
        const RestoreOutcome outcome = restore(tree, {}, TransferConflictPolicy::overwrite);
        QCOMPARE(outcome.failures.size(), 8);
        QCOMPARE(snapshotOf(tree.path("outside")), TreeSnapshot({{u"kept"_s, "kept"}}));
        QCOMPARE(snapshotOf(tree.path("to")),
                 TreeSnapshot({{u"good"_s, "good"},
                               {u"link/"_s, {}},
                               {u"link/through"_s, "fine"},
                               {u"out"_s, "-> " + QFile::encodeName(tree.path("outside"))}}));
    }

    void whatIsChosenComesBackUnderItsOwnName()
    {
        const TestTree tree{{"to/", ""}};
        makeZip(tree.path("a.zip"),
                {{u"home/a/x"_s, "1"}, {u"home/a/d/y"_s, "2"}, {u"home/ab"_s, "3"}, {u"home/z"_s, "4"}});
        QCOMPARE(restore(tree, {u"home/a/"_s, u"home/z"_s}, TransferConflictPolicy::skip).files, 3);
        QCOMPARE(snapshotOf(tree.path("to")).keys(), QStringList({u"a/"_s, u"a/d/"_s, u"a/d/y"_s, u"a/x"_s, u"z"_s}));
        QVERIFY(messageOf([&] {
                    restore(tree, {u"home/none"_s}, TransferConflictPolicy::skip);
                }).contains(u"is not in the archive"_s));
    }

    void whatExistsIsOnlyReplacedWhenThatIsWanted()
    {
        const TestTree tree{{"to/x.txt", "old"}, {"to/folder/", ""}};
        makeZip(tree.path("a.zip"), {{u"x.txt"_s, "new"}, {u"folder"_s, "file"}});
        QCOMPARE(restore(tree, {}, TransferConflictPolicy::skip).skipped, 2);
        QCOMPARE(restore(tree, {}, TransferConflictPolicy::ask).skipped, 2);
        QCOMPARE(tree.read("to/x.txt"), QByteArray("old"));
        QCOMPARE(restore(tree, {u"x.txt"_s}, TransferConflictPolicy::rename).files, 1);
        QCOMPARE(tree.read("to/x 2.txt"), QByteArray("new"));
        const RestoreOutcome replaced = restore(tree, {}, TransferConflictPolicy::overwrite);
        QCOMPARE(tree.read("to/x.txt"), QByteArray("new"));
        QVERIFY(replaced.failures.join(u' ').contains(u"a folder of this name is there"_s));
        QCOMPARE(QFileInfo(tree.path("to/x.txt")).permissions() & QFile::Permissions(0x0777),
                 QFile::ReadUser | QFile::WriteUser | QFile::ReadGroup);
    }

    void aDamagedEntryLeavesNoFileAndTheOthersComeBack()
    {
        const TestTree tree{{"to/", ""}};
        makeZip(tree.path("a.zip"), {{u"first"_s, "FIRST content"}, {u"second"_s, "SECOND content"}});
        QByteArray bytes = tree.read("a.zip");
        bytes.replace("FIRST", "fIRST");
        tree.write("a.zip", bytes);
        const RestoreOutcome outcome = restore(tree, {}, TransferConflictPolicy::skip);
        QVERIFY(outcome.failures.value(0).contains(u"“first” was not restored"_s));
        QCOMPARE(snapshotOf(tree.path("to")), TreeSnapshot({{u"second"_s, "SECOND content"}}));
        const auto archive = BackupArchive::open(tree.path("a.zip"), {}, {}, neverStops);
        QVERIFY(messageOf([&] { archive->verify({}, neverStops); }).contains(u"“first” in"_s));
        for (const qsizetype size : {0, 10, 60}) {
            tree.write("cut.zip", bytes.left(size));
            QVERIFY(messageOf([&] {
                        BackupArchive::open(tree.path("cut.zip"), {}, {}, neverStops);
                    }).contains(u"cannot be read as a zip archive"_s));
        }
    }
};

MOORIX_TEST(ArchiveExtractionTest)
#include "ArchiveExtractionTest.moc"
