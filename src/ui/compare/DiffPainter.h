// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffLayout.h"
#include "compare/LineDifference.h"
#include "compare/LineWrap.h"

#include <QFont>
#include <QFontMetrics>
#include <QRect>
#include <QTextLayout>

#include <optional>

class QPainter;
class QWidget;

namespace moorix {

struct DiffContent;

/// Paints rows of two compared texts: line numbers, signs, and the lines with what differs in them. Lives as long as
/// one painting does.
class DiffPainter final
{
public:
    /// What is to be seen of a row beside its lines.
    struct State
    {
        /// The text that lines are selected in.
        DiffSide side = DiffSide::left;
        bool isSelected = false;
        bool isCurrent = false;
        bool hasKeyboard = false;
        /// A change begins here: lines can be copied from one side to the other.
        bool startsHunk = false;
        /// The button that the mouse is on, named by the side that it copies to.
        std::optional<DiffSide> hovered = std::nullopt;
    };

    /// In a view of this size; both texts are scrolled to the left by so many pixels, or wrapped.
    DiffPainter(const DiffContent &content, const QFont &font, QSize view, int scrolled, const LineWrap &wrap);

    static int rowHeight(const QFontMetrics &metrics) { return metrics.height() + 4; }
    /// Where the text of a side is in a row.
    QRect textRect(const QRect &row, DiffSide side) const;
    /// Between both sides.
    QRect stripRect(const QRect &row) const;
    /// Where the first row of a change has the button that copies lines to a side.
    QRect buttonRect(const QRect &row, DiffSide to) const;
    /// So many columns fit beside each other in a side.
    int columnsIn(int width) const;
    void paint(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, const State &state,
               const QString &needle) const;

private:
    QRect sideRect(const QRect &row, DiffSide side) const;
    void paintStrip(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, const State &state) const;
    void paintFold(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, const State &state) const;
    void paintSide(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, DiffSide side,
                   const QList<LineDifference::Stretch> &marks, const QString &needle) const;
    void paintText(QPainter &painter, const QRect &rect, QStringView line, const QList<QTextLayout::FormatRange> &marks,
                   const QString &needle, std::optional<bool> endsInReturn) const;
    void paintGutter(QPainter &painter, const QRect &rect, qsizetype line, QChar sign, const QColor &color) const;
    /// A stretch of a line. Returns how wide it is.
    int paintPart(QPainter &painter, const QRect &rect, QStringView part,
                  const QList<QTextLayout::FormatRange> &marks) const;
    void paintLineEnd(QPainter &painter, const QRect &rect, int x, bool isReturn) const;

    const DiffContent &m_content;
    QFont m_font;
    QFontMetrics m_metrics;
    int m_scrolled;
    const LineWrap &m_wrap;
    int m_gutter;
    int m_rowHeight;
    /// What is in sight.
    QRect m_window;
};

} // namespace moorix
