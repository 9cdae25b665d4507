// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalCell.h"

#include <QString>

#include <string>
#include <unordered_map>
#include <vector>

namespace moorix {

/// What the characters from TerminalCell::clusterBase on are made of. Bounded: past some 100,000 different ones no more
/// are made, and further marks are not shown.
class TerminalClusters final
{
public:
    /// Marks beyond the 16th code point of a cell are dropped.
    static constexpr std::size_t longest = 16;

    /// `base` with one more code point behind it.
    char32_t extended(char32_t base, char32_t mark);
    /// What a cell's character shows; empty for 0.
    QString text(char32_t character) const;
    void clear();

private:
    std::vector<std::u32string> m_texts;
    std::unordered_map<std::u32string, char32_t> m_known;
};

} // namespace moorix
