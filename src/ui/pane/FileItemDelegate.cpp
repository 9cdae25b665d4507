// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FileItemDelegate.h"

#include "files/FileNames.h"
#include "ui/Theme.h"
#include "ui/pane/FileListModel.h"

#include <QIcon>
#include <QLineEdit>
#include <QPainter>
#include <QTimer>
#include <QTreeView>

namespace moorix {

namespace {

constexpr int padding = 10;
constexpr int iconSize = 16;
constexpr int iconGap = 6;
constexpr int textStart = padding + iconSize + iconGap;

/// What a rename usually changes: the name without its extension.
qsizetype stemLength(const FileItem &item)
{
    return item.isShownAsFolder() ? item.name.size() : FileNames::extensionStart(item.name);
}

} // namespace

FileItemDelegate::FileItemDelegate(QTreeView &view)
    : QStyledItemDelegate(&view)
    , m_view(view)
{
}

void FileItemDelegate::paintGround(QPainter &painter, const QStyleOptionViewItem &option,
                                   const QModelIndex &index) const
{
    const bool isFocused = m_view.hasFocus();
    const bool isCurrent = m_view.currentIndex().row() == index.row();
    Theme::Color ground = Theme::Color::base;
    if (option.state & QStyle::State_Selected)
        ground = isFocused ? Theme::Color::selection : Theme::Color::inactiveSelection;
    else if (isCurrent || (option.state & QStyle::State_MouseOver))
        ground = Theme::Color::currentRow;
    painter.fillRect(option.rect, Theme::color(ground));
    if (m_dropRow == index.row())
        painter.fillRect(option.rect, Theme::color(Theme::Color::selection));
    if (isCurrent && isFocused && index.column() == FileListModel::name)
        painter.fillRect(QRect(option.rect.topLeft(), QSize(3, option.rect.height())),
                         Theme::color(Theme::Color::accent));
}

void FileItemDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    paintGround(*painter, option, index);
    painter->save();
    if (index.data(FileListModel::isPaleRole).toBool())
        painter->setOpacity(0.6);
    QRect textRect = option.rect.adjusted(padding, 0, -padding, 0);
    if (index.column() == FileListModel::name) {
        const QRect iconRect(option.rect.left() + padding, option.rect.top() + (option.rect.height() - iconSize) / 2,
                             iconSize, iconSize);
        index.data(Qt::DecorationRole).value<QIcon>().paint(painter, iconRect);
        textRect.setLeft(option.rect.left() + textStart);
    }
    const bool isProminent = index.column() == FileListModel::name || (option.state & QStyle::State_Selected);
    painter->setPen(Theme::color(isProminent ? Theme::Color::text : Theme::Color::mutedText));
    const QString text = option.fontMetrics.elidedText(
        index.data(Qt::DisplayRole).toString(),
        index.column() == FileListModel::name ? Qt::ElideMiddle : Qt::ElideRight, textRect.width());
    painter->drawText(textRect, int(index.data(Qt::TextAlignmentRole).value<Qt::Alignment>()) | Qt::TextSingleLine,
                      text);
    painter->restore();
}

QSize FileItemDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    // 26 pixels at the standard size of 13.
    return {120, std::max(option.fontMetrics.height() + 10, iconSize + 8)};
}

QWidget *FileItemDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &, const QModelIndex &index) const
{
    auto *editor = new QLineEdit(parent);
    editor->setObjectName(QStringLiteral("renameEdit"));
    editor->setAccessibleName(tr("New name"));
    editor->setProperty("role", QStringLiteral("inCell"));
    const auto &files = static_cast<const FileListModel &>(*index.model());
    editor->setProperty("itemId", files.item(index.row()).id());
    // The view selects the whole text once it has shown the editor.
    QTimer::singleShot(0, editor,
                       [editor, stem = int(stemLength(files.item(index.row())))] { editor->setSelection(0, stem); });
    return editor;
}

void FileItemDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                            const QModelIndex &) const
{
    editor->setGeometry(option.rect.adjusted(textStart - 6, 1, -padding, -1));
}

} // namespace moorix
