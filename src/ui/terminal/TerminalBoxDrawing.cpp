// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalBoxDrawing.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>

namespace moorix::TerminalBoxDrawing {

namespace {

enum Arm { left, right, up, down };
enum Weight { absent, light, heavy, twofold };

/// For each character from U+2500 on the weights of its four arms, in the order of Arm. Dashes, arcs and diagonals have
/// none here.
// clang-format off
constexpr char arms[] =
    "1100" "2200" "0011" "0022" "0000" "0000" "0000" "0000" "0000" "0000" "0000" "0000" "0101" "0201" "0102" "0202"
    "1001" "2001" "1002" "2002" "0110" "0210" "0120" "0220" "1010" "2010" "1020" "2020" "0111" "0211" "0121" "0112"
    "0122" "0221" "0212" "0222" "1011" "2011" "1021" "1012" "1022" "2021" "2012" "2022" "1101" "2101" "1201" "2201"
    "1102" "2102" "1202" "2202" "1110" "2110" "1210" "2210" "1120" "2120" "1220" "2220" "1111" "2111" "1211" "2211"
    "1121" "1112" "1122" "2121" "1221" "2112" "1212" "2221" "2212" "2122" "1222" "2222" "0000" "0000" "0000" "0000"
    "3300" "0033" "0301" "0103" "0303" "3001" "1003" "3003" "0310" "0130" "0330" "3010" "1030" "3030" "0311" "0133"
    "0333" "3011" "1033" "3033" "3301" "1103" "3303" "3310" "1130" "3330" "3311" "1133" "3333" "0000" "0000" "0000"
    "0000" "0000" "0000" "0000" "1000" "0010" "0100" "0001" "2000" "0020" "0200" "0002" "1200" "0012" "2100" "0021";
// clang-format on
static_assert(sizeof(arms) == 128 * 4 + 1);

/// Measures of the lines in a cell; all on device pixels.
struct Strokes
{
    Strokes(const QRectF &area, double ratio)
        : cell(area)
        , pixel(1 / ratio)
        , thin(std::max(1.0, std::round(area.height() * ratio / 16)) * pixel)
        , thick(thin * 2 + (thin < 2 * pixel ? pixel : 0))
        , apart(std::max(2.0, std::round(area.width() * ratio * 0.2)) * pixel)
        , x(onPixel(area.x() + (area.width() - thin) / 2))
        , y(onPixel(area.y() + (area.height() - thin) / 2))
    {
    }

    double onPixel(double value) const { return std::round(value / pixel) * pixel; }
    double width(Weight weight) const { return weight == heavy ? thick : thin; }

