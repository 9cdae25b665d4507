// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/ArchiveTreeModel.h"

#include "files/FileItem.h"
#include "files/Format.h"
#include "ui/Theme.h"

#include <QHash>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

using Tree = ArchiveTreeModel::Tree;

/// Makes the nodes of a path, one after the other, and knows those that are there.
class Planter final
{
public:
    explicit Planter(Tree &tree)
        : m_tree(tree)
    {
        m_tree.emplace_back();
        m_tree.front().isFolder = true;
        m_known.insert(QString(), 0);
    }

    int nodeAt(const QString &path)
    {
        if (const auto known = m_known.constFind(path); known != m_known.cend())
            return *known;
        const qsizetype slash = path.lastIndexOf(u'/');
        const int parent = nodeAt(path.left(std::max<qsizetype>(slash, 0)));
        const int made = int(m_tree.size());
        ArchiveTreeModel::Node node;
        node.name = path.mid(slash + 1);
        node.path = path;
        node.parent = parent;
        m_tree.push_back(std::move(node));
        auto &above = m_tree.at(std::size_t(parent));
        above.isFolder = true;
        above.children.push_back(made);
        m_known.insert(path, made);
        return made;
    }

private:
    Tree &m_tree;
    QHash<QString, int> m_known;
};

} // namespace

Tree ArchiveTreeModel::treeOf(const QList<ZipEntry> &entries)
{
    Tree tree;
    Planter planter(tree);
    for (const ZipEntry &entry : entries) {
        Node &node = tree.at(std::size_t(planter.nodeAt(entry.path)));
        node.isFolder = node.isFolder || entry.isFolder;
        node.isLink = entry.isLink;
        node.size = entry.size;
        node.modified = entry.modified;
    }
    // Children stand behind their parents.
    for (std::size_t i = tree.size() - 1; i > 0; --i) {
        Node &above = tree.at(std::size_t(tree.at(i).parent));
        above.size += tree.at(i).size;
        above.files += tree.at(i).isFolder ? tree.at(i).files : 1;
    }
    for (Node &node : tree) {
        std::ranges::sort(node.children, [&tree](int a, int b) {
            const Node &first = tree.at(std::size_t(a));
            const Node &second = tree.at(std::size_t(b));
            return std::pair(!first.isFolder, first.name) < std::pair(!second.isFolder, second.name);
        });
        for (std::size_t row = 0; row < node.children.size(); ++row)
            tree.at(std::size_t(node.children.at(row))).row = int(row);
    }
    return tree;
}

ArchiveTreeModel::ArchiveTreeModel(QObject *parent)
    : QAbstractItemModel(parent)
    , m_tree(1)
{
}

void ArchiveTreeModel::setTree(Tree tree)
{
    beginResetModel();
    m_tree = std::move(tree);
    endResetModel();
}

const ArchiveTreeModel::Node &ArchiveTreeModel::node(const QModelIndex &index) const
{
    return m_tree.at(index.isValid() ? std::size_t(index.internalId()) : 0);
}

QStringList ArchiveTreeModel::outermostPaths(const QItemSelection &selection) const
{
    std::vector<bool> isSelected(m_tree.size(), false);
    for (const QItemSelectionRange &range : selection) {
        const Node &parent = node(range.parent());
        for (int row = range.top(); row <= range.bottom(); ++row)
            isSelected.at(std::size_t(parent.children.at(std::size_t(row)))) = true;
    }
    QStringList paths;
    // Parents stand before their children: what a selected one covers is known by then.
    std::vector<bool> isCovered = isSelected;
    for (std::size_t i = 1; i < m_tree.size(); ++i) {
        const Node &each = m_tree.at(i);
        const bool isBelow = each.parent > 0 && isCovered.at(std::size_t(each.parent));
        if (isSelected.at(i) && !isBelow)
            paths << each.path;
        isCovered.at(i) = isSelected.at(i) || isBelow;
    }
    return paths;
}

QModelIndex ArchiveTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, quintptr(node(parent).children.at(std::size_t(row))));
}

QModelIndex ArchiveTreeModel::parent(const QModelIndex &child) const
{
    const int above = child.isValid() ? node(child).parent : 0;
    return above > 0 ? createIndex(m_tree.at(std::size_t(above)).row, 0, quintptr(above)) : QModelIndex();
}

int ArchiveTreeModel::rowCount(const QModelIndex &parent) const
{
    return parent.column() > 0 ? 0 : int(node(parent).children.size());
}

QVariant ArchiveTreeModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const Node &shown = node(index);
    if (role == Qt::DecorationRole && index.column() == 0) {
        FileItem item;
        item.name = shown.name;
        item.isDirectory = shown.isFolder;
        item.isSymlink = shown.isLink;
        return Theme::fileIcon(item);
    }
    if (role == Qt::TextAlignmentRole && index.column() == 1)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role == Qt::ForegroundRole && index.column() > 0)
        return Theme::color(Theme::Color::mutedText);
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case 0:
        return Format::display(shown.name);
    case 1:
        return shown.isFolder && shown.files == 0 ? u"—"_s : Format::byteCount(shown.size);
    default:
        return shown.modified ? Format::date(shown.modified->toLocalTime()) : QString();
    }
}

QVariant ArchiveTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role == Qt::TextAlignmentRole && section == 1)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    const QString titles[] = {tr("Name"), tr("Size"), tr("Modified")};
    return titles[section];
}

} // namespace moorix
