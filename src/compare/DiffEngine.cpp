// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffEngine.h"

#include "compare/CommonSequence.h"

#include <QRandomGenerator>

#include <algorithm>

namespace moorix {

namespace {

using DiffEngine::Run;

/// The lines of both texts between their common beginning and end.
struct Middle
{
    qsizetype start = 0;
    qsizetype leftEnd = 0;
    qsizetype rightEnd = 0;

    qsizetype leftCount() const { return leftEnd - start; }
    qsizetype rightCount() const { return rightEnd - start; }
    bool hasBoth() const { return leftCount() > 0 && rightCount() > 0; }
    bool fitsTable() const { return qint64(leftCount() + 1) * qint64(rightCount() + 1) <= DiffEngine::maxCells; }
};

Middle middleOf(const DiffText &a, const DiffText &b)
{
    Middle middle{0, a.lineCount(), b.lineCount()};
    const qsizetype shorter = std::min(a.lineCount(), b.lineCount());
    while (middle.start < shorter && a.line(middle.start) == b.line(middle.start))
        ++middle.start;
    while (middle.leftEnd > middle.start && middle.rightEnd > middle.start &&
           a.line(middle.leftEnd - 1) == b.line(middle.rightEnd - 1)) {
        --middle.leftEnd;
        --middle.rightEnd;
    }
    return middle;
}

std::vector<QStringView> lines(const DiffText &text, qsizetype from, qsizetype to)
{
    std::vector<QStringView> found;
    found.reserve(std::size_t(to - from));
    for (qsizetype line = from; line < to; ++line)
        found.push_back(text.line(line));
    return found;
}

/// Takes equal lines one by one; what lies between them was deleted and inserted.
class RunList final
{
public:
    void addEqual(qsizetype left, qsizetype right, qsizetype count = 1)
    {
        closeGap(left, right);
        add({DiffOp::equal, left, right, count});
        m_left = left + count;
        m_right = right + count;
    }

    /// All up to these lines that was not equal.
    void closeGap(qsizetype left, qsizetype right)
    {
        add({DiffOp::remove, m_left, m_right, left - m_left});
        add({DiffOp::insert, left, m_right, right - m_right});
        m_left = left;
        m_right = right;
    }

    QList<Run> take() { return std::move(m_runs); }

private:
    void add(const Run &run)
    {
        if (run.count == 0)
            return;
        if (!m_runs.isEmpty() && m_runs.constLast().op == run.op)
            m_runs.last().count += run.count;
        else
            m_runs.append(run);
    }

    QList<Run> m_runs;
    qsizetype m_left = 0;
    qsizetype m_right = 0;
};

void alignMiddle(RunList &runs, const DiffText &a, const DiffText &b, const Middle &middle)
{
    const auto [left, right] =
        commonSequence::numbered(lines(a, middle.start, middle.leftEnd), lines(b, middle.start, middle.rightEnd));
    for (const auto &[leftLine, rightLine] : commonSequence::longest(left, right))
        runs.addEqual(middle.start + leftLine, middle.start + rightLine);
}

/// Fresh random identifiers, for millions of rows: asking the system for each takes longer than all the rest.
class RowIds final
{
public:
    QUuid next()
    {
        quint32 words[4];
        m_random.fillRange(words);
        const auto byte = [&words](int index) { return uchar(words[index / 4] >> (index % 4 * 8)); };
        const auto version = ushort((words[1] & 0x0fff) | 0x4000);
        const auto variant = uchar((byte(8) & 0x3f) | 0x80);
        return {words[0], ushort(words[1] >> 16),
                version,  variant,
                byte(9),  byte(10),
                byte(11), byte(12),
                byte(13), byte(14),
                byte(15)};
    }

private:
    QRandomGenerator m_random = QRandomGenerator::securelySeeded();
};

DiffRow rowOf(const QUuid &id, DiffOp op, const DiffText &a, qsizetype left, const DiffText &b, qsizetype right)
{
    DiffRow row{id, op, {}, {}};
    if (op != DiffOp::insert)
        row.left = a.line(left).toString();
    if (op == DiffOp::equal)
        row.right = row.left;
    else if (op == DiffOp::insert)
        row.right = b.line(right).toString();
    return row;
}

QList<Run> exactRuns(const DiffText &a, const DiffText &b)
{
    const Middle middle = middleOf(a, b);
    RunList runs;
    runs.addEqual(0, 0, middle.start);
    if (middle.hasBoth() && middle.fitsTable())
        alignMiddle(runs, a, b, middle);
    runs.addEqual(middle.leftEnd, middle.rightEnd, a.lineCount() - middle.leftEnd);
    return runs.take();
}

} // namespace

QList<Run> DiffEngine::runs(const DiffText &a, const DiffText &b, const DiffOptions &options)
{
    if (options.isExact())
        return exactRuns(a, b);
    return exactRuns(DiffText(options.compared(a.text())), DiffText(options.compared(b.text())));
}

QList<DiffRow> DiffEngine::diff(const QString &a, const QString &b)
{
    const DiffText left(a);
    const DiffText right(b);
    const QList<Run> found = runs(left, right);
    QList<DiffRow> rows;
    qsizetype count = 0;
    for (const Run &run : found)
        count += run.count;
    rows.reserve(count);
    RowIds ids;
    for (const Run &run : found) {
        for (qsizetype i = 0; i < run.count; ++i)
            rows.append(rowOf(ids.next(), run.op, left, run.left + i, right, run.right + i));
    }
    return rows;
}

DiffEngine::Stats DiffEngine::stats(const QList<DiffRow> &rows)
{
    return {std::ranges::count(rows, DiffOp::insert, &DiffRow::op),
            std::ranges::count(rows, DiffOp::remove, &DiffRow::op)};
}

DiffEngine::Stats DiffEngine::stats(const QList<Run> &runs)
{
    Stats stats;
    for (const Run &run : runs) {
        if (run.op == DiffOp::insert)
            stats.added += run.count;
        else if (run.op == DiffOp::remove)
            stats.removed += run.count;
    }
    return stats;
}

} // namespace moorix
