// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

class QTreeView;

namespace moorix {

/// Paints the rows of a file list and edits names in place.
class FileItemDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit FileItemDelegate(QTreeView &view);

    /// The row a drop would go into, or none.
    void setDropRow(int row) { m_dropRow = row; }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;

private:
    void paintGround(QPainter &painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;

    QTreeView &m_view;
    int m_dropRow = -1;
};

} // namespace moorix
