// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"
#include "files/FileSortKey.h"

#include <QList>

#include <vector>

namespace moorix {

/// What ordering and searching need of one entry, as numbers that compare fast.
struct ItemKey
{
    /// Places in the order of all lower-cased names and of all lower-cased extensions of the listing.
    quint32 nameRank = 0;
    quint32 kindRank = 0;
    qint64 size = 0;
    /// Milliseconds since 1970; an absent date is the distant past.
    qint64 modified = 0;
    bool isDirectory = false;
    /// The name begins with a dot.
    bool isHidden = false;
};

/// The keys of a whole listing, by index. Made once per listing, where it is read; ordering it anew is then cheap.
struct ItemKeys
{
    std::vector<ItemKey> keys;
    std::vector<QString> lowerNames;
};

/// How a listing is shown.
struct ItemView
{
    FileSortKey sortKey = FileSortKey::name;
    bool sortAscending = true;
    bool showHidden = false;
    QString searchQuery;

    bool operator==(const ItemView &) const = default;
};

/// Which entries of a listing are shown and in what order, as indices into the listing. Pure; any thread.
namespace ItemOrder {

/// About 150 ns per entry and comparison of names: not for the main thread when a listing is large.
ItemKeys keys(const QList<FileItem> &items);

/// Entries that pass the hidden filter, folders first in both directions, then by the sort key. Equal keys are in
/// ascending order of the lower-cased name, whatever the direction.
std::vector<quint32> sorted(const ItemKeys &keys, const ItemView &view);

/// Those of `order` whose names contain the query, ignoring case, in the same order. An empty query keeps all.
std::vector<quint32> matching(const ItemKeys &keys, const std::vector<quint32> &order, const QString &searchQuery);

} // namespace ItemOrder

} // namespace moorix
