// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffLayout.h"
#include "compare/LineWrap.h"

namespace moorix {

struct DiffContent;

/// How high the rows of two texts side by side are, counted in lines on the screen: a row is as high as the longer of
/// its two lines needs. Without wrapping each is one, and nothing is computed or kept.
class DiffHeights final
{
public:
    DiffHeights() = default;
    /// Looks at every line where there is wrapping.
    DiffHeights(const DiffContent &content, const DiffLayout &layout, const LineWrap &wrap);

    /// Of all rows.
    qsizetype total() const { return m_tops.empty() ? m_rowCount : m_tops.back(); }
    /// Where a row begins; that of the row behind the last is the total.
    qsizetype top(qsizetype row) const { return m_tops.empty() ? row : m_tops.at(std::size_t(row)); }
    qsizetype height(qsizetype row) const { return m_tops.empty() ? 1 : top(row + 1) - top(row); }
    /// The row at a line of the screen; the nearest where there is none.
    qsizetype rowAt(qsizetype line) const;

private:
    qsizetype m_rowCount = 0;
    std::vector<qsizetype> m_tops;
};

} // namespace moorix
