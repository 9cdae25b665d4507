// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileService.h"
#include "files/ItemOrder.h"

#include <QHash>

#include <memory>
#include <optional>

namespace moorix {

/// One folder as it was read, and the rows shown of it. Made on a worker, then used on the main thread; its items never
/// change, so workers may go on reading them.
class PaneListing final
{
public:
    /// `hidden` is how the items were asked for. The last owner may let go anywhere at no cost: a large listing is
    /// taken apart on a worker.
    static std::shared_ptr<PaneListing> make(QList<FileItem> items, HiddenFiles hidden, const ItemView &view);

    const QList<FileItem> &items() const { return m_items; }
    HiddenFiles hidden() const { return m_hidden; }

    qsizetype rowCount() const { return qsizetype(m_rows.size()); }
    const FileItem &row(qsizetype row) const { return m_items.at(m_rows.at(size_t(row))); }
    /// The first call after a change of the rows costs as much as there are rows.
    std::optional<qsizetype> rowOf(const QString &id) const;

    /// Orders and filters anew as far as `view` differs from the present one; returns whether the rows changed.
    bool setView(const ItemView &view);

private:
    PaneListing(QList<FileItem> items, HiddenFiles hidden, const ItemView &view);
    void indexRows() const;

    QList<FileItem> m_items;
    HiddenFiles m_hidden;
    ItemView m_view;
    ItemKeys m_keys;
    /// Indices of the entries after hidden filter and sort (`baseSorted`), and of those that match the search too.
    std::vector<quint32> m_baseSorted;
    std::vector<quint32> m_rows;
    mutable QHash<QString, qsizetype> m_displayedIndex;
};

} // namespace moorix
