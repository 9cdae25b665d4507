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

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    void paintHeading(QPainter &painter, const QStyleOptionViewItem &option, const QString &text) const;

    int m_connectedRole;
};

} // namespace moorix