    QRectF cell;
    double pixel;
    double thin;
    double thick;
    /// From the middle to either line of a double one.
    double apart;
    /// Where a thin line in the middle begins.
    double x;
    double y;
};

Weight weightOf(char32_t character, Arm arm)
{
    return Weight(arms[(character - 0x2500) * 4 + std::size_t(arm)] - '0');
}

bool isLine(char32_t character)
{
    return character >= 0x2500 && character <= 0x257F;
}

/// A stretch from `from` to `to` along an axis whose line begins at `across` on the other.
void fillStretch(QPainter &painter, bool isHorizontal, double from, double to, double across, double width,
                 QColor color)
{
    const QRectF rect = isHorizontal ? QRectF(from, across, to - from, width) : QRectF(across, from, width, to - from);
    painter.fillRect(rect.normalized(), color);
}

/// One arm, from the middle to its edge. How far into the middle it reaches depends on what it meets there.
void drawArm(QPainter &painter, const Strokes &strokes, char32_t character, Arm arm, QColor color)
{
    const Weight weight = weightOf(character, arm);
    if (weight == absent)
        return;
    const bool isHorizontal = arm == left || arm == right;
    const bool isForward = arm == right || arm == down;
    const Weight opposite = weightOf(character, Arm(arm ^ 1));
    // Of the arms across: the one towards smaller coordinates first.
    const std::array across{weightOf(character, isHorizontal ? up : left),
                            weightOf(character, isHorizontal ? down : right)};
    const double middle = isHorizontal ? strokes.x : strokes.y;
    const double acrossMiddle = isHorizontal ? strokes.y : strokes.x;
    const double edge = isHorizontal ? (isForward ? strokes.cell.right() : strokes.cell.left())
                                     : (isForward ? strokes.cell.bottom() : strokes.cell.top());
    // Where a line begins that reaches `reach` beyond the middle, away from its own edge; it covers the middle whole.
    const auto start = [&](double reach, double width) {
        const double spare = strokes.onPixel((width - strokes.thin) / 2);
        return isForward ? middle - reach - spare : middle + strokes.thin + reach + spare;
    };
    if (weight != twofold) {
        const double widest = std::max(across[0] == heavy ? strokes.thick : 0, across[1] == heavy ? strokes.thick : 0);
        double reach = 0;
        if (opposite == absent && (across[0] == twofold || across[1] == twofold))
            reach = across[0] == across[1] ? -strokes.apart : strokes.apart;
        const double width = strokes.width(weight);
        fillStretch(painter, isHorizontal, start(reach, std::max(widest, strokes.thin)), edge,
                    acrossMiddle - strokes.onPixel((width - strokes.thin) / 2), width, color);
        return;
    }
    for (const int side : {0, 1}) {
        const Weight same = across[std::size_t(side)];
        const Weight other = across[std::size_t(1 - side)];
        double reach = 0;
        if (same == twofold)
            reach = -strokes.apart;
        else if (same == absent && opposite == absent && other == twofold)
            reach = strokes.apart;
        const double offset = side == 0 ? -strokes.apart : strokes.apart;
        fillStretch(painter, isHorizontal, start(reach, strokes.thin), edge, acrossMiddle + offset, strokes.thin,
                    color);
    }
}

struct Dashes
{
    int count = 0;
    bool isHorizontal = true;
    Weight weight = light;
};

Dashes dashesOf(char32_t character)
{
    const bool isHeavy = (character & 1) != 0;
    const bool isHorizontal = (character & 2) == 0;
    if (character >= 0x2504 && character <= 0x250B)
        return {character < 0x2508 ? 3 : 4, isHorizontal, isHeavy ? heavy : light};
    if (character >= 0x254C && character <= 0x254F)
        return {2, isHorizontal, isHeavy ? heavy : light};
    return {};
}

void drawDashes(QPainter &painter, const Strokes &strokes, const Dashes &dashes, QColor color)
{
    const double width = strokes.width(dashes.weight);
    const double across = (dashes.isHorizontal ? strokes.y : strokes.x) - strokes.onPixel((width - strokes.thin) / 2);
    const double begin = dashes.isHorizontal ? strokes.cell.left() : strokes.cell.top();
    const double length = (dashes.isHorizontal ? strokes.cell.width() : strokes.cell.height()) / dashes.count;
    const double gap = std::max(strokes.pixel, strokes.onPixel(length * 0.3));
    for (int i = 0; i < dashes.count; ++i) {
        const double from = strokes.onPixel(begin + i * length);
        fillStretch(painter, dashes.isHorizontal, from, strokes.onPixel(begin + (i + 1) * length) - gap, across, width,
                    color);
    }
}

/// The rounded corners U+256D to U+2570.
void drawArc(QPainter &painter, const Strokes &strokes, char32_t character, QColor color)
{
    const double x = strokes.x + strokes.thin / 2;
    const double y = strokes.y + strokes.thin / 2;
    const double radius = std::min(strokes.cell.width(), strokes.cell.height()) / 2;
    const bool goesRight = character == 0x256D || character == 0x2570;
    const bool goesDown = character == 0x256D || character == 0x256E;
    const double sideways = goesRight ? 1 : -1;
    const double upright = goesDown ? 1 : -1;
    QPainterPath path(QPointF(x, goesDown ? strokes.cell.bottom() : strokes.cell.top()));
    path.lineTo(x, y + upright * radius);
    path.quadTo(x, y, x + sideways * radius, y);
    path.lineTo(goesRight ? strokes.cell.right() : strokes.cell.left(), y);
    painter.strokePath(path, QPen(color, strokes.thin, Qt::SolidLine, Qt::FlatCap));
}

void drawDiagonals(QPainter &painter, const Strokes &strokes, char32_t character, QColor color)
{
    painter.setPen(QPen(color, strokes.thin, Qt::SolidLine, Qt::FlatCap));
    if (character != 0x2572)
        painter.drawLine(strokes.cell.bottomLeft(), strokes.cell.topRight());
    if (character != 0x2571)
        painter.drawLine(strokes.cell.topLeft(), strokes.cell.bottomRight());
}

void drawLine(QPainter &painter, const Strokes &strokes, char32_t character, QColor color)
{
    if (const Dashes dashes = dashesOf(character); dashes.count > 0) {
        drawDashes(painter, strokes, dashes, color);
    } else if (character >= 0x256D && character <= 0x2573) {
        painter.setRenderHint(QPainter::Antialiasing);
        if (character <= 0x2570)
            drawArc(painter, strokes, character, color);
        else
            drawDiagonals(painter, strokes, character, color);
        painter.setRenderHint(QPainter::Antialiasing, false);
    } else {
        for (const Arm arm : {left, right, up, down})
            drawArm(painter, strokes, character, arm, color);
    }
}

/// The part of a cell between shares of its width and height, on device pixels.
QRectF part(const Strokes &strokes, double x1, double y1, double x2, double y2)
{
    const QRectF &cell = strokes.cell;
    return QRectF(
        QPointF(strokes.onPixel(cell.x() + x1 * cell.width()), strokes.onPixel(cell.y() + y1 * cell.height())),
        QPointF(strokes.onPixel(cell.x() + x2 * cell.width()), strokes.onPixel(cell.y() + y2 * cell.height())));
}

/// Which quarters of U+2596 to U+259F are filled: upper left 1, upper right 2, lower left 4, lower right 8.
constexpr std::array quarters{4, 8, 1, 13, 9, 7, 11, 2, 6, 14};

void drawBlock(QPainter &painter, const Strokes &strokes, char32_t character, QColor color)
{
    if (character == 0x2580) {
        painter.fillRect(part(strokes, 0, 0, 1, 0.5), color);
    } else if (character <= 0x2588) {
        painter.fillRect(part(strokes, 0, 1 - (character - 0x2580) / 8.0, 1, 1), color);
    } else if (character <= 0x258F) {
        painter.fillRect(part(strokes, 0, 0, (0x2590 - character) / 8.0, 1), color);
    } else if (character == 0x2590) {
        painter.fillRect(part(strokes, 0.5, 0, 1, 1), color);
    } else if (character <= 0x2593) {
        color.setAlphaF(float(character - 0x2590) / 4);
        painter.fillRect(strokes.cell, color);
    } else if (character == 0x2594) {
        painter.fillRect(part(strokes, 0, 0, 1, 0.125), color);
    } else if (character == 0x2595) {
        painter.fillRect(part(strokes, 0.875, 0, 1, 1), color);
    } else {
        const int filled = quarters.at(character - 0x2596);
        for (const int i : {0, 1, 2, 3}) {
            const double x = i % 2 * 0.5;
            const double y = i / 2 * 0.5;
            if (filled & 1 << i)
                painter.fillRect(part(strokes, x, y, x + 0.5, y + 0.5), color);
        }
    }
}

void drawBraille(QPainter &painter, const Strokes &strokes, char32_t character, QColor color)
{
    // Two columns of three dots, then the fourth row.
    constexpr std::array columns{0, 0, 0, 1, 1, 1, 0, 1};
    constexpr std::array rows{0, 1, 2, 0, 1, 2, 3, 3};
    const QRectF &cell = strokes.cell;
    const double size = std::max(strokes.pixel, strokes.onPixel(std::min(cell.width() / 4, cell.height() / 8)));
    for (std::size_t dot = 0; dot < 8; ++dot) {
        if (((character >> dot) & 1) == 0)
            continue;
        const double x = cell.x() + (columns.at(dot) + 0.5) * cell.width() / 2 - size / 2;
        const double y = cell.y() + (rows.at(dot) + 0.5) * cell.height() / 4 - size / 2;
        painter.fillRect(QRectF(strokes.onPixel(x), strokes.onPixel(y), size, size), color);
    }
}

/// U+E0B0 to U+E0B7: triangles and half circles, solid and as outlines, to the right and to the left.
void drawSeparator(QPainter &painter, const Strokes &strokes, char32_t character, QColor color)
{
    const QRectF &cell = strokes.cell;
    const bool isRound = character >= 0xE0B4;
    const bool pointsLeft = ((character - 0xE0B0) & 2) != 0;
    const bool isOutline = (character & 1) != 0;
    const double base = pointsLeft ? cell.right() : cell.left();
    const double tip = pointsLeft ? cell.left() : cell.right();
    QPainterPath path(QPointF(base, cell.top()));
    if (isRound) {
        const double bulge = base + (tip - base) * 1.33;
        path.cubicTo(bulge, cell.top(), bulge, cell.bottom(), base, cell.bottom());
    } else {
        path.lineTo(tip, cell.center().y());
        path.lineTo(base, cell.bottom());
    }
    painter.setRenderHint(QPainter::Antialiasing);
    if (isOutline)
        painter.strokePath(path, QPen(color, strokes.thin));
    else
        painter.fillPath(path, color);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

} // namespace

bool draws(char32_t character)
{
    return (character >= 0x2500 && character <= 0x259F) || (character >= 0x2800 && character <= 0x28FF) ||
           (character >= 0xE0B0 && character <= 0xE0B7);
}

void draw(QPainter &painter, char32_t character, const QRectF &cell, QColor color, double ratio)
{
    const Strokes strokes(cell, ratio);
    if (isLine(character))
        drawLine(painter, strokes, character, color);
    else if (character <= 0x259F)
        drawBlock(painter, strokes, character, color);
    else if (character <= 0x28FF)
        drawBraille(painter, strokes, character, color);
    else
        drawSeparator(painter, strokes, character, color);
}

} // namespace moorix::TerminalBoxDrawing
