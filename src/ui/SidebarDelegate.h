// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

namespace moorix {

/// Draws the rows of the sidebar: headings in small capitals, rounded rows, a dot at connected servers.
class SidebarDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /// `connectedRole` holds whether the row's server is connected.
    SidebarDelegate(int connectedRole, QObject *parent);

    /// The row that what is dragged would go to; an invalid one for none.
    void setDropRow(const QModelIndex &index) { m_dropRow = index; }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    void paintHeading(QPainter &painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;

    int m_connectedRole;
    QPersistentModelIndex m_dropRow;
};

} // namespace moorix
