// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferConflict.h"
#include "files/LocalFileService.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "transfers/ContentComparison.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using Choice = ConflictAnswer::Choice;

namespace {

FileItem file(qint64 size, const char *time)
{
    FileItem item;
    item.size = size;
    if (*time)
        item.modified = QDateTime(QDate(2026, 3, 1), QTime::fromString(QLatin1String(time), u"H:mm:ss"_s), Qt::UTC);
    return item;
}

} // namespace

class TransferConflictTest final : public QObject
{
    Q_OBJECT

private slots:
    void conditionsAreSettledByBothSides_data()
    {
        QTest::addColumn<Choice>("choice");
        QTest::addColumn<FileItem>("source");
        QTest::addColumn<FileItem>("existing");
        QTest::addColumn<std::optional<Choice>>("expected");
        const auto row = [](const char *name, Choice choice, const FileItem &source, const FileItem &existing,
                            std::optional<Choice> expected) {
            QTest::newRow(name) << choice << source << existing << expected;
        };
        row("newer", Choice::overwriteOlder, file(1, "12:00:02"), file(1, "12:00:01"), Choice::overwrite);
        row("older", Choice::overwriteOlder, file(1, "12:00:01"), file(1, "12:00:02"), Choice::skip);
        row("same minute, as a server tells it", Choice::overwriteOlder, file(1, "12:00:59"), file(1, "12:00:00"),
            Choice::skip);
        row("next minute", Choice::overwriteOlder, file(1, "12:01:00"), file(1, "12:00:00"), Choice::overwrite);
        row("no date", Choice::overwriteOlder, file(1, "12:00:00"), file(1, ""), std::nullopt);
        row("same size", Choice::overwriteOtherSize, file(7, ""), file(7, ""), Choice::skip);
        row("other size", Choice::overwriteOtherSize, file(7, ""), file(8, ""), Choice::overwrite);
        row("shorter", Choice::resume, file(8, ""), file(7, ""), Choice::resume);
        row("whole", Choice::resume, file(8, ""), file(8, ""), Choice::skip);
        row("longer", Choice::resume, file(7, ""), file(8, ""), std::nullopt);
        row("empty", Choice::resume, file(7, ""), file(0, ""), std::nullopt);
    }
    void conditionsAreSettledByBothSides()
    {
        QFETCH(const Choice, choice);
        QFETCH(const FileItem, source);
        QFETCH(const FileItem, existing);
        QFETCH(const std::optional<Choice>, expected);
        QVERIFY(settled(choice, {source, existing}) == expected);
    }

    void folderOrLinkIsNeverContinued()
    {
        TransferConflict conflict{file(8, ""), file(7, "")};
        conflict.existing.isSymlink = true;
        QVERIFY(!conflict.canResume());
        conflict.existing.isSymlink = false;
        conflict.source.isDirectory = true;
        QVERIFY(!conflict.canResume());
    }

    void contentsPartAtALineOfTextsAndAByteOfOthers()
    {
        using Result = ContentComparison::Result;
        const auto parting = [](QByteArrayView one, QByteArrayView other) {
            const ContentComparison found = ContentComparison::of(one, other);
            return found.result == Result::same ? 0 : found.line.value_or(-found.byte.value_or(0));
        };
        QCOMPARE(parting("", ""), 0);
        QCOMPARE(parting("a\nb\n", "a\nb\n"), 0);
        QCOMPARE(parting("a\nb\n", "a\nc\n"), 2);
        QCOMPARE(parting("a\n", "a\nb"), 2);
        QCOMPARE(parting("", "a"), 1);
        QCOMPARE(parting(QByteArrayView("a\0b", 3), QByteArrayView("a\0c", 3)), -2);
        // Too large to be read: the sizes and checksums tell.
        const TestTree tree{{"a", QByteArray(6'000'000, 'a')}, {"b", QByteArray(6'000'000, 'b')}};
        LocalFileService disk;
        const auto item = [&](const char *name) { return *disk.stat(tree.path(name), {}); };
        QVERIFY(ContentComparison::of(disk, item("a"), disk, item("a"), {}).result == Result::same);
        QVERIFY(ContentComparison::of(disk, item("a"), disk, item("b"), {}).result == Result::different);
    }
};

MOORIX_TEST(TransferConflictTest)
#include "TransferConflictTest.moc"
