// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <algorithm>
#include <cmath>

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

    friend bool operator==(const TerminalGeometry &, const TerminalGeometry &) = default;

    QRectF rect(TerminalPoint point, int width = 1) const
    {
        return {origin.x() + point.column * cell.width(), origin.y() + double(point.line - top) * cell.height(),
                width * cell.width(), cell.height()};
    }
    bool shows(qint64 line) const { return line >= top && line < top + rows; }
    /// The cell under a position, or the nearest one.
    TerminalPoint cellAt(QPointF position) const
    {
        return {lineAt(position.y()),
                std::clamp(int(std::floor((position.x() - origin.x()) / cell.width())), 0, std::max(columns - 1, 0))};
    }
    /// The nearest place between two cells.
    TerminalPoint boundaryAt(QPointF position) const
    {
        return {lineAt(position.y()),
                std::clamp(int(std::lround((position.x() - origin.x()) / cell.width())), 0, columns)};
    }

private:
    qint64 lineAt(double y) const
    {
        return top + std::clamp(int(std::floor((y - origin.y()) / cell.height())), 0, std::max(rows - 1, 0));
    }
};

} // namespace moorix
