// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffPainter.h"

#include "compare/DiffLoader.h"
#include "ui/Theme.h"

#include <QCoreApplication>
#include <QLocale>
#include <QPainter>
#include <QWidget>

#include <algorithm>

namespace moorix {

namespace {

using Kind = DiffLayout::Row::Kind;
using Color = Theme::Color;

QColor tinted(Color color, float strength)
{
    QColor tint = Theme::color(color);
    tint.setAlphaF(strength);
    return tint;
}

/// Characters that would not be seen, or would change the order of others, get a sign. One for one.
QString visible(QStringView line)
{
    QString text = line.toString();
    for (QChar &character : text) {
        const char16_t code = character.unicode();
        if (code < 0x20 && code != u'\t')
            character = QChar(char16_t(0x2400 + code));
        else if (code == 0x7f)
            character = QChar(u'\u2421');
        else if (character.category() == QChar::Other_Format && code != 0x200d)
            character = QChar(u'\ufffd');
    }
    return text;
}

QList<QTextLayout::FormatRange> ranges(const QList<LineDifference::Stretch> &stretches, const QColor &ground)
{
    QList<QTextLayout::FormatRange> made;
    for (const LineDifference::Stretch &stretch : stretches) {
        QTextLayout::FormatRange range;
        range.start = int(stretch.start);
        range.length = int(stretch.length);
        range.format.setBackground(ground);
        made.append(range);
    }
    return made;
}

QList<LineDifference::Stretch> hits(QStringView line, const QString &needle)
{
    constexpr qsizetype most = 1000;
    QList<LineDifference::Stretch> found;
    if (needle.isEmpty())
        return found;
    qsizetype at = line.indexOf(needle, 0, Qt::CaseInsensitive);
    for (; at >= 0 && found.size() < most; at = line.indexOf(needle, at + needle.size(), Qt::CaseInsensitive))
        found.append({at, needle.size()});
    return found;
}

int digitsOf(qsizetype count)
{
    return int(QString::number(count).size());
}

} // namespace

DiffPainter::DiffPainter(const DiffContent &content, const QWidget &view, int scrolled)
    : m_content(content)
    , m_font(view.font())
    , m_metrics(m_font)
    , m_scrolled(scrolled)
{
    const qsizetype most = std::max(content.left.text.lineCount(), content.right.text.lineCount());
    m_gutter = (std::max(digitsOf(most), 3) + 4) * m_metrics.horizontalAdvance(u'0');
}

QRect DiffPainter::sideRect(const QRect &row, DiffSide side) const
{
    const int half = row.width() / 2;
    return side == DiffSide::left ? QRect(0, row.top(), half, row.height())
                                  : QRect(half + 1, row.top(), row.width() - half - 1, row.height());
}

QRect DiffPainter::textRect(const QRect &row, DiffSide side) const
{
    return sideRect(row, side).adjusted(m_gutter, 0, -4, 0);
}

void DiffPainter::paint(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, const State &state,
                        const QString &needle) const
{
    painter.setFont(m_font);
    if (row.kind == Kind::fold) {
        paintFold(painter, rect, row, state);
        return;
    }
    LineDifference difference;
    if (row.kind == Kind::changed && row.left >= 0 && row.right >= 0)
        difference = LineDifference::of(m_content.left.text.line(row.left), m_content.right.text.line(row.right));
    for (const DiffSide side : {DiffSide::left, DiffSide::right}) {
        const QRect half = sideRect(rect, side);
        const bool isLeft = side == DiffSide::left;
        if (row.kind == Kind::changed) {
            const Color tint = row.line(side) < 0 ? Color::mutedText : isLeft ? Color::danger : Color::success;
            painter.fillRect(half, tinted(tint, row.line(side) < 0 ? 0.06F : 0.13F));
        }
        if (state.isSelected && state.side == side) {
            const bool isSeveral = !state.isCurrent || state.hasKeyboard;
            painter.fillRect(half, isSeveral ? tinted(Color::accent, state.hasKeyboard ? 0.24F : 0.14F)
                                             : tinted(Color::accent, 0.08F));
        }
        if (row.line(side) >= 0)
            paintSide(painter, half, row, side, isLeft ? difference.left : difference.right, needle);
        if (state.isCurrent && state.side == side && state.hasKeyboard)
            painter.fillRect(QRect(half.topLeft(), QSize(3, half.height())), Theme::color(Color::accent));
    }
}

void DiffPainter::paintFold(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, const State &state) const
{
    painter.fillRect(rect, Theme::color(state.isCurrent ? Color::hover : Color::sidebar));
    if (state.isCurrent && state.hasKeyboard)
        painter.fillRect(QRect(rect.topLeft(), QSize(3, rect.height())), Theme::color(Color::accent));
    painter.setPen(Theme::color(Color::mutedText));
    const QString text =
        QCoreApplication::translate("DiffPainter", "⋯  %1 equal lines").arg(QLocale().toString(row.folded));
    painter.drawText(textRect(rect, DiffSide::left), int(Qt::AlignVCenter | Qt::AlignLeft), text);
}

void DiffPainter::paintSide(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, DiffSide side,
                            const QList<LineDifference::Stretch> &marks, const QString &needle) const
{
    const bool isLeft = side == DiffSide::left;
    const bool isChanged = row.kind == Kind::changed;
    const Color color = !isChanged ? Color::faintText : isLeft ? Color::danger : Color::success;
    paintGutter(painter, rect, row.line(side), !isChanged ? u' ' : isLeft ? u'−' : u'+', Theme::color(color));
    const DiffText &text = isLeft ? m_content.left.text : m_content.right.text;
    QStringView line = text.line(row.line(side));
    // Both sides have it, so it tells nothing.
    const bool endsAlike =
        !isChanged || row.left < 0 || row.right < 0 ||
        m_content.left.text.line(row.left).endsWith(u'\r') == m_content.right.text.line(row.right).endsWith(u'\r');
    if (endsAlike && line.endsWith(u'\r'))
        line.chop(1);
    // Of a very long line only the part in sight is laid out.
    constexpr qsizetype longest = 4000;
    const int width = m_metrics.horizontalAdvance(u'0');
    const qsizetype first =
        line.size() <= longest ? 0 : std::min<qsizetype>(std::max(m_scrolled / width - 50, 0), line.size());
    const QStringView part = line.sliced(first).left(longest);
    QList<LineDifference::Stretch> inPart;
    for (const LineDifference::Stretch &mark : marks) {
        const qsizetype start = std::max<qsizetype>(mark.start - first, 0);
        const qsizetype end = std::min(mark.start + mark.length - first, part.size());
        if (end > start)
            inPart.append({start, end - start});
    }
    const QRect textArea = rect.adjusted(m_gutter, 0, -4, 0);
    painter.setClipRect(textArea);
    painter.setPen(Theme::color(Color::text));
    paintLine(painter, textArea.translated(int(first) * width - m_scrolled, 0), visible(part),
              ranges(inPart, tinted(isLeft ? Color::danger : Color::success, 0.38F)) +
                  ranges(hits(part, needle), tinted(Color::warning, 0.55F)));
    painter.setClipping(false);
}

void DiffPainter::paintGutter(QPainter &painter, const QRect &rect, qsizetype line, QChar sign,
                              const QColor &color) const
{
    const int width = m_metrics.horizontalAdvance(u'0');
    painter.setPen(color);
    painter.drawText(rect.adjusted(0, 0, m_gutter - rect.width() - 3 * width, 0),
                     int(Qt::AlignVCenter | Qt::AlignRight), QString::number(line + 1));
    painter.drawText(rect.adjusted(m_gutter - 2 * width, 0, 0, 0), int(Qt::AlignVCenter | Qt::AlignLeft), sign);
}

void DiffPainter::paintLine(QPainter &painter, const QRect &rect, const QString &line,
                            const QList<QTextLayout::FormatRange> &marks) const
{
    QTextLayout layout(line, m_font);
    QTextOption option(Qt::AlignLeft);
    option.setTextDirection(Qt::LeftToRight);
    option.setWrapMode(QTextOption::NoWrap);
    option.setTabStopDistance(DiffContent::tabWidth * m_metrics.horizontalAdvance(u'0'));
    layout.setTextOption(option);
    layout.setFormats(marks);
    layout.setCacheEnabled(false);
    layout.beginLayout();
    QTextLine made = layout.createLine();
    if (made.isValid())
        made.setLineWidth(1e7);
    layout.endLayout();
    layout.draw(&painter, QPointF(rect.left(), rect.top() + (rect.height() - m_metrics.height()) / 2.0));
}

} // namespace moorix
