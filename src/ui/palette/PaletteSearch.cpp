// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/palette/PaletteSearch.h"

#include <algorithm>
#include <tuple>

namespace moorix {

namespace {

/// Lower case without accents, so that "ubersicht" finds "Übersicht".
QString folded(const QString &text)
{
    const bool isPlain = std::ranges::all_of(text, [](QChar character) { return character.unicode() < 0x80; });
    if (isPlain)
        return text.toLower();
    QString plain;
    for (const QChar character : text.normalized(QString::NormalizationForm_KD).toCaseFolded()) {
        if (character.category() != QChar::Mark_NonSpacing)
            plain += character;
    }
    return plain;
}

bool beginsWord(QStringView text, qsizetype position)
{
    return position == 0 || !text.at(position - 1).isLetterOrNumber();
}

/// Whether `word` stands in `text`, and there at the beginning of a word.
struct Place
{
    bool isFound = false;
    bool beginsWord = false;
};

Place placeOf(QStringView text, QStringView word)
{
    Place place;
    for (qsizetype at = text.indexOf(word); at >= 0 && !place.beginsWord; at = text.indexOf(word, at + 1))
        place = {true, beginsWord(text, at)};
    return place;
}

/// Whether the letters come in this order, the first one at the beginning of a word.
bool hasLetters(QStringView text, QStringView letters)
{
    for (qsizetype start = text.indexOf(letters.front()); start >= 0;
         start = text.indexOf(letters.front(), start + 1)) {
        if (!beginsWord(text, start))
            continue;
        // A later beginning would see less of the same text.
        qsizetype next = 1;
        for (qsizetype at = start + 1; at < text.size() && next < letters.size(); ++at) {
            if (text.at(at) == letters.at(next))
                ++next;
        }
        return next == letters.size();
    }
    return false;
}

enum Quality { beginning, wordOfText, withinText, wordOfOthers, withinDetail, lettersOfText };

} // namespace

PaletteSearch::PaletteSearch(const QList<PaletteEntry> &entries, const QStringList &recent)
{
    QHash<QString, qsizetype> places;
    for (qsizetype i = recent.size() - 1; i >= 0; --i)
        places.insert(recent.at(i), i);
    m_entries.reserve(std::size_t(entries.size()));
    for (const PaletteEntry &entry : entries) {
        const QString detail = folded(entry.detail + u' ' + entry.keys);
        m_entries.push_back({folded(entry.text), folded(entry.synonyms) + u' ' + detail, detail,
                             places.value(entry.id, recent.size()), entry.isEnabled});
    }
}

std::optional<int> PaletteSearch::rank(const Folded &entry, const QStringList &words) const
{
    int sum = 0;
    for (const QString &word : words) {
        const Place inText = placeOf(entry.text, word);
        if (entry.text.startsWith(word))
            sum += beginning;
        else if (inText.beginsWord)
            sum += wordOfText;
        else if (inText.isFound)
            sum += withinText;
        else if (placeOf(entry.further, word).beginsWord)
            sum += wordOfOthers;
        else if (entry.detail.contains(word))
            sum += withinDetail;
        else if (word.size() > 1 && hasLetters(entry.text, word))
            sum += lettersOfText;
        else
            return std::nullopt;
    }
    return sum;
}

std::vector<qsizetype> PaletteSearch::find(const QString &query) const
{
    const QStringList words = folded(query).split(u' ', Qt::SkipEmptyParts);
    struct Hit
    {
        int rank;
        qsizetype recency;
        bool isRefused;
        qsizetype index;
    };
    std::vector<Hit> hits;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        const Folded &entry = m_entries[i];
        if (const std::optional<int> found = rank(entry, words))
            hits.push_back({*found, entry.recency, !entry.isEnabled, qsizetype(i)});
    }
    std::ranges::sort(hits, {}, [&words](const Hit &hit) {
        // In a list of everything, commands keep their places whether they can be run or not.
        const bool sinks = !words.isEmpty() && hit.isRefused;
        return std::tuple(hit.rank, hit.recency, sinks, hit.index);
    });
    std::vector<qsizetype> found(hits.size());
    std::ranges::transform(hits, found.begin(), &Hit::index);
    return found;
}

} // namespace moorix
