// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/ListPosition.h"

#include "files/Format.h"
#include "ui/pane/FileListModel.h"

#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTreeView>

#include <algorithm>

namespace moorix {

namespace {

/// Enough for a day's work, and bounded.
constexpr qsizetype maxVisited = 500;

/// The entry of `folder` that leads to `descendant`, or nothing when that lies elsewhere.
QString entryToward(const QString &descendant, const QString &folder)
{
    const QString prefix = Format::join(folder, {});
    if (!descendant.startsWith(prefix) || descendant.size() == prefix.size())
        return {};
    const qsizetype end = descendant.indexOf(u'/', prefix.size());
    return end < 0 ? descendant : descendant.left(end);
}

} // namespace

ListPosition::ListPosition(PaneModel &pane, FileListModel &files, QTreeView &view)
    : QObject(&view)
    , m_pane(pane)
    , m_files(files)
    , m_view(view)
    , m_path(pane.currentPath())
    , m_order(order())
{
    connect(&files, &FileListModel::modelAboutToBeReset, this, [this] { m_isRestoring = true; });
    connect(&files, &FileListModel::modelReset, this, &ListPosition::restore);
    connect(view.selectionModel(), &QItemSelectionModel::currentChanged, this, &ListPosition::noteCurrent);
    connect(view.verticalScrollBar(), &QScrollBar::valueChanged, this, &ListPosition::noteScroll);
    connect(&pane, &PaneModel::currentItemRequested, this, &ListPosition::makeCurrent);
}

ListPosition::Order ListPosition::order() const
{
    return {m_pane.sortKey(), m_pane.sortAscending(), m_pane.searchQuery()};
}

void ListPosition::makeCurrent(const QString &id)
{
    if (const auto row = m_files.rowOf(id)) {
        setCurrentRow(*row);
        m_view.scrollTo(m_files.index(*row, 0));
    }
}

void ListPosition::noteCurrent()
{
    const QModelIndex current = m_view.currentIndex();
    if (m_isRestoring || !current.isValid() || current.row() >= m_pane.displayedCount())
        return;
    m_place.currentId = m_files.item(current.row()).id();
    m_place.currentRow = current.row();
}

void ListPosition::noteScroll()
{
    if (m_isRestoring)
        return;
    m_place.scrollValue = m_view.verticalScrollBar()->value();
    const QModelIndex top = m_view.indexAt(QPoint(0, 0));
    if (!top.isValid() || top.row() >= m_pane.displayedCount())
        return;
    m_place.topId = m_files.item(top.row()).id();
    m_place.topOffset = -m_view.visualRect(top).top();
}

void ListPosition::restore()
{
    {
        const QScopedValueRollback restoring(m_isRestoring, true);
        const Order newOrder = order();
        if (m_path != m_pane.currentPath()) {
            enterFolder();
        } else {
            const auto row = m_files.rowOf(m_place.currentId);
            // What was current is gone: its place stays current, so that a second deletion goes on from there.
            setCurrentRow(row.value_or(std::min(m_place.currentRow, m_files.rowCount() - 1)));
            if (newOrder == m_order)
                restoreScroll();
            else
                m_view.scrollTo(m_view.currentIndex());
        }
        m_order = newOrder;
    }
    m_isRestoring = false;
    noteCurrent();
    noteScroll();
}

void ListPosition::enterFolder()
{
    if (m_visited.size() >= maxVisited)
        m_visited.clear();
    m_visited.insert(m_path, m_place);
    const QString cameFrom = entryToward(m_path, m_pane.currentPath());
    m_path = m_pane.currentPath();
    m_place = m_visited.value(m_path);
    restoreScroll();
    const auto row = m_files.rowOf(cameFrom.isEmpty() ? m_place.currentId : cameFrom);
    setCurrentRow(row.value_or(0));
    if (row)
        m_view.scrollTo(m_view.currentIndex());
}

void ListPosition::setCurrentRow(int row)
{
    const QModelIndex index = m_files.index(row, 0);
    if (!index.isValid())
        return;
    m_view.selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
}

void ListPosition::restoreScroll()
{
    // A reset lays rows out later; the scroll bar knows its range only then.
    m_view.doItemsLayout();
    const auto top = m_files.rowOf(m_place.topId);
    const int rowHeight = m_view.visualRect(m_files.index(0, 0)).height();
    m_view.verticalScrollBar()->setValue(top ? *top * rowHeight + m_place.topOffset : m_place.scrollValue);
}

} // namespace moorix
