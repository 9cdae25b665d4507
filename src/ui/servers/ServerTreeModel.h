// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractItemModel>
#include <QUuid>

#include <functional>
#include <memory>
#include <optional>

namespace moorix {

class ServerStore;

/// The server library as a tree: in each folder its subfolders, then its servers, both in their manual order. Follows
/// the store; renaming and dragging change the store. Main thread.
class ServerTreeModel final : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column { nameColumn, addressColumn, protocolColumn, columns };
    enum Role { idRole = Qt::UserRole, isFolderRole };

    /// `isConnected` tells whether a server has a live connection; `refreshConnections` asks again.
    ServerTreeModel(ServerStore &store, std::function<bool(const QUuid &)> isConnected, QObject *parent = nullptr);
    ~ServerTreeModel() override;

    /// Shows only servers whose name, address or notes hold the text, and folders that hold such a server or whose own
    /// name matches. Empty shows all.
    void setFilter(const QString &text);
    void refreshConnections();

    bool isFolder(const QModelIndex &index) const;
    QUuid id(const QModelIndex &index) const;
    /// Invalid when nothing of that identity is shown.
    QModelIndex indexOf(const QUuid &id) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;

private:
    struct Node;

    void rebuild();
    void fill(Node &node, const std::optional<QUuid> &folder);
    Node &node(const QModelIndex &index) const;
    QVariant folderData(const QUuid &id, int column, int role) const;
    QVariant serverData(const QUuid &id, int column, int role) const;

    ServerStore &m_store;
    std::function<bool(const QUuid &)> m_isConnected;
    QString m_filter;
    std::unique_ptr<Node> m_root;
};

} // namespace moorix
