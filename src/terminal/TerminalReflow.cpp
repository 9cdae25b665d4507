// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalReflow.h"

#include <deque>

namespace moorix::TerminalReflow {

namespace {

/// A place within paragraphs.
struct Anchor
{
    std::size_t paragraph = 0;
    std::size_t cell = 0;
};

struct Text
{
    std::deque<TerminalParagraph> paragraphs;
    std::vector<Anchor> anchors;
    bool reachesBottom = false;
};

bool isEmpty(const TerminalLine &line)
{
    return line.used == 0 && !line.wraps && !line.prompt;
}

Text unwrap(const std::vector<TerminalLine> &lines, TerminalScrollback &history, const std::vector<Place> &places)
{
    std::size_t end = lines.size();
    const auto isBelow = [&](const Place &place) { return std::size_t(place.row) < end - 1; };
    while (end > 1 && isEmpty(lines[end - 1]) && std::all_of(places.begin(), places.end(), isBelow))
        --end;

    Text text;
    text.anchors.resize(places.size());
    text.reachesBottom = end == lines.size();
    bool goesOn = history.lastWraps();
    if (goesOn)
        text.paragraphs.push_back(history.takeLast());
    for (std::size_t row = 0; row < end; ++row) {
        if (!goesOn)
            text.paragraphs.emplace_back();
        TerminalParagraph &paragraph = text.paragraphs.back();
        for (std::size_t place = 0; place < places.size(); ++place) {
            if (std::size_t(places[place].row) == row)
                text.anchors[place] = {text.paragraphs.size() - 1,
                                       paragraph.cells.size() + std::size_t(places[place].column)};
        }
        paragraph.append(lines[row]);
        goesOn = lines[row].wraps;
    }
    return text;
}

/// Where the lines of a paragraph begin. A last line that is full has one after it only if a place needs it.
std::vector<std::size_t> breaks(const TerminalParagraph &paragraph, std::size_t columns)
{
    std::vector<std::size_t> starts(1, 0);
    for (std::size_t start = 0; paragraph.cells.size() - start > columns;) {
        start += columns;
        if (paragraph.cells[start].width == 0)
            --start;
        starts.push_back(start);
    }
    return starts;
}

TerminalLine makeLine(const TerminalParagraph &paragraph, std::size_t from, std::size_t to, int columns, bool isLast)
{
    TerminalLine line(columns);
    std::copy(paragraph.cells.begin() + std::ptrdiff_t(from), paragraph.cells.begin() + std::ptrdiff_t(to),
              line.cells.begin());
    line.used = int(to - from);
    line.wraps = !isLast || paragraph.wraps;
    line.padded = !isLast && line.used < columns;
    if (isLast && paragraph.fill != TerminalStyle()) {
        TerminalCell blank;
        blank.style = paragraph.fill;
        line.erase(line.used, columns, blank);
    }
    line.prompt = from == 0 && paragraph.prompt;
    return line;
}

void wrap(const Text &text, int columns, std::deque<TerminalLine> &lines, std::vector<Place> &places)
{
    for (std::size_t index = 0; index < text.paragraphs.size(); ++index) {
        const TerminalParagraph &paragraph = text.paragraphs[index];
        const std::vector<std::size_t> starts = breaks(paragraph, std::size_t(columns));
        const auto first = int(lines.size());
        for (std::size_t row = 0; row < starts.size(); ++row) {
            const bool isLast = row + 1 == starts.size();
            lines.push_back(
                makeLine(paragraph, starts[row], isLast ? paragraph.cells.size() : starts[row + 1], columns, isLast));
        }
        for (std::size_t place = 0; place < places.size(); ++place) {
            const Anchor &anchor = text.anchors[place];
            if (anchor.paragraph != index)
                continue;
            const auto row = std::prev(std::upper_bound(starts.begin(), starts.end(), anchor.cell)) - starts.begin();
            const auto column = int(std::min(anchor.cell - starts[std::size_t(row)], std::size_t(columns)));
            places[place] = {first + int(row),
                             anchor.cell > paragraph.cells.size() ? std::min(column, columns - 1) : column};
        }
    }
}

} // namespace

std::vector<Place> resize(TerminalScreen &screen, TerminalScrollback &history, int rows, int columns,
                          std::vector<Place> places)
{
    Text text = unwrap(screen.takeLines(), history, places);
    history.setColumns(columns);
    std::deque<TerminalLine> lines;
    wrap(text, columns, lines, places);
    while (text.reachesBottom && int(lines.size()) < rows && !history.isEmpty()) {
        text.paragraphs.assign(1, history.takeLast());
        text.anchors.clear();
        std::deque<TerminalLine> above;
        std::vector<Place> none;
        wrap(text, columns, above, none);
        lines.insert(lines.begin(), std::make_move_iterator(above.begin()), std::make_move_iterator(above.end()));
        for (Place &place : places)
            place.row += int(above.size());
    }
    while (int(lines.size()) > rows) {
        history.append(lines.front());
        lines.pop_front();
        for (Place &place : places)
            --place.row;
    }
    while (int(lines.size()) < rows)
        lines.emplace_back(columns);
    for (Place &place : places)
        place = {std::clamp(place.row, 0, rows - 1), std::clamp(place.column, 0, columns)};
    screen.setLines({std::make_move_iterator(lines.begin()), std::make_move_iterator(lines.end())}, columns);
    return places;
}

} // namespace moorix::TerminalReflow
