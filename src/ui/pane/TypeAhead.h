// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <optional>

namespace moorix {

/// Finds the row whose name begins with what is being typed; a second's pause starts a new word.
class TypeAhead final
{
public:
    static constexpr std::chrono::milliseconds pause{1000};

    struct Rows
    {
        int count = 0;
        int current = -1;
        std::function<const QString &(int row)> name;
    };

    /// Adds `text` to the word typed so far and returns the row to go to, if any. `now` is any steady time. One letter
    /// typed again and again walks through the names that begin with it. Names that merely contain the word count when
    /// none begins with it.
    std::optional<int> type(const QString &text, std::chrono::milliseconds now, const Rows &rows);
    /// Whether `text` typed at `now` continues a word toward a name. Keys with a meaning of their own do so only then.
    bool continues(const QString &text, std::chrono::milliseconds now, const Rows &rows) const;
    void clear() { m_word.clear(); }

private:
    bool isTyping(std::chrono::milliseconds now) const;

    QString m_word;
    std::chrono::milliseconds m_lastKey{};
};

} // namespace moorix
