// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalClusters.h"

namespace moorix {

namespace {

constexpr std::size_t most = 100'000;

} // namespace

char32_t TerminalClusters::extended(char32_t base, char32_t mark)
{
    std::u32string text = base >= TerminalCell::clusterBase ? m_texts[base - TerminalCell::clusterBase]
                                                            : std::u32string(1, base == 0 ? U' ' : base);
    if (text.size() >= longest)
        return base;
    text += mark;
    if (const auto known = m_known.find(text); known != m_known.end())
        return known->second;
    if (m_texts.size() >= most)
        return base;
    const auto character = char32_t(TerminalCell::clusterBase + m_texts.size());
    m_texts.push_back(text);
    m_known.emplace(std::move(text), character);
    return character;
}

QString TerminalClusters::text(char32_t character) const
{
    if (character == 0)
        return {};
    if (character < TerminalCell::clusterBase)
        return QString::fromUcs4(&character, 1);
    const std::size_t index = character - TerminalCell::clusterBase;
    if (index >= m_texts.size())
        return {};
    return QString::fromUcs4(m_texts[index].data(), qsizetype(m_texts[index].size()));
}

void TerminalClusters::clear()
{
    m_texts.clear();
    m_known.clear();
}

} // namespace moorix
