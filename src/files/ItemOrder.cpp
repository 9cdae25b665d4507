// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/ItemOrder.h"

#include <QHash>
#include <QStringMatcher>

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>

namespace moorix::ItemOrder {

namespace {

/// The part behind the last dot; nothing for names without one and for the dot of a hidden file.
QStringView extensionOf(const QString &lowerName)
{
    const qsizetype dot = lowerName.lastIndexOf(u'.');
    return dot <= 0 ? QStringView() : QStringView(lowerName).sliced(dot + 1);
}

void rankNames(const QList<FileItem> &items, ItemKeys &all)
{
    std::vector<quint32> order(all.keys.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [&](quint32 a, quint32 b) {
        if (const int lower = all.lowerNames[a].compare(all.lowerNames[b]))
            return lower < 0;
        const int exact = items.at(a).name.compare(items.at(b).name);
        return exact != 0 ? exact < 0 : a < b;
    });
    for (quint32 rank = 0; rank < order.size(); ++rank)
        all.keys[order[rank]].nameRank = rank;
}

void rankKinds(ItemKeys &all)
{
    QHash<QStringView, quint32> ranks;
    for (const QString &name : all.lowerNames)
        ranks.insert(extensionOf(name), 0);
    QList<QStringView> extensions = ranks.keys();
    std::sort(extensions.begin(), extensions.end());
    for (qsizetype rank = 0; rank < extensions.size(); ++rank)
        ranks[extensions.at(rank)] = quint32(rank);
    for (size_t i = 0; i < all.keys.size(); ++i)
        all.keys[i].kindRank = ranks.value(extensionOf(all.lowerNames[i]));
}

qint64 sortValue(const ItemKey &key, FileSortKey sortKey)
{
    switch (sortKey) {
    case FileSortKey::name:
        return key.nameRank;
    case FileSortKey::size:
        return key.size;
    case FileSortKey::date:
        return key.modified;
    case FileSortKey::kind:
        return key.kindRank;
    }
    return 0;
}

/// One row while it is being sorted, small enough that sorting stays within the cache.
struct Row
{
    qint64 value;
    quint32 nameRank;
    quint32 index;
};

} // namespace

ItemKeys keys(const QList<FileItem> &items)
{
    ItemKeys all;
    all.keys.reserve(size_t(items.size()));
    all.lowerNames.reserve(size_t(items.size()));
    for (const FileItem &item : items) {
        ItemKey key;
        key.size = item.size;
        key.modified = item.modified ? item.modified->toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
        key.isDirectory = item.isShownAsFolder();
        key.isHidden = item.name.startsWith(u'.');
        all.keys.push_back(key);
        all.lowerNames.push_back(item.name.toLower());
    }
    rankNames(items, all);
    rankKinds(all);
    return all;
}

std::vector<quint32> sorted(const ItemKeys &keys, const ItemView &view)
{
    std::vector<Row> rows;
    rows.reserve(keys.keys.size());
    for (quint32 index = 0; index < keys.keys.size(); ++index) {
        const ItemKey &key = keys.keys[index];
        if (view.showHidden || !key.isHidden)
            rows.push_back({sortValue(key, view.sortKey), key.nameRank, index});
    }
    const auto files =
        std::partition(rows.begin(), rows.end(), [&keys](const Row &row) { return keys.keys[row.index].isDirectory; });
    const auto isBefore = [ascending = view.sortAscending](const Row &a, const Row &b) {
        if (a.value != b.value)
            return ascending ? a.value < b.value : a.value > b.value;
        return a.nameRank < b.nameRank;
    };
    std::sort(rows.begin(), files, isBefore);
    std::sort(files, rows.end(), isBefore);
    std::vector<quint32> order;
    order.reserve(rows.size());
    for (const Row &row : rows)
        order.push_back(row.index);
    return order;
}

std::vector<quint32> matching(const ItemKeys &keys, const std::vector<quint32> &order, const QString &searchQuery)
{
    if (searchQuery.isEmpty())
        return order;
    const QStringMatcher needle(searchQuery.toLower());
    // Names are looked at in the order in which they lie in memory: in the order shown, nearly each of them is a cache
    // miss.
    std::vector<char> isMatch(keys.lowerNames.size());
    std::transform(keys.lowerNames.begin(), keys.lowerNames.end(), isMatch.begin(),
                   [&needle](const QString &name) { return char(needle.indexIn(name) >= 0); });
    std::vector<quint32> matches;
    std::copy_if(order.begin(), order.end(), std::back_inserter(matches),
                 [&isMatch](quint32 index) { return isMatch[index] != 0; });
    return matches;
}

} // namespace moorix::ItemOrder
