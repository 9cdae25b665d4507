// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/terminal/TerminalFont.h"
#include "ui/terminal/TerminalPalette.h"
#include "ui/terminal/TerminalScene.h"

#include <functional>
#include <span>
#include <vector>

class QPainter;

namespace moorix {

/// Paints the scene of a terminal: grounds as few rectangles, text as one glyph run per font and colour of a row.
class TerminalPainter final
{
public:
    TerminalPainter(QPainter &painter, const TerminalEmulator &emulator, const TerminalScene &scene,
                    const TerminalPalette &palette, TerminalFont &font);

    /// The part within `area`; what lies around the cells gets the background.
    void paint(const QRectF &area, const QRectF &whole);

private:
    struct Look
    {
        TerminalPalette::Pair colors;
        bool isTextShown = true;
    };
    /// Glyphs of a row that are drawn at once.
    struct Batch
    {
        quint16 font;
        QRgb color;
        std::vector<quint32> indexes;
        std::vector<QPointF> positions;
    };

    void onLine(qint64 line, TerminalLineSize size, const std::function<void()> &paint);
    TerminalLineSize sizeOf(qint64 line) const;
    void paintRow(const TerminalFrame::Row &row);
    void look(const TerminalFrame::Row &row);
    void paintGrounds(qint64 line);
    void addText(const TerminalFrame::Row &row);
    void addCharacter(char32_t character, TerminalFont::Face face, const QRectF &cells, QRgb color);
    void drawBatches();
    void drawDecorations(const TerminalFrame::Row &row);
    void drawUnderline(TerminalUnderline kind, const QRectF &cells, QRgb color);
    void paintText(const QString &text, TerminalPoint at, TerminalPalette::Pair colors, QRgb underline);
    void paintOverlay();
    void paintPreedit();
    void paintCursor();
    TerminalPalette::Mark markOf(TerminalPoint point) const;
    QRgb ground() const;

    QPainter &m_painter;
    const TerminalEmulator &m_emulator;
    const TerminalScene &m_scene;
    const TerminalPalette &m_palette;
    TerminalFont &m_font;
    std::vector<Look> m_looks;
    std::vector<Batch> m_batches;
};

} // namespace moorix
