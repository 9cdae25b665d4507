// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalPainter.h"

#include "ui/terminal/TerminalBoxDrawing.h"

#include <QGlyphRun>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace moorix {

namespace {

bool contains(const TerminalRange &range, TerminalPoint point)
{
    if (range.isEmpty())
        return false;
    if (range.block)
        return point.line >= range.start.line && point.line <= range.end.line && point.column >= range.start.column &&
               point.column < range.end.column;
    return point >= range.start && point < range.end;
}

/// The blocks whose characters take two columns; for texts that no emulator has measured.
bool isWide(char32_t character)
{
    constexpr std::pair<char32_t, char32_t> blocks[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},
                                                        {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},
                                                        {0xFF01, 0xFF60},   {0xFFE0, 0xFFE6},   {0x1F300, 0x1F64F},
                                                        {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
    return std::any_of(std::begin(blocks), std::end(blocks), [character](const auto &block) {
        return character >= block.first && character <= block.second;
    });
}

TerminalFont::Face faceOf(const TerminalStyle &style)
{
    return {style.bold, style.italic};
}

} // namespace

TerminalPainter::TerminalPainter(QPainter &painter, const TerminalEmulator &emulator, const TerminalScene &scene,
                                 const TerminalPalette &palette, TerminalFont &font)
    : m_painter(painter)
    , m_emulator(emulator)
    , m_scene(scene)
    , m_palette(palette)
    , m_font(font)
{
}

QRgb TerminalPainter::ground() const
{
    return m_scene.isReversed ? m_palette.foreground() : m_palette.background();
}

void TerminalPainter::paint(const QRectF &area, const QRectF &whole)
{
    m_painter.fillRect(area, QColor::fromRgb(ground()));
    for (const TerminalFrame::Row &row : m_scene.frame.rows()) {
        if (!m_scene.geometry.rect({row.line, 0}, m_scene.geometry.columns).intersects(area))
            continue;
        onLine(row.line, row.size, [&] { paintRow(row); });
    }
    paintOverlay();
    const qint64 cursorLine = m_scene.cursorPosition().line;
    onLine(cursorLine, sizeOf(cursorLine), [this] { paintCursor(); });
    paintPreedit();
    if (m_scene.flash > 0) {
        QColor flash = QColor::fromRgb(m_palette.foreground());
        flash.setAlphaF(float(m_scene.flash) * 0.16F);
        m_painter.fillRect(whole, flash);
    }
}

/// What `paint` paints on a line as if it were a single one comes to its real size.
void TerminalPainter::onLine(qint64 line, TerminalLineSize size, const std::function<void()> &paint)
{
    if (size == TerminalLineSize::single) {
        paint();
        return;
    }
    const QRectF place = m_scene.geometry.rectUnscaled({line, 0}, m_scene.geometry.columns);
    const bool isTall = size != TerminalLineSize::wide;
    m_painter.save();
    m_painter.setClipRect(place, Qt::IntersectClip);
    m_painter.translate(place.x(), place.y() - (size == TerminalLineSize::lowerHalf ? place.height() : 0));
    m_painter.scale(2, isTall ? 2 : 1);
    m_painter.translate(-place.topLeft());
    paint();
    m_painter.restore();
}

TerminalLineSize TerminalPainter::sizeOf(qint64 line) const
{
    const TerminalFrame::Row *const row = m_scene.frame.rowOf(line);
    return row ? row->size : TerminalLineSize::single;
}

TerminalPalette::Mark TerminalPainter::markOf(TerminalPoint point) const
{
    using enum TerminalPalette::Mark;
    if (contains(m_scene.selection, point))
        return selected;
    if (contains(m_scene.currentHit, point))
        return foundCurrent;
    const bool isHit = std::any_of(m_scene.hits.cbegin(), m_scene.hits.cend(),
                                   [point](const TerminalRange &hit) { return contains(hit, point); });
    return isHit ? found : none;
}

void TerminalPainter::paintRow(const TerminalFrame::Row &row)
{
    look(row);
    paintGrounds(row.line);
    addText(row);
    drawBatches();
    drawDecorations(row);
}

/// What each cell of the row looks like, marks included.
void TerminalPainter::look(const TerminalFrame::Row &row)
{
    const auto isOnLine = [line = row.line](const TerminalRange &range) {
        return !range.isEmpty() && line >= range.start.line && line <= range.end.line;
    };
    const bool isMarked = isOnLine(m_scene.selection) || isOnLine(m_scene.currentHit) ||
                          std::any_of(m_scene.hits.cbegin(), m_scene.hits.cend(), isOnLine);
    m_looks.resize(row.cells.size());
    const TerminalStyle *last = nullptr;
    TerminalPalette::Pair pair;
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        const TerminalStyle &style = row.cells[i].style;
        if (!last || *last != style)
            pair = m_palette.pair(style, m_scene.isReversed);
        last = &style;
        Look &look = m_looks[i];
        look.colors = isMarked ? m_palette.marked(pair, markOf({row.line, int(i)})) : pair;
        look.isTextShown = !style.hidden && (!style.blink || m_scene.showsBlinking);
        // Both halves of a wide character are marked together.
        if (row.cells[i].width == 0 && i > 0)
            look.colors.ground = m_looks[i - 1].colors.ground;
    }
}

