// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncListView.h"

#include "ui/SortHeader.h"
#include "ui/Theme.h"
#include "ui/sync/SyncLook.h"
#include "ui/sync/SyncRowDelegate.h"
#include "ui/sync/SyncRowsModel.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>

#include <algorithm>
#include <optional>

namespace moorix {

namespace {

std::optional<SyncChoice> choiceOf(int key)
{
    switch (key) {
    case Qt::Key_Left:
        return SyncChoice::remoteWins;
    case Qt::Key_Right:
        return SyncChoice::localWins;
    case Qt::Key_Space:
        return SyncChoice::next;
    case Qt::Key_B:
        return SyncChoice::keepBoth;
    case Qt::Key_S:
        return SyncChoice::skip;
    case Qt::Key_U:
        return SyncChoice::usual;
    default:
        return std::nullopt;
    }
}

} // namespace

SyncListView::SyncListView(SyncSession &session, SyncRowsModel &rows, QWidget *parent)
    : QTreeView(parent)
    , m_session(session)
    , m_rows(rows)
{
    setObjectName(QStringLiteral("syncList"));
    setAccessibleName(tr("What the sync does"));
    setUpLook();
    setHeader(new SortHeader(8, this));
    header()->setSectionsClickable(true);
    setModel(&rows);
    setItemDelegate(new SyncRowDelegate(*this));
    header()->setSectionsMovable(false);
    // Without an indicator: in the order of paths. A third click brings that back.
    header()->setSortIndicator(-1, Qt::AscendingOrder);
    header()->setSortIndicatorClearable(true);
    setSortingEnabled(true);
    header()->setStretchLastSection(true);
    header()->setMinimumSectionSize(0);
    arrangeColumns();
    connect(this, &QWidget::customContextMenuRequested, this, &SyncListView::showMenu);
}

void SyncListView::setUpLook()
{
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    // The row that was current is painted anew, not only the cell.
    setAllColumnsShowFocus(true);
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(NoFrame);
    setContextMenuPolicy(Qt::CustomContextMenu);
    viewport()->setMouseTracking(true);
}

/// In a narrow window the dates go first, then the sizes.
void SyncListView::arrangeColumns()
{
    using Column = SyncRowsModel::Column;
    const int width = viewport()->width();
    const int date =
        width >= 860
            ? std::clamp(fontMetrics().horizontalAdvance(QStringLiteral("25 Nov 2026, 17:05")) + 24, 130, width / 6)
            : 0;
    const int size = width >= 560 ? 82 : 0;
    const int sign = 76;
    const int rest = width - 2 * date - 2 * size - sign;
    const int path = std::max(120, rest * 55 / 100);
    for (const Column column : {Column::localDate, Column::remoteDate}) {
        setColumnHidden(column, date == 0);
        setColumnWidth(column, date);
    }
    for (const Column column : {Column::localSize, Column::remoteSize}) {
        setColumnHidden(column, size == 0);
        setColumnWidth(column, size);
    }
    setColumnWidth(Column::direction, sign);
    setColumnWidth(Column::path, path);
}

void SyncListView::resizeEvent(QResizeEvent *event)
{
    arrangeColumns();
    QTreeView::resizeEvent(event);
}

void SyncListView::ensureCurrent()
{
    if (!currentIndex().isValid() && m_rows.rowCount() > 0)
        select(0);
}

void SyncListView::select(int line)
{
    selectionModel()->setCurrentIndex(m_rows.index(line, 0),
                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void SyncListView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    emit selectedRowsChanged();
}

void SyncListView::choose(SyncChoice choice)
{
    m_session.choose(m_rows.places(selectionModel()->selectedRows()), choice);
}

void SyncListView::toggleFolder(const QModelIndex &index)
{
    if (!index.isValid() || !m_rows.isFolder(index.row()))
        return;
    const QString folder = m_rows.relPath(index.row());
    m_rows.setClosed(index.row(), !m_rows.isClosed(index.row()));
    for (int line = 0; line < m_rows.rowCount(); ++line) {
        if (m_rows.relPath(line) == folder)
            return select(line);
    }
}

void SyncListView::keyPressEvent(QKeyEvent *event)
{
    if (const auto choice = choiceOf(event->key()); choice && event->modifiers() == Qt::NoModifier) {
        choose(*choice);
        return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (currentIndex().isValid() && m_rows.isFolder(currentIndex().row()))
            toggleFolder(currentIndex());
        else
            emit comparisonWanted();
        return;
    }
    if (event->key() == Qt::Key_C && event->modifiers() == Qt::NoModifier) {
        emit comparisonWanted();
        return;
    }
    // Letters are choices, or nothing: the search field is there to find rows.
    if (!event->text().isEmpty() && event->text().at(0).isPrint() && event->modifiers() == Qt::NoModifier) {
        event->ignore();
        return;
    }
    QTreeView::keyPressEvent(event);
}

/// The signs are for clicking; the rest of a row is for selecting it.
bool SyncListView::answersClick(const QModelIndex &index, const QPoint &position)
{
    if (!index.isValid())
        return false;
    if (index.column() == SyncRowsModel::direction && m_rows.row(index.row())) {
        select(index.row());
        m_session.choose(m_rows.places({index}), SyncChoice::next);
        return true;
    }
    const bool isCloser = index.column() == SyncRowsModel::path && m_rows.isFolder(index.row()) &&
                          SyncRowDelegate::closerRect(visualRect(index), m_rows.depth(index.row())).contains(position);
    if (isCloser)
        toggleFolder(index);
    return isCloser;
}

void SyncListView::mousePressEvent(QMouseEvent *event)
{
    const QPoint position = event->position().toPoint();
    const bool isPlain = event->button() == Qt::LeftButton && event->modifiers() == Qt::NoModifier;
    if (!isPlain || !answersClick(indexAt(position), position))
        QTreeView::mousePressEvent(event);
}

void SyncListView::mouseDoubleClickEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    if (index.column() == SyncRowsModel::path)
        toggleFolder(index);
    else
        mousePressEvent(event);
}

void SyncListView::showMenu(const QPoint &position)
{
    const QModelIndexList lines = selectionModel()->selectedRows();
    if (lines.isEmpty() || m_session.state() != SyncSession::State::review)
        return;
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("syncRowMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const SyncRow *only = lines.size() == 1 ? m_rows.row(lines.first().row()) : nullptr;
    const std::tuple<SyncChoice, QString, Qt::Key> entries[] = {
        {SyncChoice::localWins, QStringLiteral("go-next"), Qt::Key_Right},
        {SyncChoice::remoteWins, QStringLiteral("go-previous"), Qt::Key_Left},
        {SyncChoice::keepBoth, QStringLiteral("edit-copy"), Qt::Key_B},
        {SyncChoice::skip, QStringLiteral("dialog-cancel"), Qt::Key_S},
        {SyncChoice::usual, QStringLiteral("edit-undo"), Qt::Key_U}};
    for (const auto &[choice, iconName, key] : entries) {
        if (only && choice == SyncChoice::keepBoth && !only->choices().contains(SyncAction::keepBoth))
            continue;
        QAction *action = menu->addAction(Theme::icon(iconName), SyncLook::choiceText(choice, only), this,
                                          [this, choice = choice] { choose(choice); });
        action->setShortcut(key);
        action->setShortcutVisibleInContextMenu(true);
        action->setEnabled(!only || !only->isBlocked);
    }
    const bool hasBoth = only && only->diff.local && only->diff.remote && !only->isFolder();
    if (hasBoth) {
        menu->addSeparator();
        QAction *compare = menu->addAction(Theme::icon(QStringLiteral("vcs-diff")), tr("Compare…"), this,
                                           &SyncListView::comparisonWanted);
        compare->setShortcut(Qt::Key_C);
        compare->setShortcutVisibleInContextMenu(true);
    }
    menu->popup(viewport()->mapToGlobal(position));
}

} // namespace moorix
