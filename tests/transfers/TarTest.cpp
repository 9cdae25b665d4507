// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Error.h"
#include "files/LocalFileService.h"
#include "platform/SystemProcessRunner.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "transfers/TarUnpacker.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const QByteArray longName = QByteArray(120, 'n') + "/" + QByteArray(130, 'm');

QByteArray tar(const QStringList &arguments, const QByteArray &input = {})
{
    ProcessRequest request;
    request.program = u"tar"_s;
    request.arguments = arguments;
    request.standardInput = input;
    const ProcessResult result = SystemProcessRunner().run(request, {});
    if (result.exitCode != 0)
        throw Error(u"Test"_s, QString::fromUtf8(result.standardError));
    return result.standardOutput;
}

/// What a reader makes of an archive: path → content, as in a TreeSnapshot.
TreeSnapshot read(const QByteArray &archive, qsizetype pieceSize, bool *isComplete = nullptr)
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
    if (isComplete)
        *isComplete = reader.isComplete();
    return found;
}

/// A file of a plan, at a path below "/".
TransferNode planned(const QString &name, qint64 size)
{
    TransferNode node;
    node.item.name = name;
    node.item.path = u"/"_s + name;
    node.item.size = size;
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
    void archivesOfEveryFormatAreRead_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<int>("pieceSize");
        for (const char *format : {"gnu", "pax", "posix", "ustar"}) {
            for (const int pieceSize : {1, 511, 1 << 20})
                QTest::addRow("%s, by %d", format, pieceSize) << QString::fromLatin1(format) << pieceSize;
        }
    }
    void archivesOfEveryFormatAreRead()
    {
        QFETCH(const QString, format);
        QFETCH(const int, pieceSize);
        // The oldest format has no room for more.
        const QByteArray name = format == u"ustar" ? QByteArray(90, 'n') + "/" + QByteArray(90, 'm') : longName;
        const TestTree tree{{"t/empty", ""},
                            {"t/größe", QByteArray(513, 'x')},
                            {"t/block", QByteArray(1024, 'y')},
                            {QString::fromLatin1("t/" + name), "long"}};
        tree.link("t/link", u'/' + QString(90, u'l'));
        const QByteArray archive = tar({u"--format="_s + format, u"-cf"_s, u"-"_s, u"-C"_s, tree.path(), u"t"_s});
        bool isComplete = false;
        QCOMPARE(read(archive, pieceSize, &isComplete), tree.snapshot());
        QVERIFY(isComplete);
    }

    void whatIsPackedEveryTarUnpacks()
    {
        const TestTree tree{{"from/empty", ""},
                            {"from/größe", QByteArray(513, 'x')},
                            {"from/big", QByteArray(300'000, 'z')},
                            {QString::fromLatin1("from/" + longName), "long"},
                            {"to/", ""}};
        tree.link("from/link", u'/' + QString(150, u'l'));
        TransferNode folder;
        folder.item = *LocalFileService().stat(tree.path("from"), {});
        TransferScan([](const QString &path) { return LocalFileService().list(path, HiddenFiles::included, {}); },
                     transferNames::NameSource::localDisk, [](const FileItem &, const QString &) {})
            .fill(folder);
        qint64 bytes = 0;
        TarPacker packer(folder, [&bytes](qint64 done, qint64) { bytes = done; });
        QByteArray archive;
        for (QByteArray piece = packer.next(); !piece.isEmpty(); piece = packer.next())
            archive += piece;
        tar({u"-xf"_s, u"-"_s, u"-C"_s, tree.path("to")}, archive);
        TreeSnapshot expected;
        TreeSnapshot arrived;
        const TreeSnapshot all = tree.snapshot();
        for (auto entry = all.cbegin(); entry != all.cend(); ++entry) {
            if (entry.key().startsWith(u"from/"_s))
                expected.insert(entry.key().mid(5), entry.value());
            else
                arrived.insert(entry.key().mid(3), entry.value());
        }
        QCOMPARE(arrived, expected);
        QCOMPARE(bytes, folder.byteCount());
    }

    void damagedArchivesAreNoticed()
    {
        const QByteArray whole = archiveOf({{"a", "content"}});
        QByteArray changed = whole;
        changed[20] = 'x';
        QVERIFY_THROWS_EXCEPTION(Error, read(changed, 100));
        QVERIFY_THROWS_EXCEPTION(Error, read("This service allows sftp connections only.\n" + whole, 100));
        bool isComplete = true;
        read(whole.first(700), 100, &isComplete);
        QVERIFY(!isComplete);
    }

    void onlyWhatWasPlannedIsUnpacked()
    {
        const TestTree tree{{"outside", "safe"}, {"to/", ""}};
        TransferNode folder = planned(u"d"_s, 0);
        folder.item.isDirectory = true;
        folder.children = {planned(u"good"_s, 4), planned(u"shrunk"_s, 9)};
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
        TransferNode folder = planned(u"d"_s, 0);
        folder.item.isDirectory = true;
        TransferNode inner = planned(u"sub"_s, 0);
        inner.item.isDirectory = true;
        inner.children = {planned(u"x"_s, 4)};
        folder.children = {inner};
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
