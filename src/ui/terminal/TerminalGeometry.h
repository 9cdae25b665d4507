// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <algorithm>
#include <cmath>
#include <vector>

namespace moorix {

/// Where the cells of a terminal are in its view, in device-independent pixels.
struct TerminalGeometry
{
    /// Of the first cell's upper left corner.
    QPointF origin;
    QSizeF cell{8, 16};
    /// The first line that is shown.
    qint64 top = 0;
    /// Lines that are shown, and columns.
    int rows = 0;
    int columns = 0;
    /// Rows of double width, from the top; empty if there are none.
    std::vector<bool> wideRows;

    friend bool operator==(const TerminalGeometry &, const TerminalGeometry &) = default;

    QRectF rect(TerminalPoint point, int width = 1) const
    {
        const int scale = scaleOf(point.line);
        return rectUnscaled({point.line, point.column * scale}, width * scale);
    }
    /// Where it would be if all rows were of single width.
    QRectF rectUnscaled(TerminalPoint point, int width = 1) const
    {
        return {origin.x() + point.column * cell.width(), origin.y() + double(point.line - top) * cell.height(),
                width * cell.width(), cell.height()};
    }
    int scaleOf(qint64 line) const
    {
        const qint64 row = line - top;
        return row >= 0 && row < qint64(wideRows.size()) && wideRows[std::size_t(row)] ? 2 : 1;
    }
    bool shows(qint64 line) const { return line >= top && line < top + rows; }
    /// The cell under a position, or the nearest one.
    TerminalPoint cellAt(QPointF position) const
    {
        const qint64 line = lineAt(position.y());
        const double width = cell.width() * scaleOf(line);
        return {line, std::clamp(int(std::floor((position.x() - origin.x()) / width)), 0, std::max(columns - 1, 0))};
    }
    /// The nearest place between two cells.
    TerminalPoint boundaryAt(QPointF position) const
    {
        const qint64 line = lineAt(position.y());
        const double width = cell.width() * scaleOf(line);
        return {line, std::clamp(int(std::lround((position.x() - origin.x()) / width)), 0, columns)};
    }

private:
    qint64 lineAt(double y) const
    {
        return top + std::clamp(int(std::floor((y - origin.y()) / cell.height())), 0, std::max(rows - 1, 0));
    }
};

} // namespace moorix
