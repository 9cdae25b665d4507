// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/PaneListing.h"

#include "base/Job.h"

namespace moorix {

namespace {

/// Listings above this size take long enough to destroy to be noticed.
constexpr qsizetype largeListing = 2000;

void destroy(PaneListing *listing)
{
    std::unique_ptr<PaneListing> owned(listing);
    if (owned->items().size() < largeListing)
        return;
    runJob([owned = std::move(owned)](const std::stop_token &) mutable { owned.reset(); }, [] {}, [](const Error &) {})
        .detach();
}

} // namespace

PaneListing::PaneListing(QList<FileItem> items, HiddenFiles hidden, const ItemView &view)
    : m_items(std::move(items))
    , m_hidden(hidden)
    , m_view(view)
    , m_keys(ItemOrder::keys(m_items))
    , m_baseSorted(ItemOrder::sorted(m_keys, m_view))
    , m_rows(ItemOrder::matching(m_keys, m_baseSorted, m_view.searchQuery))
{
    indexRows();
}

std::shared_ptr<PaneListing> PaneListing::make(QList<FileItem> items, HiddenFiles hidden, const ItemView &view)
{
    return {new PaneListing(std::move(items), hidden, view), &destroy};
}

std::optional<qsizetype> PaneListing::rowOf(const QString &id) const
{
    if (id.isEmpty())
        return std::nullopt;
    if (m_displayedIndex.isEmpty())
        indexRows();
    const auto found = m_displayedIndex.constFind(id);
    return found == m_displayedIndex.constEnd() ? std::nullopt : std::optional(*found);
}

void PaneListing::indexRows() const
{
    m_displayedIndex.reserve(rowCount());
    for (qsizetype i = 0; i < rowCount(); ++i)
        m_displayedIndex.insert(row(i).id(), i);
}

bool PaneListing::setView(const ItemView &view)
{
    ItemView searchOnly = m_view;
    searchOnly.searchQuery = view.searchQuery;
    if (searchOnly != view)
        m_baseSorted = ItemOrder::sorted(m_keys, view);
    m_view = view;
    std::vector<quint32> rows = ItemOrder::matching(m_keys, m_baseSorted, view.searchQuery);
    if (rows == m_rows)
        return false;
    m_rows = std::move(rows);
    m_displayedIndex.clear();
    return true;
}

} // namespace moorix
