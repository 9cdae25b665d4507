// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/palette/PaletteModel.h"

namespace moorix {

PaletteModel::PaletteModel(QList<PaletteEntry> entries, const QStringList &recent, QObject *parent)
    : QAbstractListModel(parent)
    , m_entries(std::move(entries))
    , m_search(m_entries, recent)
    , m_found(m_search.find({}))
{
}

void PaletteModel::setQuery(const QString &query)
{
    beginResetModel();
    m_found = m_search.find(query);
    endResetModel();
}

int PaletteModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_found.size());
}

QVariant PaletteModel::data(const QModelIndex &index, int role) const
{
    const PaletteEntry &shown = entry(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return shown.text;
    case Qt::DecorationRole:
        return shown.icon ? shown.icon() : QIcon();
    case Qt::AccessibleTextRole: {
        QStringList parts{shown.text, shown.isEnabled ? shown.detail : shown.refusal, shown.keys};
        parts.removeAll(QString());
        if (!shown.isEnabled)
            parts.insert(1, tr("not available"));
        return parts.join(u", ");
    }
    default:
        return {};
    }
}

} // namespace moorix
