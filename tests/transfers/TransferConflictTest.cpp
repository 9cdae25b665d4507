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
    item.name = u"%1 bytes, %2"_s.arg(size).arg(QLatin1String(time));
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
    void conditionsAreSettledByBothSides()
    {
        struct Row
        {
            Choice choice;
            FileItem source;
            FileItem existing;
            std::optional<Choice> expected;
        };
        using enum Choice;
        const Row rows[] = {
            {overwriteOlder, file(1, "12:00:02"), file(1, "12:00:01"), overwrite},
            {overwriteOlder, file(1, "12:00:01"), file(1, "12:00:02"), skip},
            // The same minute, as a server tells it.
            {overwriteOlder, file(1, "12:00:59"), file(1, "12:00:00"), skip},
            {overwriteOlder, file(1, "12:01:00"), file(1, "12:00:00"), overwrite},
            {overwriteOlder, file(1, "12:00:00"), file(1, ""), std::nullopt},
            {overwriteOtherSize, file(7, ""), file(7, ""), skip},
            {overwriteOtherSize, file(7, ""), file(8, ""), overwrite},
            {resume, file(8, ""), file(7, ""), resume},
            {resume, file(8, ""), file(8, ""), skip},
            {resume, file(7, ""), file(8, ""), std::nullopt},
            {resume, file(7, ""), file(0, ""), std::nullopt},
        };
        for (const Row &row : rows)
            QVERIFY2(settled(row.choice, {row.source, row.existing}) == row.expected, qPrintable(row.existing.name));
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
