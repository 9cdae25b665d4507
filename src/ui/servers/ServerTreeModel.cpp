// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ServerTreeModel.h"

#include "files/Format.h"
#include "servers/ServerStore.h"
#include "ui/Theme.h"
#include "ui/servers/ServerLook.h"

#include <QMimeData>

#include <algorithm>
#include <vector>

namespace moorix {

namespace {

const QString nodeMimeType = QStringLiteral("application/x-moorix-library-node");

bool matches(const ServerConnection &server, const QString &filter)
{
    const QString address = ServerLook::address(server);
    return std::ranges::any_of(std::initializer_list<QString>{server.name, address, server.notes},
                               [&](const QString &text) { return text.contains(filter, Qt::CaseInsensitive); });
}

} // namespace

struct ServerTreeModel::Node
{
    QUuid id;
    bool isFolder = true;
    Node *parent = nullptr;
    std::vector<std::unique_ptr<Node>> children = {};

    int row() const
    {
        const auto &siblings = parent->children;
        const auto found =
            std::ranges::find_if(siblings, [this](const auto &sibling) { return sibling.get() == this; });
        return int(found - siblings.begin());
    }

    Node &add(const QUuid &childID, bool childIsFolder)
    {
        children.push_back(std::make_unique<Node>(Node{childID, childIsFolder, this}));
        return *children.back();
    }
};

ServerTreeModel::ServerTreeModel(ServerStore &store, std::function<bool(const QUuid &)> isConnected, QObject *parent)
    : QAbstractItemModel(parent)
    , m_store(store)
    , m_isConnected(std::move(isConnected))
{
    rebuild();
    connect(&store, &ServerStore::libraryChanged, this, &ServerTreeModel::rebuild);
}

ServerTreeModel::~ServerTreeModel() = default;

void ServerTreeModel::setFilter(const QString &text)
{
    if (m_filter == text.trimmed())
        return;
    m_filter = text.trimmed();
    rebuild();
}

void ServerTreeModel::refreshConnections()
{
    const std::function<void(const QModelIndex &)> refresh = [&](const QModelIndex &parent) {
        const int rows = rowCount(parent);
        if (rows == 0)
            return;
        emit dataChanged(index(0, 0, parent), index(rows - 1, columns - 1, parent));
        for (int row = 0; row < rows; ++row)
            refresh(index(row, 0, parent));
    };
    refresh({});
}

void ServerTreeModel::rebuild()
{
    beginResetModel();
    m_root = std::make_unique<Node>();
    fill(*m_root, std::nullopt);
    endResetModel();
}

void ServerTreeModel::fill(Node &node, const std::optional<QUuid> &folder)
{
    for (const ServerFolder &child : m_store.folders(folder)) {
        fill(node.add(child.id, true), child.id);
        const bool isShown = m_filter.isEmpty() || !node.children.back()->children.empty() ||
                             child.name.contains(m_filter, Qt::CaseInsensitive);
        if (!isShown)
            node.children.pop_back();
    }
    for (const ServerConnection &server : m_store.servers(folder)) {
        if (m_filter.isEmpty() || matches(server, m_filter))
            node.add(server.id, false);
    }
}

ServerTreeModel::Node &ServerTreeModel::node(const QModelIndex &index) const
{
    return index.isValid() ? *static_cast<Node *>(index.internalPointer()) : *m_root;
}

bool ServerTreeModel::isFolder(const QModelIndex &index) const
{
    return node(index).isFolder;
}

QUuid ServerTreeModel::id(const QModelIndex &index) const
{
    return node(index).id;
}

QModelIndex ServerTreeModel::indexOf(const QUuid &id) const
{
    if (id.isNull())
        return {};
    const QModelIndexList found =
        match(index(0, 0), idRole, id, 1, Qt::MatchExactly | Qt::MatchRecursive | Qt::MatchWrap);
    return found.isEmpty() ? QModelIndex() : found.first();
}

QModelIndex ServerTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, node(parent).children.at(std::size_t(row)).get());
}

QModelIndex ServerTreeModel::parent(const QModelIndex &child) const
{
    if (!child.isValid())
        return {};
    Node *parent = node(child).parent;
    return parent == m_root.get() ? QModelIndex() : createIndex(parent->row(), 0, parent);
}

int ServerTreeModel::rowCount(const QModelIndex &parent) const
{
    return parent.column() > 0 ? 0 : int(node(parent).children.size());
}

int ServerTreeModel::columnCount(const QModelIndex &) const
{
    return columns;
}

QVariant ServerTreeModel::data(const QModelIndex &index, int role) const
{
    const Node &item = node(index);
    if (!index.isValid())
        return {};
    if (role == idRole)
        return item.id;
    if (role == isFolderRole)
        return item.isFolder;
    return item.isFolder ? folderData(item.id, index.column(), role) : serverData(item.id, index.column(), role);
}

