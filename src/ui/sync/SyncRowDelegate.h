// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

class QTreeView;

namespace moorix {

struct SyncRow;

/// Draws the lines of a SyncRowsModel. The side that gives way is pale.
class SyncRowDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit SyncRowDelegate(QTreeView &view);

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

    /// Where the sign is drawn that closes and opens a folder, in the rectangle of its path.
    static QRect closerRect(const QRect &cell, int depth);

private:
    void paintGround(QPainter &painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintPath(QPainter &painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintDirection(QPainter &painter, const QStyleOptionViewItem &option, const SyncRow &row) const;
    static void paintText(QPainter &painter, const QStyleOptionViewItem &option, const QRect &rect,
                          const QModelIndex &index);

    QTreeView &m_view;
};

} // namespace moorix
