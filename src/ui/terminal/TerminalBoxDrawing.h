// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QRectF>

class QPainter;

namespace moorix {

/// Draws the characters that must join from cell to cell without gaps: lines, blocks, braille, and the triangles and
/// half circles between the parts of prompts. Fonts make them for their own cells, not for ours.
namespace TerminalBoxDrawing {

bool draws(char32_t character);
/// `cell` lies on device pixels, of which there are `ratio` to a unit.
void draw(QPainter &painter, char32_t character, const QRectF &cell, QColor color, double ratio);

} // namespace TerminalBoxDrawing

} // namespace moorix
