// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/ListColumns.h"
#include "ui/SortHeader.h"

#include <QMap>
#include <QSet>
#include <QTimer>

namespace moorix {

class PaneModel;
class SettingsStore;

/// The head of a file list: a click sorts, its menu chooses columns and order; columns and widths are remembered. Where
/// there is little room the names get it: the other columns shrink, then hide, without a change to what is remembered.
/// Main thread.
class FileListHeader final : public SortHeader
{
    Q_OBJECT

public:
    FileListHeader(PaneModel &pane, SettingsStore &settings, ListColumns &columns, QWidget *parent = nullptr);

    /// Arranges the columns; called once the model is set.
    void arrange();
    /// What continues the head above a scroll bar beside the rows.
    QWidget *makeCorner(QWidget *parent);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void sortByColumn(int column);
    void showOrder();
    void takeWidths();
    void showColumns();
    void resizeColumns(const QMap<ListColumns::Column, int> &widths);

    PaneModel &m_pane;
    SettingsStore &m_settings;
    ListColumns &m_columns;
    QTimer m_widthTimer;
    /// The widths that columns were given, 0 for hidden ones; another one is the user's.
    QMap<int, int> m_arranged;
    /// Columns that were dragged and whose widths are not stored yet.
    QSet<int> m_dragged;
};

} // namespace moorix
