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

/// Where a part of a line holds the text, also where that begins before it or ends behind it.
QList<LineDifference::Stretch> hits(QStringView line, const QString &needle, qsizetype from, qsizetype to)
{
    QList<LineDifference::Stretch> found;
    if (needle.isEmpty())
        return found;
    const qsizetype start = std::max<qsizetype>(from - needle.size() + 1, 0);
    const QStringView part = line.sliced(start, std::min(to + needle.size() - 1, line.size()) - start);
    qsizetype at = part.indexOf(needle, 0, Qt::CaseInsensitive);
    for (; at >= 0; at = part.indexOf(needle, at + needle.size(), Qt::CaseInsensitive))
        found.append({start + at, needle.size()});
    return found;
}

int digitsOf(qsizetype count)
{
    return int(QString::number(count).size());
}

} // namespace

DiffPainter::DiffPainter(const DiffContent &content, const QFont &font, QSize view, int scrolled, const LineWrap &wrap)
    : m_content(content)
    , m_font(font)
    , m_metrics(m_font)
    , m_scrolled(scrolled)
    , m_wrap(wrap)
    , m_rowHeight(rowHeight(m_metrics))
    , m_window(QPoint(), view)
{
    const qsizetype most = std::max(content.left.text.lineCount(), content.right.text.lineCount());
    m_gutter = (std::max(digitsOf(most), 3) + 4) * m_metrics.horizontalAdvance(u'0');
}

QRect DiffPainter::stripRect(const QRect &row) const
{
    const int width = 2 * m_rowHeight + 4;
    return {row.left() + (row.width() - width) / 2, row.top(), width, row.height()};
}

QRect DiffPainter::buttonRect(const QRect &row, DiffSide to) const
{
    const QRect strip = stripRect(row);
    const int left = to == DiffSide::right ? strip.left() + 2 : strip.center().x() + 1;
    return QRect(left, strip.top(), m_rowHeight, m_rowHeight).adjusted(1, 1, -1, -1);
}

QRect DiffPainter::sideRect(const QRect &row, DiffSide side) const
{
    const QRect strip = stripRect(row);
    return side == DiffSide::left ? QRect(row.topLeft(), QPoint(strip.left() - 1, row.bottom()))
                                  : QRect(QPoint(strip.right() + 1, row.top()), row.bottomRight());
}

QRect DiffPainter::textRect(const QRect &row, DiffSide side) const
{
    return sideRect(row, side).adjusted(m_gutter, 0, -4, 0);
}

int DiffPainter::columnsIn(int width) const
{
    const QRect row(0, 0, width, 1);
    const int room = std::min(textRect(row, DiffSide::left).width(), textRect(row, DiffSide::right).width());
    return std::max(room / m_metrics.horizontalAdvance(u'0'), 8);
}

