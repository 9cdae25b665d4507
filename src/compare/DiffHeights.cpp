// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffHeights.h"

#include "compare/DiffLoader.h"

#include <algorithm>

namespace moorix {

DiffHeights::DiffHeights(const DiffContent &content, const DiffLayout &layout, const LineWrap &wrap)
    : m_rowCount(layout.rowCount())
{
    if (!wrap.isOn())
        return;
    m_tops.reserve(std::size_t(m_rowCount) + 1);
    m_tops.push_back(0);
    layout.eachRow([&](const DiffLayout::Row &row) {
        qsizetype height = 1;
        for (const DiffSide side : {DiffSide::left, DiffSide::right}) {
            const bool isKnown =
                side == DiffSide::right && row.kind == DiffLayout::Row::Kind::equal && content.options.isExact();
            if (row.kind != DiffLayout::Row::Kind::fold && row.line(side) >= 0 && !isKnown)
                height = std::max(height, wrap.count(content.side(side).text.shownLine(row.line(side))));
        }
        m_tops.push_back(m_tops.back() + height);
    });
}

qsizetype DiffHeights::rowAt(qsizetype line) const
{
    const qsizetype last = std::max<qsizetype>(m_rowCount - 1, 0);
    if (m_tops.empty())
        return std::clamp<qsizetype>(line, 0, last);
    const auto next = std::ranges::upper_bound(m_tops, line);
    return std::clamp<qsizetype>(next - m_tops.begin() - 1, 0, last);
}

} // namespace moorix
