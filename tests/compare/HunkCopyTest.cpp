// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffEdits.h"
#include "compare/DiffHeights.h"
#include "compare/DiffLoader.h"
#include "support/TestMain.h"

#include <QRandomGenerator>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

DiffContent compared(const QString &left, const QString &right)
{
    DiffContent::Side sides[2];
    sides[0].text = DiffText(left);
    sides[1].text = DiffText(right);
    for (DiffContent::Side &side : sides)
        side.encoding = TextEncoding::utf8;
    return DiffLoader::compare(sides[0], sides[1], {}, neverStops);
}

/// Copies the first change, if any.
bool copyFirst(DiffEdits &edits, DiffSide to)
{
    const DiffText left(edits.text(DiffSide::left));
    const DiffText right(edits.text(DiffSide::right));
    const DiffLayout layout(DiffEngine::runs(left, right));
    const std::vector<qsizetype> changes = layout.changes();
    if (changes.empty())
        return false;
    edits.apply(hunkCopy(left, right, *layout.hunkAt(changes.front()), to));
    return true;
}

QString randomText(QRandomGenerator &random, const QString &lineEnd)
{
    QStringList lines;
    for (int count = random.bounded(9); count >= 0; --count)
        lines << QString(random.bounded(3), QChar(u'a' + random.bounded(3)));
    return lines.join(lineEnd);
}

} // namespace

/// Changes that are taken over from one text to the other.
class HunkCopyTest final : public QObject
{
    Q_OBJECT

private slots:
    void textsBecomeAlikeChangeByChangeAndWhatTheyWereAgain()
    {
        QRandomGenerator random(3);
        for (int round = 0; round < 3000; ++round) {
            const QString lineEnd = round % 2 == 0 ? u"\n"_s : u"\r\n"_s;
            const QString texts[] = {randomText(random, lineEnd), randomText(random, lineEnd)};
            DiffEdits edits;
            edits.setRead(DiffSide::left, texts[0]);
            edits.setRead(DiffSide::right, texts[1]);
            int steps = 0;
            while (copyFirst(edits, random.bounded(2) == 0 ? DiffSide::left : DiffSide::right))
                QVERIFY(++steps < 20);
            QCOMPARE(edits.text(DiffSide::left), edits.text(DiffSide::right));
            const QString common = edits.text(DiffSide::left);
            for (int step = 0; step < steps; ++step)
                edits.undo();
            QVERIFY(!edits.canUndo() && !edits.isChanged());
            for (int step = 0; step < steps; ++step)
                edits.redo();
            QCOMPARE(edits.text(DiffSide::left), common);
            QCOMPARE(edits.isChanged(DiffSide::right), common != texts[1]);
        }
    }

    void linesEndAsTheTextDoesThatTheyComeInto()
    {
        const std::tuple<QString, QString, QString> rows[] = {
            {u"a\nb\nc"_s, u"a\r\nb"_s, u"a\r\nb\r\nc"_s},
            {u"a\nb"_s, u"a\r\nb\r\nc"_s, u"a\r\nb"_s},
            {u"x\r\ny\r\n"_s, u"1\n"_s, u"x\ny\n"_s},
            {u"x\r\n"_s, u"one"_s, u"x\r\n"_s},
            {u"a\r\nb\r\n"_s, u"a\nb\r\n"_s, u"a\r\nb\r\n"_s},
            {u""_s, u"a\r\nb"_s, u""_s},
            {u"a\n"_s, u"a"_s, u"a\n"_s},
        };
        for (const auto &[left, right, expected] : rows) {
            DiffEdits edits;
            edits.setRead(DiffSide::left, left);
            edits.setRead(DiffSide::right, right);
            const DiffText source(left);
            const DiffLayout layout(DiffEngine::runs(source, DiffText(right)));
            std::vector<qsizetype> changes = layout.changes();
            // From the end on, so that the places of those before stay what they are.
            for (; !changes.empty(); changes.pop_back()) {
                const DiffText target(edits.text(DiffSide::right));
                edits.apply(hunkCopy(source, target, *layout.hunkAt(changes.back()), DiffSide::right));
            }
            QCOMPARE(edits.text(DiffSide::right), expected);
        }
    }

    void whatWasReadElsewhereEndsTheSteps()
    {
        DiffEdits edits;
        edits.setRead(DiffSide::left, u"a"_s);
        edits.setRead(DiffSide::right, u"b"_s);
        QVERIFY(copyFirst(edits, DiffSide::right));
        edits.setSaved(DiffSide::right, u"a"_s);
        edits.setRead(DiffSide::right, u"a"_s);
        QVERIFY(edits.canUndo() && !edits.isChanged());
        edits.undo();
        QVERIFY(edits.isChanged(DiffSide::right));
        edits.redo();
        edits.setRead(DiffSide::right, u"c"_s);
        QVERIFY(!edits.canUndo() && !edits.canRedo());
        QCOMPARE(edits.text(DiffSide::right), u"c"_s);
    }

    void rowsAreAsHighAsTheLongerLineAndNothingOfALineIsLost()
    {
        const LineWrap wrap(10);
        const std::pair<QString, std::vector<qsizetype>> lines[] = {
            {u""_s, {0}},
            {u"0123456789"_s, {0}},
            {u"01234567890"_s, {0, 10}},
            {u"word by word here"_s, {0, 8}},
            {u"0123456789 x"_s, {0, 11}},
            {u"a\tb\tc"_s, {0, 4}},
            {u"漢字漢字漢字"_s, {0, 5}},
        };
        for (const auto &[line, starts] : lines) {
            QCOMPARE(wrap.starts(line), starts);
            QCOMPARE(wrap.count(line), qsizetype(starts.size()));
        }
        const QString wide(25, u'x');
        const DiffContent content = compared(u"same\n"_s + wide + u"\nleft"_s, u"same\nright\n"_s + wide + wide);
        const DiffLayout layout(content.runs);
        const DiffHeights heights(content, layout, wrap);
        QCOMPARE(layout.rowCount(), 3);
        QCOMPARE(heights.total(), 1 + 3 + 5);
        for (qsizetype row = 0; row < 3; ++row) {
            QCOMPARE(heights.rowAt(heights.top(row)), row);
            QCOMPARE(heights.rowAt(heights.top(row + 1) - 1), row);
        }
        QCOMPARE(heights.rowAt(100), 2);
        QCOMPARE(DiffHeights(content, layout, LineWrap()).total(), 3);
    }
};

MOORIX_TEST(HunkCopyTest)
#include "HunkCopyTest.moc"
