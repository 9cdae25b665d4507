// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/PaneModel.h"

#include <QAbstractTableModel>

#include <optional>

namespace moorix {

/// The rows of a pane as an item model: a window onto PaneModel's own sorted and filtered rows, without a copy and
/// without a proxy. Main thread; the pane outlives it.
class FileListModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { name, size, modified, permissions, owner, columnCountOfList };
    /// Whether the entry waits on the clipboard to be moved, or is hidden: it is shown pale.
    static constexpr int isPaleRole = Qt::UserRole;

    explicit FileListModel(PaneModel &pane, QObject *parent = nullptr);

    const FileItem &item(int row) const { return m_pane.displayedItem(row); }
    std::optional<int> rowOf(const QString &id) const;
    /// Paths on the clipboard that a paste would move away.
    void setCutPaths(QSet<QString> paths);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    /// Renames the entry when `value` is another, usable name.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;

    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::CopyAction | Qt::MoveAction; }
    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction | Qt::MoveAction; }

signals:
    /// A name typed in place cannot be used, and why.
    void nameRefused(const QString &sentence);

private:
    void followPane();
    QString text(const FileItem &item, int column) const;
    QString toolTip(const FileItem &item) const;

    PaneModel &m_pane;
    /// What views were told; the pane's own count may be ahead of it for a moment.
    int m_rows = 0;
    QSet<QString> m_cutPaths;
};

} // namespace moorix
