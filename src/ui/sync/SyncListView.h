// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncChoice.h"

#include <QTreeView>

namespace moorix {

class SyncRowsModel;
class SyncSession;

/// The rows of a sync. Left and Right choose the side that gets the other's, Space the next choice, B both versions, S
/// nothing, U what was suggested, for all selected rows; Return closes and opens a folder of a tree, C and Return
/// compare the two files of a row. A click on the
/// sign of a row is the next choice for it.
class SyncListView final : public QTreeView
{
    Q_OBJECT

public:
    SyncListView(SyncSession &session, SyncRowsModel &rows, QWidget *parent = nullptr);

    /// Chooses for what is selected.
    void choose(SyncChoice choice);
    /// The first line, where nothing is current yet.
    void ensureCurrent();
    /// Makes a line current and selects it alone, whatever keys are held meanwhile.
    void select(int line);

signals:
    void selectedRowsChanged();
    void comparisonWanted();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void drawBranches(QPainter *, const QRect &, const QModelIndex &) const override {}
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;

private:
    void setUpLook();
    void arrangeColumns();
    void toggleFolder(const QModelIndex &index);
    void showMenu(const QPoint &position);
    bool answersClick(const QModelIndex &index, const QPoint &position);

    SyncSession &m_session;
    SyncRowsModel &m_rows;
};

} // namespace moorix
