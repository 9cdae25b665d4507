// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/palette/PaletteEntry.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <optional>
#include <vector>

namespace moorix {

/// Finds entries by what is typed. Each word of a query has to be found: at the beginning of the text, of a word in it,
/// within it, at the beginning of a word of the synonyms or the detail, anywhere in the detail or the keys, or as the
/// text's letters in this order from the beginning of a word on. Better places come first; among equals what was used
/// last, what is enabled, and then the given order. So the same query always gives the same list.
class PaletteSearch final
{
public:
    /// `recent` are ids, the latest first.
    PaletteSearch(const QList<PaletteEntry> &entries, const QStringList &recent);

    /// Indices of the entries, the best first. Without a word: all, what was used last before the rest.
    std::vector<qsizetype> find(const QString &query) const;

private:
    struct Folded
    {
        QString text;
        QString further;
        QString detail;
        /// Its place among those used last, or behind all of them.
        qsizetype recency = 0;
        bool isEnabled = true;
    };
    std::optional<int> rank(const Folded &entry, const QStringList &words) const;

    std::vector<Folded> m_entries;
};

} // namespace moorix
