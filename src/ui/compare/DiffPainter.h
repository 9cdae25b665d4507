// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffLayout.h"
#include "compare/LineDifference.h"

#include <QFont>
#include <QFontMetrics>
#include <QRect>
#include <QTextLayout>

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
    };

    /// Both texts are scrolled to the left by so many pixels.
    DiffPainter(const DiffContent &content, const QWidget &view, int scrolled);

    static int rowHeight(const QFontMetrics &metrics) { return metrics.height() + 4; }
    /// Where the text of a side is in a row.
    QRect textRect(const QRect &row, DiffSide side) const;
    void paint(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, const State &state,
               const QString &needle) const;

private:
    QRect sideRect(const QRect &row, DiffSide side) const;
    void paintFold(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, const State &state) const;
    void paintSide(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, DiffSide side,
                   const QList<LineDifference::Stretch> &marks, const QString &needle) const;
    void paintGutter(QPainter &painter, const QRect &rect, qsizetype line, QChar sign, const QColor &color) const;
    void paintLine(QPainter &painter, const QRect &rect, const QString &line,
                   const QList<QTextLayout::FormatRange> &marks) const;

    const DiffContent &m_content;
    QFont m_font;
    QFontMetrics m_metrics;
    int m_scrolled;
    int m_gutter;
};

} // namespace moorix
