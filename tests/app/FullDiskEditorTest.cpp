// SPDX-License-Identifier: GPL-3.0-or-later
// The disk fills up under a file that is open in the editor. It happens in a program of its own, which alone sees the
// small disk.
#include "app/TextDocument.h"
#include "files/LocalFileService.h"
#include "support/SmallDisk.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>
#include <QStorageInfo>

#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Skipped unless started by the test below.
class SmallDiskEditorProgram final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        if (!SmallDisk::folder())
            QSKIP("Only a part of FullDiskEditorTest.");
    }

    void fileAndTextSurvive_data()
    {
        QTest::addColumn<int>("room");
        QTest::addColumn<bool>("hasTwoNames");
        QTest::newRow("no room at all") << 0 << false;
        QTest::newRow("room for a part of it") << 1'000'000 << false;
        QTest::newRow("room beside the file but not in it") << 3'500'000 << true;
    }

    void fileAndTextSurvive()
    {
        QFETCH(int, room);
        QFETCH(bool, hasTwoNames);
        const QString disk = SmallDisk::folder().value();
        QVERIFY(QDir(disk).removeRecursively() && QDir().mkpath(disk));
        // What is written over is kept before, which the disk would have no room for.
        const TestTree elsewhere({});
        const QString unsaved = (hasTwoNames ? elsewhere.path("") : disk + u'/') + u"unsaved"_s;
        const QByteArray old(2'000'000, 'o');
        const QByteArray text(3'000'000, 't');
        const QString path = disk + u"/a.txt"_s;
        putFile(path, old);
        if (hasTwoNames)
            QCOMPARE(::link(QFile::encodeName(path).constData(), QFile::encodeName(disk + u"/b"_s).constData()), 0);
        const auto local = std::make_shared<LocalFileService>();
        TextDocument document({local, std::make_shared<RecoveryCopies>(unsaved)}, path, {},
                              textFile::load(*local, path, std::nullopt, neverStops).loaded, {});
        QSignalSpy saved(&document, &TextDocument::saved);
        QSignalSpy failed(&document, &TextDocument::saveFailed);
        QCOMPARE(document.keepNow("typed"), QString());
        putFile(disk + u"/other"_s, QByteArray(QStorageInfo(disk).bytesAvailable() - room, 'x'));
        const QStringList before = QDir(disk).entryList(QDir::AllEntries | QDir::Hidden);

        document.save(text, TextDocument::Guard::known);
        QTRY_COMPARE(failed.size(), 1);
        QCOMPARE(failed.constFirst().constFirst().toString(),
                 u"“%1” could not be written: No space left on device."_s.arg(path));
        QVERIFY(contentOf(path) == old);
        QCOMPARE(QDir(disk).entryList(QDir::AllEntries | QDir::Hidden), before);
        if (room == 0)
            QVERIFY(document.keepNow(text).contains(u"No space left on device"_s));
        QVERIFY(QFile::remove(disk + u"/other"_s));
        const QString kept = unsaved + u'/' + QDir(unsaved).entryList(QDir::Dirs | QDir::NoDotAndDotDot).value(0);
        QVERIFY(contentOf(kept + u"/text"_s) == (hasTwoNames ? text : "typed"));
        document.save(text, TextDocument::Guard::known);
        QTRY_COMPARE(saved.size(), 1);
        QVERIFY(contentOf(path) == text && (!hasTwoNames || contentOf(disk + u"/b"_s) == text));
    }
};

class FullDiskEditorTest final : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsLost() { SmallDisk::verify("SmallDiskEditorProgram", "room beside the file but not in it"); }
};

MOORIX_TEST(SmallDiskEditorProgram)
MOORIX_TEST(FullDiskEditorTest)
#include "FullDiskEditorTest.moc"
