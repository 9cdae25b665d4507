// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/TypeAhead.h"

#include <algorithm>

namespace moorix {

namespace {

/// The first row from `start` on, around the end, that `matches`.
std::optional<int> firstRow(int start, int count, const std::function<bool(int)> &matches)
{
    for (int step = 0; step < count; ++step) {
        const int row = (start + step) % count;
        if (matches(row))
            return row;
    }
    return std::nullopt;
}

} // namespace

bool TypeAhead::isTyping(std::chrono::milliseconds now) const
{
    return !m_word.isEmpty() && now - m_lastKey < pause;
}

bool TypeAhead::continues(const QString &text, std::chrono::milliseconds now, const Rows &rows) const
{
    if (!isTyping(now))
        return false;
    const QString word = m_word + text.toLower();
    return firstRow(0, rows.count, [&](int row) { return rows.name(row).startsWith(word, Qt::CaseInsensitive); })
        .has_value();
}

std::optional<int> TypeAhead::type(const QString &text, std::chrono::milliseconds now, const Rows &rows)
{
    if (!isTyping(now))
        m_word.clear();
    m_word += text.toLower();
    m_lastKey = now;
    if (rows.count <= 0)
        return std::nullopt;

    const bool isRepeated =
        std::all_of(m_word.cbegin(), m_word.cend(), [this](QChar c) { return c == m_word.front(); });
    const int current = std::clamp(rows.current, 0, rows.count - 1);
    const auto find = [&rows](const QString &word, int start) {
        return firstRow(start, rows.count,
                        [&](int row) { return rows.name(row).startsWith(word, Qt::CaseInsensitive); });
    };
    if (const auto row = find(m_word, m_word.size() > 1 ? current : current + 1))
        return row;
    if (isRepeated)
        return find(m_word.left(1), current + 1);
    return firstRow(current, rows.count, [&](int row) { return rows.name(row).contains(m_word, Qt::CaseInsensitive); });
}

} // namespace moorix