void TerminalPainter::paintGrounds(qint64 line)
{
    const QRgb usual = ground();
    for (std::size_t i = 0; i < m_looks.size();) {
        const QRgb color = m_looks[i].colors.ground;
        std::size_t end = i + 1;
        while (end < m_looks.size() && m_looks[end].colors.ground == color)
            ++end;
        if (color != usual)
            m_painter.fillRect(m_scene.geometry.rectUnscaled({line, int(i)}, int(end - i)), QColor::fromRgb(color));
        i = end;
    }
}

void TerminalPainter::addText(const TerminalFrame::Row &row)
{
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        const TerminalCell &cell = row.cells[i];
        if (cell.character == 0 || cell.character == U' ' || cell.width == 0 || !m_looks[i].isTextShown)
            continue;
        const QRectF cells = m_scene.geometry.rectUnscaled({row.line, int(i)}, cell.width);
        if (cell.character >= TerminalCell::clusterBase)
            m_font.drawPicture(m_painter, m_emulator.text(cell), faceOf(cell.style), cells, m_looks[i].colors.text);
        else
            addCharacter(cell.character, faceOf(cell.style), cells, m_looks[i].colors.text);
    }
}

void TerminalPainter::addCharacter(char32_t character, TerminalFont::Face face, const QRectF &cells, QRgb color)
{
    if (TerminalBoxDrawing::draws(character)) {
        TerminalBoxDrawing::draw(m_painter, character, cells, QColor::fromRgb(color), m_font.ratio());
        return;
    }
    const int columns = qRound(cells.width() / m_font.cell().width());
    const TerminalFont::Glyph &glyph = m_font.glyph(character, face, columns);
    if (glyph.kind == TerminalFont::Glyph::Kind::picture)
        m_font.drawPicture(m_painter, QString::fromUcs4(&character, 1), face, cells, color);
    if (glyph.kind != TerminalFont::Glyph::Kind::glyph)
        return;
    auto batch = std::find_if(m_batches.begin(), m_batches.end(),
                              [&](const Batch &known) { return known.font == glyph.font && known.color == color; });
    if (batch == m_batches.end())
        batch = m_batches.insert(m_batches.end(), Batch{glyph.font, color, {}, {}});
    batch->indexes.push_back(glyph.index);
    batch->positions.push_back(cells.topLeft() + QPointF(0, m_font.ascent()) + glyph.offset);
}

void TerminalPainter::drawBatches()
{
    for (const Batch &batch : m_batches) {
        QGlyphRun run;
        run.setRawFont(m_font.rawFont(batch.font));
        run.setRawData(batch.indexes.data(), batch.positions.data(), int(batch.indexes.size()));
        m_painter.setPen(QColor::fromRgb(batch.color));
        m_painter.drawGlyphRun({}, run);
    }
    m_batches.clear();
}

void TerminalPainter::drawDecorations(const TerminalFrame::Row &row)
{
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        const TerminalStyle &style = row.cells[i].style;
        const QRectF cell = m_scene.geometry.rectUnscaled({row.line, int(i)});
        const QRgb color = m_looks[i].colors.text;
        if (style.underline != TerminalUnderline::none && m_looks[i].isTextShown)
            drawUnderline(style.underline, cell, color);
        else if (contains(m_scene.link, {row.line, int(i)}))
            drawUnderline(TerminalUnderline::single, cell, color);
        if (style.strike && m_looks[i].isTextShown)
            m_painter.fillRect(
                QRectF(cell.x(), cell.y() + m_font.ascent() - m_font.strikeOffset(), cell.width(), m_font.lineWidth()),
                QColor::fromRgb(color));
    }
}

