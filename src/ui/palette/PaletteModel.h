// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/palette/PaletteEntry.h"
#include "ui/palette/PaletteSearch.h"

#include <QAbstractListModel>

#include <vector>

namespace moorix {

/// The entries that a query finds, the best first. Entries that cannot be run stay selectable, so that the reason can
/// be read.
class PaletteModel final : public QAbstractListModel
{
    Q_OBJECT

public:
    PaletteModel(QList<PaletteEntry> entries, const QStringList &recent, QObject *parent = nullptr);

    void setQuery(const QString &query);
    const PaletteEntry &entry(int row) const { return m_entries.at(m_found.at(std::size_t(row))); }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    QList<PaletteEntry> m_entries;
    PaletteSearch m_search;
    std::vector<qsizetype> m_found;
};

} // namespace moorix
