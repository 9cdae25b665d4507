// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileSortKey.h"

#include <QHash>
#include <QObject>

class QTreeView;

namespace moorix {

class FileListModel;
class PaneModel;

/// Keeps a list where the user left it: the current row and the scroll position survive a reload, and come back when
/// a folder is visited again. Going up lands on the folder left. Main thread; what it refers to outlives it.
class ListPosition final : public QObject
{
    Q_OBJECT

public:
    ListPosition(PaneModel &pane, FileListModel &files, QTreeView &view);

    void makeCurrent(const QString &id);

private:
    struct Place
    {
        QString currentId;
        int currentRow = 0;
        /// The entry at the upper edge, and how many pixels of it are out of sight.
        QString topId;
        int topOffset = 0;
        int scrollValue = 0;
    };
    struct Order
    {
        FileSortKey key;
        bool isAscending;
        QString query;

        bool operator==(const Order &) const = default;
    };

    void noteCurrent();
    void noteScroll();
    void restore();
    void enterFolder();
    void setCurrentRow(int row);
    void restoreScroll();
    Order order() const;

    PaneModel &m_pane;
    FileListModel &m_files;
    QTreeView &m_view;
    QString m_path;
    Order m_order;
    Place m_place;
    QHash<QString, Place> m_visited;
    bool m_isRestoring = false;
};

} // namespace moorix
