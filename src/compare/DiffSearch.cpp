// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffSearch.h"

#include "compare/DiffLoader.h"

#include <limits>
#include <tuple>

namespace moorix {

namespace {

using DiffSearch::Step;

/// A place in the order of rows, or one that is before or behind them all.
struct Position
{
    qsizetype order = 0;
    DiffSide side = DiffSide::left;

    auto operator<=>(const Position &) const = default;
};

class Search final
{
public:
    Search(const DiffContent &content, const DiffLayout &layout, const QString &needle)
        : m_content(content)
        , m_layout(layout)
        , m_needle(needle)
    {
    }

    std::optional<DiffPlace> behind(const Position &from) const
    {
        const auto left = lineBehind(DiffSide::left, from);
        const auto right = lineBehind(DiffSide::right, from);
        return !right || (left && positionOf(*left) < positionOf(*right)) ? left : right;
    }

    std::optional<DiffPlace> before(const Position &from) const
    {
        const auto left = lineBefore(DiffSide::left, from);
        const auto right = lineBefore(DiffSide::right, from);
        return !right || (left && positionOf(*left) > positionOf(*right)) ? left : right;
    }

private:
    const DiffText &text(DiffSide side) const
    {
        return side == DiffSide::left ? m_content.left.text : m_content.right.text;
    }
    Position positionOf(const DiffPlace &place) const { return {m_layout.order(place.side, place.line), place.side}; }

    /// The equal lines around one on the right are known from the left, unless they may differ by what is ignored.
    std::optional<std::pair<qsizetype, qsizetype>> knownStretch(DiffSide side, qsizetype line) const
    {
        return side == DiffSide::right && m_content.options.isExact() ? m_layout.equalStretch(side, line)
                                                                      : std::nullopt;
    }

    std::optional<DiffPlace> lineBehind(DiffSide side, const Position &from) const
    {
        const DiffText &lines = text(side);
        qsizetype line = m_layout.lineFrom(side, from.order + (side > from.side ? 0 : 1));
        while (line < lines.lineCount()) {
            const qsizetype found = lines.text().indexOf(m_needle, lines.start(line), Qt::CaseInsensitive);
            if (found < 0)
                return std::nullopt;
            line = lines.lineAt(found);
            const auto known = knownStretch(side, line);
            if (!known)
                return DiffPlace{side, line};
            line = known->second;
        }
        return std::nullopt;
    }

    std::optional<DiffPlace> lineBefore(DiffSide side, const Position &from) const
    {
        const DiffText &lines = text(side);
        qsizetype line = m_layout.lineFrom(side, from.order + (side < from.side ? 1 : 0)) - 1;
        while (line >= 0) {
            const qsizetype end = lines.start(line) + lines.line(line).size();
            const qsizetype found = lines.text().lastIndexOf(m_needle, end, Qt::CaseInsensitive);
            if (found < 0)
                return std::nullopt;
            line = lines.lineAt(found);
            const auto known = knownStretch(side, line);
            if (!known)
                return DiffPlace{side, line};
            line = known->first - 1;
        }
        return std::nullopt;
    }

    const DiffContent &m_content;
    const DiffLayout &m_layout;
    const QString &m_needle;
};

} // namespace

std::optional<DiffPlace> DiffSearch::find(const DiffContent &content, const DiffLayout &layout, DiffPlace from,
                                          const QString &needle, Step step)
{
    if (needle.isEmpty() || layout.rowCount() == 0)
        return std::nullopt;
    const Search search(content, layout, needle);
    const Position start{layout.order(from.side, from.line), from.side};
    const Position end{std::numeric_limits<qsizetype>::max() / 2, DiffSide::right};
    if (step == Step::next) {
        const auto found = search.behind(start);
        return found ? found : search.behind({-1, DiffSide::right});
    }
    const auto found = search.before(start);
    return found ? found : search.before(end);
}

} // namespace moorix