void DiffPainter::paint(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, const State &state,
                        const QString &needle) const
{
    painter.setFont(m_font);
    if (row.kind == Kind::fold) {
        paintFold(painter, rect, row, state);
        return;
    }
    paintStrip(painter, rect, row, state);
    LineDifference difference;
    if (row.kind == Kind::changed && row.left >= 0 && row.right >= 0)
        difference = LineDifference::of(m_content.left.text.shownLine(row.left),
                                        m_content.right.text.shownLine(row.right), m_content.options);
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

/// Where changes are, and the ways to take lines over.
void DiffPainter::paintStrip(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, const State &state) const
{
    const QRect strip = stripRect(rect);
    painter.fillRect(strip, Theme::color(Color::sidebar));
    painter.fillRect(QRect(strip.left(), strip.top(), 1, strip.height()), Theme::color(Color::border));
    painter.fillRect(QRect(strip.right(), strip.top(), 1, strip.height()), Theme::color(Color::border));
    if (row.kind != Kind::changed)
        return;
    painter.fillRect(strip.adjusted(1, 0, -1, 0), tinted(Color::accent, 0.12F));
    if (!state.startsHunk)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    for (const DiffSide to : {DiffSide::left, DiffSide::right}) {
        const QRectF button = buttonRect(rect, to);
        const bool isHovered = state.hovered == to;
        if (isHovered) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(Theme::color(Color::accent));
            painter.drawRoundedRect(button, 4, 4);
        }
        const qreal reach = button.height() * 0.22;
        const qreal forward = to == DiffSide::right ? reach : -reach;
        const QPointF tip = button.center() + QPointF(forward, 0);
        painter.setPen(QPen(Theme::color(isHovered ? Color::base : Color::mutedText), 1.6, Qt::SolidLine, Qt::RoundCap,
                            Qt::RoundJoin));
        painter.drawLine(button.center() - QPointF(forward, 0), tip);
        painter.drawPolyline(QPolygonF{tip + QPointF(-forward, -reach), tip, tip + QPointF(-forward, reach)});
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void DiffPainter::paintSide(QPainter &painter, const QRect &rect, const DiffLayout::Row &row, DiffSide side,
                            const QList<LineDifference::Stretch> &marks, const QString &needle) const
{
    const bool isLeft = side == DiffSide::left;
    const bool isChanged = row.kind == Kind::changed;
    const Color color = !isChanged ? Color::faintText : isLeft ? Color::danger : Color::success;
    paintGutter(painter, rect, row.line(side), !isChanged ? u' ' : isLeft ? u'−' : u'+', Theme::color(color));
    const DiffText &text = m_content.side(side).text;
    const qsizetype line = row.line(side);
    // Where both sides have the same line end, it tells nothing.
    std::optional<bool> endsInReturn;
    if (isChanged && row.left >= 0 && row.right >= 0 && line + 1 < text.lineCount() &&
        m_content.left.text.endsInReturn(row.left) != m_content.right.text.endsInReturn(row.right))
        endsInReturn = text.endsInReturn(line);
    const QStringView shown = text.shownLine(line);
    const QRect area = rect.adjusted(m_gutter, 0, -4, 0);
    painter.setClipRect(area);
    paintText(painter, area, shown, ranges(marks, tinted(isLeft ? Color::danger : Color::success, 0.38F)), needle,
              endsInReturn);
    painter.setClipping(false);
}

/// Only what is in sight is laid out, however long the line is.
void DiffPainter::paintText(QPainter &painter, const QRect &rect, QStringView line,
                            const QList<QTextLayout::FormatRange> &marks, const QString &needle,
                            std::optional<bool> endsInReturn) const
{
    constexpr qsizetype longest = 4000;
    const int width = m_metrics.horizontalAdvance(u'0');
    std::vector<qsizetype> starts{0};
    if (m_wrap.isOn())
        starts = m_wrap.starts(line);
    else if (line.size() > longest)
        starts = {std::min<qsizetype>(std::max(m_scrolled / width - 50, 0), line.size())};
    for (std::size_t i = 0; i < starts.size(); ++i) {
        const QRect area(rect.left(), rect.top() + int(i) * m_rowHeight, rect.width(), m_rowHeight);
        if (!area.intersects(m_window))
            continue;
        const qsizetype end = i + 1 < starts.size() ? starts[i + 1] : line.size();
        const QStringView part = line.sliced(starts[i], std::min(end - starts[i], longest));
        QList<QTextLayout::FormatRange> inPart;
        const QList<LineDifference::Stretch> found = hits(line, needle, starts[i], starts[i] + part.size());
        for (QTextLayout::FormatRange mark : marks + ranges(found, tinted(Color::warning, 0.55F))) {
            const qsizetype from = std::max<qsizetype>(mark.start - starts[i], 0);
            const qsizetype to = std::min<qsizetype>(mark.start + mark.length - starts[i], part.size());
            mark.start = int(from);
            mark.length = int(to - from);
            if (to > from)
                inPart.append(mark);
        }
        const int left = m_wrap.isOn() ? 0 : int(starts[i]) * width - m_scrolled;
        painter.setPen(Theme::color(Color::text));
        const int used = paintPart(painter, area.translated(left, 0), part, inPart);
        if (endsInReturn && starts[i] + part.size() == line.size())
            paintLineEnd(painter, area, area.left() + left + used, *endsInReturn);
    }
}

/// One side's line ends otherwise than the other's.
void DiffPainter::paintLineEnd(QPainter &painter, const QRect &rect, int x, bool isReturn) const
{
    const QString name = isReturn ? QStringLiteral("CRLF") : QStringLiteral("LF");
    QFont small = m_font;
    small.setPixelSize(std::max(QFontInfo(m_font).pixelSize() - 2, 7));
    const QFontMetrics metrics(small);
    QRect tag(0, 0, metrics.horizontalAdvance(name) + 8, rect.height() - 4);
    tag.moveTopLeft({std::min(x + 6, rect.right() - tag.width()), rect.top() + 2});
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::color(Color::toolBar));
    painter.drawRoundedRect(tag, 3, 3);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setFont(small);
    painter.setPen(Theme::color(Color::warning));
    painter.drawText(tag, int(Qt::AlignCenter), name);
    painter.setFont(m_font);
}

void DiffPainter::paintGutter(QPainter &painter, const QRect &rect, qsizetype line, QChar sign,
                              const QColor &color) const
{
    const int width = m_metrics.horizontalAdvance(u'0');
    const QRect first(rect.left(), rect.top(), m_gutter, m_rowHeight);
    painter.setPen(color);
    painter.drawText(first.adjusted(0, 0, -3 * width, 0), int(Qt::AlignVCenter | Qt::AlignRight),
                     QString::number(line + 1));
    painter.drawText(first.adjusted(m_gutter - 2 * width, 0, 0, 0), int(Qt::AlignVCenter | Qt::AlignLeft), sign);
}

int DiffPainter::paintPart(QPainter &painter, const QRect &rect, QStringView part,
                           const QList<QTextLayout::FormatRange> &marks) const
{
    QTextLayout layout(visible(part), m_font);
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
    return made.isValid() ? int(made.naturalTextWidth()) : 0;
}

} // namespace moorix