void TerminalPainter::drawUnderline(TerminalUnderline kind, const QRectF &cells, QRgb color)
{
    const double width = m_font.lineWidth();
    const double y = cells.y() + m_font.ascent() + m_font.underlineOffset();
    if (kind == TerminalUnderline::curly) {
        const double step = cells.width() / 2;
        const double swing = std::min(2 * width, cells.bottom() - y - width / 2);
        QPainterPath path(QPointF(cells.x(), y));
        path.quadTo(cells.x() + step / 2, y - swing * 1.5, cells.x() + step, y);
        path.quadTo(cells.x() + step * 1.5, y + swing * 1.5, cells.right(), y);
        m_painter.setRenderHint(QPainter::Antialiasing);
        m_painter.strokePath(path, QPen(QColor::fromRgb(color), width));
        m_painter.setRenderHint(QPainter::Antialiasing, false);
        return;
    }
    const auto line = [&](double top) {
        m_painter.fillRect(QRectF(cells.x(), top, cells.width(), width), QColor::fromRgb(color));
    };
    if (kind == TerminalUnderline::twofold) {
        const double second = std::min(y + 2 * width, cells.bottom() - width);
        line(second - 2 * width);
        line(second);
    } else {
        line(y);
    }
}

/// A text that is not on the screen.
void TerminalPainter::paintText(const QString &text, TerminalPoint at, TerminalPalette::Pair colors, QRgb underline)
{
    if (!m_scene.geometry.shows(at.line))
        return;
    onLine(at.line, sizeOf(at.line), [&] {
        for (const char32_t character : text.toUcs4()) {
            const int columns = isWide(character) ? 2 : 1;
            const QRectF cells = m_scene.geometry.rectUnscaled(at, columns);
            m_painter.fillRect(cells, QColor::fromRgb(colors.ground));
            addCharacter(character, {}, cells, colors.text);
            drawUnderline(TerminalUnderline::single, cells, underline);
            at.column += columns;
        }
        drawBatches();
    });
}

void TerminalPainter::paintOverlay()
{
    for (const auto &[point, text] : m_scene.overlay.cells) {
        TerminalStyle style;
        const TerminalFrame::Row *row = m_scene.frame.rowOf(point.line);
        if (row && point.column >= 0 && point.column < int(row->cells.size()))
            style = row->cells[std::size_t(point.column)].style;
        const TerminalPalette::Pair colors = m_palette.pair(style, m_scene.isReversed);
        paintText(text, point, colors, TerminalPalette::mix(colors.ground, colors.text, 0.35));
    }
}

void TerminalPainter::paintPreedit()
{
    if (m_scene.preedit.isEmpty())
        return;
    const TerminalPalette::Pair colors = m_palette.pair({}, m_scene.isReversed);
    paintText(m_scene.preedit, m_scene.cursorPosition(), colors, colors.text);
}

void TerminalPainter::paintCursor()
{
    const TerminalPoint position = m_scene.cursorPosition();
    if (m_scene.cursorLook == TerminalScene::Cursor::none || !m_scene.geometry.shows(position.line))
        return;
    const TerminalFrame::Row *row = m_scene.frame.rowOf(position.line);
    TerminalCell cell;
    if (row && position.column < int(row->cells.size()))
        cell = row->cells[std::size_t(position.column)];
    const QRectF cells = m_scene.geometry.rectUnscaled(position, std::max<int>(cell.width, 1));
    const QRgb ground = m_palette.pair(cell.style, m_scene.isReversed).ground;
    const QColor color = QColor::fromRgb(m_palette.legible(m_palette.cursor(), ground));
    const double line = m_font.lineWidth();
    if (m_scene.cursorLook == TerminalScene::Cursor::hollow) {
        m_painter.fillRect(QRectF(cells.x(), cells.y(), cells.width(), line), color);
        m_painter.fillRect(QRectF(cells.x(), cells.bottom() - line, cells.width(), line), color);
        m_painter.fillRect(QRectF(cells.x(), cells.y(), line, cells.height()), color);
        m_painter.fillRect(QRectF(cells.right() - line, cells.y(), line, cells.height()), color);
        return;
    }
    switch (m_scene.cursor.shape) {
    case TerminalCursor::Shape::underline:
        m_painter.fillRect(QRectF(cells.x(), cells.bottom() - 2 * line, cells.width(), 2 * line), color);
        return;
    case TerminalCursor::Shape::bar:
        m_painter.fillRect(QRectF(cells.x(), cells.y(), std::max(2.0, 2 * line), cells.height()), color);
        return;
    case TerminalCursor::Shape::block:
        break;
    }
    m_painter.fillRect(cells, color);
    const QRgb text = m_palette.legible(ground, color.rgb());
    if (cell.style.hidden)
        return;
    if (cell.character >= TerminalCell::clusterBase)
        m_font.drawPicture(m_painter, m_emulator.text(cell), faceOf(cell.style), cells, text);
    else if (cell.character != 0)
        addCharacter(cell.character, faceOf(cell.style), cells, text);
    drawBatches();
}

} // namespace moorix
