// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffEngine.h"
#include "compare/LineDifference.h"
#include "support/TestMain.h"

#include <QRandomGenerator>
#include <QSet>

#include <algorithm>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

QString leftOf(const QList<DiffRow> &rows)
{
    QStringList lines;
    for (const DiffRow &row : rows) {
        if (row.left)
            lines << *row.left;
    }
    return lines.join(u'\n');
}

QString rightOf(const QList<DiffRow> &rows)
{
    QStringList lines;
    for (const DiffRow &row : rows) {
        if (row.right)
            lines << *row.right;
    }
    return lines.join(u'\n');
}

/// "=a -b +c": what the rows do, in their order.
QString written(const QList<DiffRow> &rows)
{
    QStringList words;
    for (const DiffRow &row : rows)
        words << (row.op == DiffOp::equal    ? u'=' + *row.left
                  : row.op == DiffOp::insert ? u'+' + *row.right
                                             : u'-' + *row.left);
    return words.join(u' ');
}

/// How many lines two texts have in common in order, found by the definition.
qsizetype mostInCommon(const QStringList &a, const QStringList &b)
{
    std::vector<qsizetype> below(std::size_t(b.size()) + 1);
    for (const QString &line : a) {
        qsizetype diagonal = 0;
        for (std::size_t j = 0; j < std::size_t(b.size()); ++j) {
            const qsizetype longest = std::max(below[j + 1], below[j]);
            const qsizetype here = line == b.at(qsizetype(j)) ? diagonal + 1 : longest;
            diagonal = std::exchange(below[j + 1], here);
        }
    }
    return below.back();
}

/// Lines that differ from all of another text, but for one in the middle.
QString middle(const QString &name, int count, int common)
{
    QStringList lines;
    for (int i = 0; i < count; ++i)
        lines << (i == common ? u"common"_s : name + QString::number(i));
    return lines.join(u'\n');
}

} // namespace

class DiffEngineTest final : public QObject
{
    Q_OBJECT

private slots:
    void rowsOfRandomTextsRebuildBothWithTheFewestChanges()
    {
        QRandomGenerator random(7);
        for (int round = 0; round < 3000; ++round) {
            QStringList texts[2];
            // Few different lines make many alignments; more than 64 fill more than a word of the table.
            for (QStringList &lines : texts) {
                const int count = 1 + random.bounded(round % 15 == 0 ? 200 : 12);
                for (int i = 0; i < count; ++i)
                    lines << QString(QChar(u'a' + random.bounded(2 + round % 7)));
            }
            const QString a = texts[0].join(u'\n');
            const QString b = texts[1].join(u'\n');
            const QList<DiffRow> rows = DiffEngine::diff(a, b);
            QCOMPARE(leftOf(rows), a);
            QCOMPARE(rightOf(rows), b);
            const qsizetype common = mostInCommon(texts[0], texts[1]);
            const DiffEngine::Stats fewest{texts[1].size() - common, texts[0].size() - common};
            QCOMPARE(DiffEngine::stats(rows), fewest);
            QCOMPARE(DiffEngine::stats(DiffEngine::runs(DiffText(a), DiffText(b))), fewest);
            for (qsizetype i = 1; i < rows.size(); ++i)
                QVERIFY(rows.at(i).op != DiffOp::remove || rows.at(i - 1).op != DiffOp::insert);
        }
    }

    void linesEndAtLineFeedsOnlyAndEachRowHasAnIdOfItsOwn()
    {
        const std::tuple<QString, QString, QString> rows[] = {
            {u""_s, u""_s, u"="_s},
            {u""_s, u"a\nb"_s, u"- +a +b"_s},
            {u""_s, u"a\n\nb"_s, u"+a = +b"_s},
            {u"a"_s, u"a\n"_s, u"=a +"_s},
            {u"a\r\nb"_s, u"a\nb"_s, u"-a\r +a =b"_s},
            {u"a\nx\nb"_s, u"a\ny\nz\nb"_s, u"=a -x +y +z =b"_s},
            {u"a\na"_s, u"a"_s, u"=a -a"_s},
            {u"A"_s, u"a"_s, u"-A +a"_s},
        };
        QSet<QUuid> ids;
        for (const auto &[a, b, expected] : rows) {
            const QList<DiffRow> found = DiffEngine::diff(a, b);
            QCOMPARE(written(found), expected);
            for (const DiffRow &row : found) {
                QVERIFY(!row.id.isNull() && !ids.contains(row.id));
                ids << row.id;
            }
        }
    }

