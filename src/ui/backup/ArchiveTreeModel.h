// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/ZipArchive.h"

#include <QAbstractItemModel>
#include <QItemSelection>

#include <vector>

namespace moorix {

/// What is in an archive, as a tree: folders first, then by name. Folders that only stand in the paths of others are
/// shown too.
class ArchiveTreeModel final : public QAbstractItemModel
{
    Q_OBJECT

public:
    struct Node
    {
        QString name;
        /// As it stands in the archive.
        QString path;
        bool isFolder = false;
        bool isLink = false;
        /// Of folders: all that lies below.
        qint64 size = 0;
        qint64 files = 0;
        std::optional<QDateTime> modified;
        int parent = -1;
        int row = 0;
        std::vector<int> children;
    };
    /// All nodes; the first is the root.
    using Tree = std::vector<Node>;

    /// Any thread; takes its time for large archives.
    static Tree treeOf(const QList<ZipEntry> &entries);

    explicit ArchiveTreeModel(QObject *parent = nullptr);

    void setTree(Tree tree);
    const Node &node(const QModelIndex &index) const;
    /// The paths of the rows of a selection, without those that lie below another one of them; in the archive's order.
    QStringList outermostPaths(const QItemSelection &selection) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex & = {}) const override { return 3; }
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    Tree m_tree;
};

} // namespace moorix