QVariant ServerTreeModel::folderData(const QUuid &id, int column, int role) const
{
    const std::optional<ServerFolder> folder = m_store.folder(id);
    if (!folder)
        return {};
    if (column == addressColumn && role == Qt::DisplayRole) {
        const qsizetype count = m_store.serverCount(id);
        return count == 1 ? tr("1 server") : tr("%n servers", nullptr, int(count));
    }
    if (role == Qt::ForegroundRole && column != nameColumn)
        return Theme::color(Theme::Color::mutedText);
    if (column != nameColumn)
        return {};
    if (role == Qt::DisplayRole || role == Qt::EditRole)
        return role == Qt::DisplayRole ? Format::display(folder->name) : folder->name;
    if (role == Qt::DecorationRole) {
        const std::optional<QColor> tag = ServerLook::color(folder->colorTag);
        return tag ? ServerLook::dot(*tag) : Theme::icon(QStringLiteral("folder"));
    }
    return {};
}

QVariant ServerTreeModel::serverData(const QUuid &id, int column, int role) const
{
    const std::optional<ServerConnection> server = m_store.server(id);
    if (!server)
        return {};
    if (role == Qt::ToolTipRole)
        return m_isConnected(id) ? tr("Connected to %1").arg(server->host) : ServerLook::address(*server);
    if (role == Qt::ForegroundRole && column != nameColumn)
        return Theme::color(Theme::Color::mutedText);
    if (role == Qt::DecorationRole && column == nameColumn)
        return ServerLook::icon(*server);
    if (role == Qt::DecorationRole && column == protocolColumn && m_isConnected(id))
        return ServerLook::dot(Theme::color(Theme::Color::success));
    if (role == Qt::EditRole && column == nameColumn)
        return server->name;
    if (role != Qt::DisplayRole)
        return {};
    switch (column) {
    case nameColumn:
        return Format::display(server->displayName()) + (server->isFavorite ? QStringLiteral("  ★") : QString());
    case addressColumn:
        return ServerLook::address(*server);
    default:
        return rawText(server->networkProtocol);
    }
}

QVariant ServerTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case nameColumn:
        return tr("Name");
    case addressColumn:
        return tr("Address");
    default:
        return tr("Protocol");
    }
}

Qt::ItemFlags ServerTreeModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
    if (index.column() == nameColumn)
        flags |= Qt::ItemIsEditable;
    if (isFolder(index))
        flags |= Qt::ItemIsDropEnabled;
    return flags;
}

bool ServerTreeModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const QString name = value.toString().trimmed();
    if (role != Qt::EditRole || index.column() != nameColumn || name.isEmpty())
        return false;
    if (isFolder(index)) {
        std::optional<ServerFolder> folder = m_store.folder(id(index));
        if (!folder)
            return false;
        folder->name = name;
        m_store.updateFolder(*folder);
        return true;
    }
    std::optional<ServerConnection> server = m_store.server(id(index));
    if (!server)
        return false;
    server->name = name;
    m_store.upsert(*server);
    return true;
}

QStringList ServerTreeModel::mimeTypes() const
{
    return {nodeMimeType};
}

QMimeData *ServerTreeModel::mimeData(const QModelIndexList &indexes) const
{
    QByteArray ids;
    for (const QModelIndex &index : indexes) {
        if (index.column() == nameColumn)
            ids += id(index).toByteArray() + '\n';
    }
    auto *data = new QMimeData;
    data->setData(nodeMimeType, ids.trimmed());
    return data;
}

bool ServerTreeModel::canDropMimeData(const QMimeData *data, Qt::DropAction, int, int, const QModelIndex &parent) const
{
    // A filtered tree hides siblings, so a position in it would mean another one in the library.
    if (!m_filter.isEmpty() || !data->hasFormat(nodeMimeType) || !isFolder(parent))
        return false;
    const QUuid target = id(parent);
    for (const QByteArray &text : data->data(nodeMimeType).split('\n')) {
        const QUuid dragged(text);
        if (!target.isNull() && (dragged == target || m_store.isDescendant(target, dragged)))
            return false;
    }
    return true;
}

bool ServerTreeModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                   const QModelIndex &parent)
{
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    const std::optional<QUuid> target = parent.isValid() ? std::optional(id(parent)) : std::nullopt;
    const qsizetype folderCount = m_store.folders(target).size();
    const qsizetype position = row < 0 ? rowCount(parent) : row;
    // The rows of a folder are its subfolders, then its servers; the store counts each kind by itself, without the
    // item that moves.
    for (const QByteArray &text : data->data(nodeMimeType).split('\n')) {
        const QUuid dragged(text);
        const bool isDraggedFolder = m_store.folder(dragged).has_value();
        const QModelIndex from = indexOf(dragged);
        qsizetype at =
            isDraggedFolder ? std::min(position, folderCount) : std::max<qsizetype>(0, position - folderCount);
        if (from.isValid() && from.parent() == parent && from.row() < position)
            at = std::max<qsizetype>(0, at - 1);
        if (isDraggedFolder)
            m_store.placeFolder(dragged, target, at);
        else
            m_store.placeServer(dragged, target, at);
    }
    return true;
}

} // namespace moorix
