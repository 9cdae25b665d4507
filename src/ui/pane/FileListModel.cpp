// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FileListModel.h"

#include "files/FileNames.h"
#include "files/Format.h"
#include "ui/Theme.h"
#include "ui/pane/FileFacts.h"
#include "ui/pane/FileMimeData.h"

using namespace Qt::StringLiterals;

namespace moorix {

FileListModel::FileListModel(PaneModel &pane, QObject *parent)
    : QAbstractTableModel(parent)
    , m_pane(pane)
    , m_rows(int(pane.displayedCount()))
{
    connect(&pane, &PaneModel::displayedChanged, this, &FileListModel::followPane);
}

void FileListModel::followPane()
{
    beginResetModel();
    m_rows = int(m_pane.displayedCount());
    endResetModel();
}

std::optional<int> FileListModel::rowOf(const QString &id) const
{
    const std::optional<qsizetype> row = m_pane.displayedIndex(id);
    if (!row || *row >= m_rows)
        return std::nullopt;
    return int(*row);
}

void FileListModel::setCutPaths(QSet<QString> paths)
{
    if (paths == m_cutPaths)
        return;
    m_cutPaths = std::move(paths);
    if (m_rows > 0)
        emit dataChanged(index(0, 0), index(m_rows - 1, columnCountOfList - 1), {isPaleRole});
}

int FileListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

int FileListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : columnCountOfList;
}

QVariant FileListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_pane.displayedCount())
        return {};
    const FileItem &entry = item(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return text(entry, index.column());
    case Qt::EditRole:
        return entry.name;
    case Qt::DecorationRole:
        return index.column() == name ? QVariant(Theme::fileIcon(entry)) : QVariant();
    case Qt::TextAlignmentRole:
        return QVariant::fromValue((index.column() == size ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    case Qt::ToolTipRole:
        return toolTip(entry);
    case isPaleRole:
        return entry.name.startsWith(u'.') || m_cutPaths.contains(entry.path);
    default:
        return {};
    }
}

QString FileListModel::text(const FileItem &entry, int column) const
{
    switch (column) {
    case name:
        return Format::display(entry.name);
    case size:
        return entry.isShownAsFolder() ? u"—"_s : Format::byteCount(entry.size);
    case modified:
        return FileFacts::modified(entry, m_pane.isLocal());
    case permissions:
        return entry.permissions.value_or(u"—"_s);
    case owner:
        return entry.ownerName.value_or(u"—"_s);
    default:
        return {};
    }
}

QString FileListModel::toolTip(const FileItem &entry) const
{
    QStringList lines{Format::display(entry.path)};
    if (entry.isSymlink)
        lines << tr("Symbolic link");
    if (!entry.isShownAsFolder())
        lines << FileFacts::exactSize(entry.size);
    if (entry.modified)
        lines << FileFacts::modifiedInFull(entry, m_pane.isLocal());
    if (entry.permissions)
        lines << *entry.permissions + (entry.ownerName ? u"  "_s + *entry.ownerName : QString());
    // A tool tip that begins with a tag would be read as markup.
    return u"<p style='white-space:pre'>"_s + lines.join(u'\n').toHtmlEscaped() + u"</p>"_s;
}

QVariant FileListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue((section == size ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case name:
        return tr("Name");
    case size:
        return tr("Size");
    case modified:
        return tr("Modified");
    case permissions:
        return tr("Permissions");
    case owner:
        return tr("Owner");
    default:
        return {};
    }
}

Qt::ItemFlags FileListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid() || index.row() >= m_pane.displayedCount())
        return Qt::ItemIsDropEnabled;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
    if (item(index.row()).isShownAsFolder())
        flags |= Qt::ItemIsDropEnabled;
    if (index.column() == name)
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool FileListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || !index.isValid() || index.row() >= m_pane.displayedCount())
        return false;
    const FileItem entry = item(index.row());
    const QString wanted = value.toString();
    if (wanted.isEmpty() || wanted == entry.name)
        return false;
    if (const auto problem = FileNames::problem(wanted)) {
        emit nameRefused(*problem);
        return false;
    }
    m_pane.rename(entry, wanted);
    return true;
}

QStringList FileListModel::mimeTypes() const
{
    return FileMimeData::acceptedTypes();
}

QMimeData *FileListModel::mimeData(const QModelIndexList &indexes) const
{
    QList<FileItem> items;
    for (const QModelIndex &index : indexes) {
        if (index.column() == name)
            items.append(item(index.row()));
    }
    return new FileMimeData(m_pane.service(), items, m_pane.isLocal());
}

} // namespace moorix
