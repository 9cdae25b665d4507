// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/ProcessTreeView.h"

#include "ui/Theme.h"
#include "ui/monitor/ProcessModel.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyledItemDelegate>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr int step = 12;
/// The room of a branch's mark.
constexpr int markWidth = 16;
constexpr int padding = 8;
constexpr int rowHeight = 24;

/// Indents names and draws the mark of a branch before them.
class NameDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    static int indent(const QModelIndex &index)
    {
        constexpr int deepest = 10;
        return std::min(index.data(ProcessModel::depthRole).toInt(), deepest) * step;
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        return {QStyledItemDelegate::sizeHint(option, index).width(), rowHeight};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        QStyleOptionViewItem ground = option;
        initStyleOption(&ground, index);
        ground.text.clear();
        option.widget->style()->drawControl(QStyle::CE_ItemViewItem, &ground, painter, option.widget);
        QRect rect = option.rect.adjusted(padding, 0, -padding, 0);
        if (index.column() == 0) {
            rect.adjust(indent(index), 0, padding / 2, 0);
            if (index.data(ProcessModel::hasChildrenRole).toBool())
                drawMark(*painter, rect, index.data(ProcessModel::isCollapsedRole).toBool());
            rect.adjust(markWidth, 0, 0, 0);
        }
        const QVariant color = index.data(Qt::ForegroundRole);
        painter->setPen(color.isValid() ? color.value<QColor>() : Theme::color(Theme::Color::text));
        painter->drawText(rect, index.data(Qt::TextAlignmentRole).toInt() | Qt::TextSingleLine,
                          option.fontMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, rect.width()));
    }

private:
    static void drawMark(QPainter &painter, const QRect &rect, bool isCollapsed)
    {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(rect.left() + 5, rect.center().y() + 0.5);
        if (!isCollapsed)
            painter.rotate(90);
        painter.setPen(QPen(Theme::color(Theme::Color::mutedText), 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPolyline(QPolygonF{{-2, -3.5}, {2, 0}, {-2, 3.5}});
        painter.restore();
    }
};

} // namespace

ProcessTreeView::ProcessTreeView(QWidget *parent)
    : QTreeView(parent)
{
    setObjectName(u"processList"_s);
    setAccessibleName(tr("Processes"));
    setRootIsDecorated(false);
    setIndentation(0);
    setUniformRowHeights(true);
    setItemDelegate(new NameDelegate(this));
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setAllColumnsShowFocus(true);
    setTabKeyNavigation(false);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setVerticalScrollMode(ScrollPerPixel);
    header()->setSectionsClickable(true);
    header()->setStretchLastSection(false);
    header()->setMinimumSectionSize(60);
}

void ProcessTreeView::keyPressEvent(QKeyEvent *event)
{
    const QModelIndex current = currentIndex();
    const bool isBranch = current.siblingAtColumn(0).data(ProcessModel::hasChildrenRole).toBool();
    const bool isFolded = current.siblingAtColumn(0).data(ProcessModel::isCollapsedRole).toBool();
    switch (event->key()) {
    case Qt::Key_Delete:
    case Qt::Key_F8:
        emit endRequested();
        return;
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (isBranch) {
            const bool wantsFolded = event->key() == Qt::Key_Left || (event->key() != Qt::Key_Right && !isFolded);
            emit foldRequested(current.siblingAtColumn(0), wantsFolded);
        }
        return;
    default:
        QTreeView::keyPressEvent(event);
    }
}

void ProcessTreeView::resizeEvent(QResizeEvent *event)
{
    // Names need the room.
    constexpr int roomy = 800;
    setColumnHidden(int(ProcessColumn::threads), event->size().width() < roomy);
    QTreeView::resizeEvent(event);
}

void ProcessTreeView::mousePressEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    const int inside = int(event->position().x()) - visualRect(index).left() - padding - NameDelegate::indent(index);
    const bool isOnMark = index.column() == 0 && inside >= 0 && inside < markWidth;
    if (isOnMark && index.data(ProcessModel::hasChildrenRole).toBool())
        emit foldRequested(index, !index.data(ProcessModel::isCollapsedRole).toBool());
    else
        QTreeView::mousePressEvent(event);
}

} // namespace moorix
