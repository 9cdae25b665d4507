// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/CommonSequence.h"

#include <QHash>

#include <algorithm>
#include <numeric>

namespace moorix {

namespace {

using Numbers = std::vector<quint32>;
using Word = quint64;
constexpr std::size_t wordBits = 64;

/// Where each number stands in a sequence.
class Places final
{
public:
    Places(const Numbers &sequence, std::size_t numberCount)
        : m_ends(numberCount + 1, 0)
        , m_places(sequence.size())
    {
        for (const quint32 number : sequence)
            ++m_ends[number + 1];
        std::partial_sum(m_ends.begin(), m_ends.end(), m_ends.begin());
        std::vector<std::size_t> next(m_ends.begin(), m_ends.end() - 1);
        for (std::size_t place = 0; place < sequence.size(); ++place)
            m_places[next[sequence[place]]++] = place;
    }

    template <class Action>
    void each(quint32 number, Action action) const
    {
        for (std::size_t i = m_ends[number]; i < m_ends[number + 1]; ++i)
            action(m_places[i]);
    }

private:
    std::vector<std::size_t> m_ends;
    std::vector<std::size_t> m_places;
};

/// The table of the lengths of longest common subsequences of all pairs of rests, from row and column to the ends. Only
/// their steps along a row are kept, one bit each: neighbours differ by at most one, so a whole word of cells is one
/// addition, whose carry passes a step on to the next free place.
class Table final
{
public:
    Table(const Numbers &rows, const Numbers &columns)
        : m_columnCount(columns.size())
        , m_wordCount((columns.size() + wordBits - 1) / wordBits)
        , m_bits(rows.size() * m_wordCount)
    {
        const quint32 highest = std::max(*std::ranges::max_element(rows), *std::ranges::max_element(columns));
        const Places places(columns, std::size_t(highest) + 1);
        std::vector<Word> row(m_wordCount, ~Word(0));
        std::vector<Word> matches(m_wordCount);
        for (std::size_t i = rows.size(); i-- > 0;) {
            std::ranges::fill(matches, Word(0));
            places.each(rows[i], [this, &matches](std::size_t column) {
                const std::size_t bit = bitOf(column);
                matches[bit / wordBits] |= Word(1) << (bit % wordBits);
            });
            advance(row, matches);
            std::ranges::copy(row, m_bits.begin() + std::ptrdiff_t(i * m_wordCount));
        }
    }

    /// Whether the rests from there have more in common than those from the next column on.
    bool gainsByColumn(std::size_t row, std::size_t column) const
    {
        const std::size_t bit = bitOf(column);
        return ((m_bits[row * m_wordCount + bit / wordBits] >> (bit % wordBits)) & 1) == 0;
    }

private:
    std::size_t bitOf(std::size_t column) const { return m_columnCount - 1 - column; }

    static void advance(std::vector<Word> &row, const std::vector<Word> &matches)
    {
        Word carry = 0;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const Word before = row[i];
            const Word common = before & matches[i];
            const Word partly = before + common;
            const Word sum = partly + carry;
            carry = Word(partly < before) | Word(sum < partly);
            row[i] = sum | (before - common);
        }
    }

    std::size_t m_columnCount;
    std::size_t m_wordCount;
    std::vector<Word> m_bits;
};

} // namespace

std::pair<Numbers, Numbers> commonSequence::numbered(const std::vector<QStringView> &first,
                                                     const std::vector<QStringView> &second)
{
    QHash<QStringView, quint32> known;
    known.reserve(qsizetype(first.size() + second.size()));
    const auto number = [&known](const std::vector<QStringView> &texts) {
        Numbers numbers;
        numbers.reserve(texts.size());
        for (const QStringView text : texts) {
            const auto place = known.find(text);
            numbers.push_back(place != known.end() ? *place : *known.insert(text, quint32(known.size())));
        }
        return numbers;
    };
    Numbers one = number(first);
    return {std::move(one), number(second)};
}

std::vector<std::pair<qsizetype, qsizetype>> commonSequence::longest(const Numbers &first, const Numbers &second)
{
    std::vector<std::pair<qsizetype, qsizetype>> common;
    if (first.empty() || second.empty())
        return common;
    // Bits are along the longer one, so that few are left over at the ends of rows.
    const bool isTurned = first.size() > second.size();
    const Numbers &rows = isTurned ? second : first;
    const Numbers &columns = isTurned ? first : second;
    const Table table(rows, columns);
    std::size_t row = 0;
    std::size_t column = 0;
    while (row < rows.size() && column < columns.size()) {
        if (rows[row] == columns[column]) {
            common.emplace_back(isTurned ? column : row, isTurned ? row : column);
            ++row;
            ++column;
        } else if (table.gainsByColumn(row, column)) {
            ++row;
        } else {
            ++column;
        }
    }
    return common;
}

} // namespace moorix