    void whatIsIgnoredMakesNoDifferenceAndAllElseDoes()
    {
        using enum DiffOptions::Space;
        const std::pair<QString, QString> pairs[] = {
            {u"a b"_s, u"a b \t\r"_s}, {u" a\tb"_s, u"   a b"_s}, {u"a b"_s, u"ab"_s}, {u"Grüße"_s, u"grüßE"_s}};
        const std::tuple<DiffOptions, QList<int>> rows[] = {
            {{compared, false}, {}},       {{ignoredAtEnds, false}, {0}}, {{amountIgnored, false}, {0, 1}},
            {{ignored, false}, {0, 1, 2}}, {{compared, true}, {3}},
        };
        for (const auto &[options, equal] : rows) {
            for (int i = 0; i < 4; ++i) {
                // Between lines of their own, so that a line that were lost or gained would show.
                const DiffText a(u"\n "_s + pairs[i].first + u"\n\n"_s);
                const DiffText b(u"\n "_s + pairs[i].second + u"\n\n"_s);
                const int changes = equal.contains(i) ? 0 : 1;
                QCOMPARE(DiffEngine::stats(DiffEngine::runs(a, b, options)), (DiffEngine::Stats{changes, changes}));
            }
        }
        const LineDifference found = LineDifference::of(u"IF  a == b", u"if a == c", {ignored, true});
        QCOMPARE(found.left, (QList<LineDifference::Stretch>{{9, 1}}));
    }

    void middlesBeyondFourMillionCellsAreNotAligned()
    {
        const std::tuple<int, int, bool> rows[] = {
            {1999, 1999, true}, {2001, 2001, false}, {1, 1'999'999, true}, {1, 2'000'000, false}};
        for (const auto &[n, m, isAligned] : rows) {
            const DiffText a(middle(u"l"_s, n, n / 2));
            const DiffText b(middle(u"r"_s, m, m / 2));
            const QList<DiffEngine::Run> runs = DiffEngine::runs(a, b);
            const DiffEngine::Stats expected{m - isAligned, n - isAligned};
            QCOMPARE(DiffEngine::stats(runs), expected);
            if (!isAligned)
                QCOMPARE(runs, (QList<DiffEngine::Run>{{DiffOp::remove, 0, 0, n}, {DiffOp::insert, n, 0, m}}));
        }
    }

    void wordsThatDifferAreMarkedUnlessNearlyAllDo()
    {
        using Marks = QList<LineDifference::Stretch>;
        const std::tuple<QString, QString, Marks, Marks> rows[] = {
            {u"port = 80;"_s, u"port = 8080;"_s, {{7, 2}}, {{7, 4}}},
            {u"a b c"_s, u"a b c"_s, {}, {}},
            {u"call(one, two)"_s, u"call(one)"_s, {{8, 5}}, {}},
            {u"keep old words here"_s, u"keep new things here"_s, {{5, 9}}, {{5, 10}}},
            {u"something"_s, u"entirely else"_s, {}, {}},
            {u"end"_s, u"end\r"_s, {}, {{3, 1}}},
            {QString(30'000, u'x') + u"1"_s, QString(30'000, u'x') + u"22"_s, {{30'000, 1}}, {{30'000, 2}}},
        };
        for (const auto &[left, right, leftMarks, rightMarks] : rows) {
            const LineDifference found = LineDifference::of(left, right);
            QCOMPARE(found.left, leftMarks);
            QCOMPARE(found.right, rightMarks);
        }
    }
};

MOORIX_TEST(DiffEngineTest)
#include "DiffEngineTest.moc"
