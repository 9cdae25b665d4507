// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncRowDelegate.h"

#include "files/FileItem.h"
#include "ui/Theme.h"
#include "ui/sync/SyncLook.h"
#include "ui/sync/SyncRowsModel.h"

#include <QPainter>
#include <QTreeView>

#include <algorithm>

namespace moorix {

namespace {

constexpr int iconSize = 16;
constexpr int padding = 8;
constexpr int indent = 18;
constexpr int closerWidth = 18;

const SyncRowsModel &modelOf(const QModelIndex &index)
{
    return static_cast<const SyncRowsModel &>(*index.model());
}

QIcon iconOf(const SyncRowsModel &model, int line)
{
    const SyncRow *row = model.row(line);
    FileItem item;
    item.name = model.relPath(line).section(u'/', -1);
    item.isDirectory = !row || row->isFolder();
    return Theme::fileIcon(item);
}

/// The side whose state is given up.
bool givesWay(const SyncRow &row, int column)
{
    const bool isLocal = column == SyncRowsModel::localSize || column == SyncRowsModel::localDate;
    switch (row.action) {
    case SyncAction::copyToLocal:
    case SyncAction::removeLocal:
        return isLocal;
    case SyncAction::copyToRemote:
    case SyncAction::removeRemote:
        return !isLocal;
    default:
        return false;
    }
}

/// Pale texts are harder to read on the ground of a selection.
Theme::Color colorOf(const SyncRow *row, int column, bool isSelected)
{
    using enum Theme::Color;
    const Theme::Color plain = isSelected ? text : mutedText;
    if (!row)
        return plain;
    if (column == SyncRowsModel::what) {
        const Theme::Color color = SyncLook::happeningColor(*row);
        return color == mutedText ? plain : color;
    }
    return !givesWay(*row, column) ? plain : isSelected ? mutedText : faintText;
}

} // namespace

SyncRowDelegate::SyncRowDelegate(QTreeView &view)
    : QStyledItemDelegate(&view)
    , m_view(view)
{
}

QRect SyncRowDelegate::closerRect(const QRect &cell, int depth)
{
    return {cell.left() + padding + depth * indent - 4, cell.top(), closerWidth, cell.height()};
}

void SyncRowDelegate::paintGround(QPainter &painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const bool isFocused = m_view.hasFocus();
    const bool isCurrent = m_view.currentIndex().row() == index.row();
    Theme::Color ground = Theme::Color::base;
    if (option.state & QStyle::State_Selected)
        ground = isFocused ? Theme::Color::selection : Theme::Color::inactiveSelection;
    else if (isCurrent || (option.state & QStyle::State_MouseOver))
        ground = Theme::Color::currentRow;
    painter.fillRect(option.rect, Theme::color(ground));
    if (isCurrent && isFocused && index.column() == SyncRowsModel::path)
        painter.fillRect(QRect(option.rect.topLeft(), QSize(3, option.rect.height())),
                         Theme::color(Theme::Color::accent));
}

void SyncRowDelegate::paintPath(QPainter &painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const SyncRowsModel &model = modelOf(index);
    const int line = index.row();
    int left = option.rect.left() + padding + model.depth(line) * indent;
    if (model.form() == SyncRowsModel::Form::tree) {
        if (model.isFolder(line)) {
            const QString name = model.isClosed(line) ? QStringLiteral("go-next") : QStringLiteral("go-down");
            const QRect closer = closerRect(option.rect, model.depth(line));
            Theme::icon(name, Theme::Color::faintText)
                .paint(&painter, QRect(closer.left() + 2, closer.center().y() - 5, 12, 12));
        }
        left += closerWidth - 4;
    }
    iconOf(model, line).paint(&painter, QRect(left, option.rect.center().y() - 7, iconSize, iconSize));
    const QRect rect(left + iconSize + 6, option.rect.top(), option.rect.right() - left - iconSize - 6 - padding,
                     option.rect.height());
    const QString text = option.fontMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, rect.width());
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    // The folders are pale, so that the names stand out.
    const qsizetype name = text.lastIndexOf(u'/') + 1;
    const int folderWidth = option.fontMetrics.horizontalAdvance(text.left(name));
    painter.setPen(Theme::color(isSelected ? Theme::Color::mutedText : Theme::Color::faintText));
    painter.drawText(rect, int(Qt::AlignVCenter | Qt::AlignLeft) | Qt::TextSingleLine, text.left(name));
    painter.setPen(Theme::color(model.row(line) || isSelected ? Theme::Color::text : Theme::Color::mutedText));
    painter.drawText(rect.adjusted(folderWidth, 0, 0, 0), int(Qt::AlignVCenter | Qt::AlignLeft) | Qt::TextSingleLine,
                     text.mid(name));
}

void SyncRowDelegate::paintDirection(QPainter &painter, const QStyleOptionViewItem &option, const SyncRow &row) const
{
    const auto [name, color] = SyncLook::directionSign(row);
    const QRect sign(option.rect.center().x() - iconSize / 2 + 1, option.rect.center().y() - iconSize / 2 + 1, iconSize,
                     iconSize);
    const bool isHot = option.state.testFlag(QStyle::State_MouseOver) && row.choices().size() > 1;
    QColor ground = Theme::color(color);
    ground.setAlphaF(isHot ? 0.32F : 0.16F);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    if (row.action != SyncAction::none && row.action != SyncAction::forget)
        painter.drawRoundedRect(sign.adjusted(-8, -2, 8, 2), 10, 10);
    Theme::icon(name, color).paint(&painter, sign);
    // A deletion tells by itself only that it is one, not where.
    if (row.action != SyncAction::removeLocal && row.action != SyncAction::removeRemote)
        return;
    const bool isLocal = row.action == SyncAction::removeLocal;
    const QRect arrow(isLocal ? sign.left() - 20 : sign.right() + 9, sign.top() + 2, 12, 12);
    Theme::icon(isLocal ? QStringLiteral("go-previous") : QStringLiteral("go-next"), color).paint(&painter, arrow);
}

void SyncRowDelegate::paintText(QPainter &painter, const QStyleOptionViewItem &option, const QRect &rect,
                                const QModelIndex &index)
{
    const QString text = option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, rect.width());
    painter.drawText(rect, int(index.data(Qt::TextAlignmentRole).value<Qt::Alignment>()) | Qt::TextSingleLine, text);
}

void SyncRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    paintGround(*painter, option, index);
    painter->save();
    painter->setFont(option.font);
    const SyncRow *row = modelOf(index).row(index.row());
    if (index.column() == SyncRowsModel::path) {
        paintPath(*painter, option, index);
    } else if (index.column() == SyncRowsModel::direction) {
        if (row)
            paintDirection(*painter, option, *row);
    } else {
        painter->setPen(Theme::color(colorOf(row, index.column(), option.state.testFlag(QStyle::State_Selected))));
        paintText(*painter, option, option.rect.adjusted(padding, 0, -padding, 0), index);
    }
    painter->restore();
}

QSize SyncRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return {120, std::max(option.fontMetrics.height() + 10, iconSize + 8)};
}

} // namespace moorix
