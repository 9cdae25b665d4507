// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LocalFileService.h"
#include "platform/SystemProcessRunner.h"
#include "support/TestMain.h"
#include "transfers/TarUnpacker.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// What a reader makes of an archive: path → content, as in a TreeSnapshot, and "(cut)" where its end is missing.
TreeSnapshot read(const QByteArray &archive, qsizetype pieceSize)
{
    TreeSnapshot found;
    QString path;
    TarReader reader({[&](const TarEntry &entry) {
                          path = QString::fromUtf8(entry.path);
                          const bool isLink = entry.kind == TarEntry::Kind::symbolicLink;
                          found.insert(path, isLink ? "-> " + entry.linkTarget : QByteArray());
                      },
                      [&](QByteArrayView bytes) { found[path].append(bytes); }, [] {}});
    for (qsizetype at = 0; at < archive.size(); at += pieceSize)
        reader.feed(QByteArrayView(archive).sliced(at).first(std::min(pieceSize, archive.size() - at)));
    if (!reader.isComplete())
        found.insert(u"(cut)"_s, {});
    return found;
}

/// A file of a plan at a path below "/", or a folder where the path ends in a slash.
TransferNode planned(const QString &name, qint64 size, const std::vector<TransferNode> &children = {})
{
    TransferNode node;
    node.item = entryAt(u'/' + name, size);
    node.children = children;
    return node;
}

QByteArray archiveOf(std::initializer_list<std::pair<QByteArray, QByteArray>> files)
{
    QByteArray archive;
    for (const auto &[path, content] : files) {
        TarEntry entry;
        entry.path = path;
        entry.size = content.size();
        archive += tarFormat::header(entry) + content + tarFormat::padding(content.size());
    }
    return archive + tarFormat::end();
}

} // namespace

class TarTest final : public QObject
{
    Q_OBJECT

private slots:
    void archivesOfEveryFormatAreReadInPiecesOfAnySize()
    {
        for (const char *format : {"gnu", "pax", "posix", "ustar"}) {
            // The oldest format has no room for more.
            const int length = format == QByteArray("ustar") ? 90 : 130;
            const TestTree tree{{"t/empty", ""},
                                {"t/größe", QByteArray(513, 'x')},
                                {"t/block", QByteArray(1024, 'y')},
                                {u"t/"_s + QString(length, u'n') + u'/' + QString(length, u'm'), "long"}};
            tree.link("t/link", u'/' + QString(90, u'l'));
            ProcessRequest tar;
            tar.program = u"tar"_s;
            tar.arguments = {u"--format="_s + QLatin1String(format), u"-cf"_s, u"-"_s, u"-C"_s, tree.path(), u"t"_s};
            const QByteArray archive = SystemProcessRunner().run(tar, {}).standardOutput;
            for (const qsizetype pieceSize : {1, 511, 1 << 20})
                QCOMPARE(read(archive, pieceSize), tree.snapshot());
        }
    }

    void damagedArchivesAreNoticed()
    {
        const QByteArray whole = archiveOf({{"a", "content"}});
        QByteArray changed = whole;
        changed[20] = 'x';
        QVERIFY_THROWS_EXCEPTION(Error, read(changed, 100));
        QVERIFY_THROWS_EXCEPTION(Error, read("This service allows sftp connections only.\n" + whole, 100));
        QVERIFY(read(whole.first(700), 100).contains(u"(cut)"_s));
    }

    void onlyWhatWasPlannedIsUnpacked()
    {
        const TestTree tree{{"outside", "safe"}, {"to/", ""}};
        TransferNode folder = planned(u"d/"_s, 0, {planned(u"good"_s, 4), planned(u"shrunk"_s, 9)});
        TarUnpacker unpacker(folder, tree.path("to/d"), [](qint64, qint64) {});
        unpacker.feed(archiveOf({{"../outside", "evil"},
                                 {"./../../outside", "evil"},
                                 {tree.path("outside").toUtf8(), "evil"},
                                 {"unasked", "evil"},
                                 {"shrunk", "small"},
                                 {"./good", "good"},
                                 {"good", "evil"}}));
        QVERIFY(unpacker.isComplete());
        QCOMPARE(unpacker.unpacked().size(), 1);
        QCOMPARE(tree.snapshot(),
                 (TreeSnapshot{{u"outside"_s, "safe"}, {u"to/"_s, ""}, {u"to/d/"_s, ""}, {u"to/d/good"_s, "good"}}));
    }

    void linkInAnArchiveNeverLeadsFilesOutOfTheFolder()
    {
        const TestTree tree{{"outside/", ""}, {"to/", ""}};
        TransferNode folder = planned(u"d/"_s, 0, {planned(u"sub/"_s, 0, {planned(u"x"_s, 4)})});
        TarUnpacker unpacker(folder, tree.path("to/d"), [](qint64, qint64) {});
        TarEntry link;
        link.kind = TarEntry::Kind::symbolicLink;
        link.path = "sub";
        link.linkTarget = tree.path("outside").toUtf8();
        unpacker.feed(tarFormat::header(link) + archiveOf({{"sub/x", "evil"}}));
        QVERIFY(!tree.exists("outside/x"));
        QCOMPARE(tree.read("to/d/sub/x"), QByteArray("evil"));
    }
};

MOORIX_TEST(TarTest)
#include "TarTest.moc"
