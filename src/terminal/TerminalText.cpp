// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalText.h"

namespace moorix::TerminalText {

namespace {

/// To each side of the place; a line without blanks may have no end.
constexpr int longestWord = 4096;

void append(QString &text, const TerminalClusters &clusters, const TerminalCell &cell)
{
    if (cell.width == 0)
        return;
    if (cell.character == 0)
        text += u' ';
    else if (cell.character < 0x10000)
        text += QChar(char16_t(cell.character));
    else
        text += clusters.text(cell.character);
}

QString columns(const TerminalLines &lines, qint64 number, int from, int to)
{
    QString text;
    const std::span<const TerminalCell> cells = lines.cells(number);
    for (std::size_t column = std::size_t(from); column < std::min(cells.size(), std::size_t(std::max(0, to)));
         ++column)
        append(text, lines.grid().clusters(), cells[column]);
    return text;
}

void dropBlanks(QString &text, qsizetype from)
{
    while (text.size() > from && text.back() == u' ')
        text.chop(1);
}

bool isOfWord(const QString &text)
{
    constexpr QStringView more = u"_-./~+@:%?&=#,";
    if (text.isEmpty())
        return false;
    const char32_t first =
        text.size() > 1 && text[0].isHighSurrogate() ? QChar::surrogateToUcs4(text[0], text[1]) : text[0].unicode();
    return QChar::isLetterOrNumber(first) || more.contains(text[0]);
}

/// A character of a line, or where the one is whose second column is meant.
QString characterAt(const TerminalLines &lines, TerminalPoint &point)
{
    const std::span<const TerminalCell> cells = lines.cells(point.line);
    if (std::size_t(point.column) >= cells.size())
        return {};
    if (cells[std::size_t(point.column)].width == 0 && point.column > 0)
        --point.column;
    return lines.grid().clusters().text(cells[std::size_t(point.column)].character);
}

std::optional<TerminalPoint> before(const TerminalLines &lines, TerminalPoint point)
{
    if (point.column > 0)
        return TerminalPoint{point.line, point.column - 1};
    if (point.line <= lines.first() || !lines.wraps(point.line - 1))
        return std::nullopt;
    const auto size = int(lines.cells(point.line - 1).size());
    return TerminalPoint{point.line - 1, std::max(0, size - 1)};
}

/// The place behind the character at a place, on the next line if that one goes on there.
std::optional<TerminalPoint> after(const TerminalLines &lines, TerminalPoint point)
{
    const std::span<const TerminalCell> cells = lines.cells(point.line);
    point.column += std::max<int>(1, cells[std::size_t(point.column)].width);
    if (std::size_t(point.column) < cells.size())
        return point;
    if (!lines.wraps(point.line))
        return std::nullopt;
    return TerminalPoint{point.line + 1, 0};
}

} // namespace

QString range(const TerminalLines &lines, const TerminalRange &range)
{
    QString text;
    const TerminalPoint start = lines.clamped(range.start);
    const TerminalPoint end = lines.clamped(range.end);
    if (range.block) {
        const auto [left, right] = std::minmax(range.start.column, range.end.column);
        const qint64 last = std::min(end.line, lines.end() - 1);
        for (qint64 number = start.line; number <= last; ++number) {
            const qsizetype from = text.size();
            text += columns(lines, number, std::max(0, left), right);
            dropBlanks(text, from);
            if (number < last)
                text += u'\n';
        }
        return text;
    }
    qsizetype paragraph = 0;
    for (qint64 number = start.line; number <= end.line && number < lines.end(); ++number) {
        const bool isLast = number == end.line;
        text += columns(lines, number, number == start.line ? start.column : 0, isLast ? end.column : lines.columns());
        if (!isLast && lines.wraps(number))
            continue;
        if (!isLast || end.column >= int(lines.cells(number).size()))
            dropBlanks(text, paragraph);
        if (!isLast)
            text += u'\n';
        paragraph = text.size();
    }
    return text;
}

TerminalRange word(const TerminalLines &lines, TerminalPoint point)
{
    point = lines.clamped(point);
    if (!lines.contains(point.line) || !isOfWord(characterAt(lines, point)))
        return {point, point};
    TerminalRange range{point, point};
    int left = longestWord;
    for (std::optional<TerminalPoint> at = before(lines, point); at && --left > 0; at = before(lines, *at)) {
        if (!isOfWord(characterAt(lines, *at)))
            break;
        range.start = *at;
    }
    left = longestWord;
    for (std::optional<TerminalPoint> at = point; at && --left > 0 && isOfWord(characterAt(lines, *at));
         at = after(lines, *at)) {
        const std::span<const TerminalCell> cells = lines.cells(at->line);
        range.end = {at->line, at->column + std::max<int>(1, cells[std::size_t(at->column)].width)};
    }
    return range;
}

TerminalRange paragraph(const TerminalLines &lines, TerminalPoint point)
{
    point = lines.clamped(point);
    if (!lines.contains(point.line))
        return {point, point};
    return {{lines.paragraphStart(point.line), 0}, {lines.paragraphEnd(point.line) - 1, lines.columns()}};
}

TerminalPoint Placed::endOf(const TerminalLines &lines, qsizetype unit) const
{
    const TerminalPoint place = places[std::size_t(unit)];
    const std::span<const TerminalCell> cells = lines.cells(place.line);
    const bool isWide = std::size_t(place.column) < cells.size() && cells[std::size_t(place.column)].width == 2;
    return {place.line, place.column + (isWide ? 2 : 1)};
}

Placed placed(const TerminalLines &lines, qint64 from, qint64 to)
{
    Placed result;
    for (qint64 number = from; number < to; ++number) {
        const std::span<const TerminalCell> cells = lines.cells(number);
        const bool wraps = lines.wraps(number);
        for (std::size_t column = 0; column < cells.size(); ++column) {
            append(result.text, lines.grid().clusters(), cells[column]);
            result.places.resize(std::size_t(result.text.size()), {number, int(column)});
        }
        if (!wraps) {
            result.text += u'\n';
            result.places.push_back({number, int(cells.size())});
        }
    }
    return result;
}

} // namespace moorix::TerminalText
