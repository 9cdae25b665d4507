// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/SelectionLink.h"

#include "ui/pane/FileListModel.h"

#include <QItemSelectionModel>
#include <QScopedValueRollback>

#include <algorithm>

namespace moorix {

namespace {

/// Runs of neighbouring rows become one range each: selecting everything is one range, whatever the number of rows.
QItemSelection rangesOf(std::vector<int> rows, const FileListModel &files)
{
    std::sort(rows.begin(), rows.end());
    QItemSelection selection;
    for (std::size_t begin = 0; begin < rows.size();) {
        std::size_t end = begin + 1;
        while (end < rows.size() && rows[end] == rows[end - 1] + 1)
            ++end;
        selection.append(QItemSelectionRange(files.index(rows[begin], 0),
                                             files.index(rows[end - 1], FileListModel::columnCountOfList - 1)));
        begin = end;
    }
    return selection;
}

} // namespace

SelectionLink::SelectionLink(PaneModel &pane, FileListModel &files, QItemSelectionModel &view, QObject *parent)
    : QObject(parent)
    , m_pane(pane)
    , m_files(files)
    , m_view(view)
{
    connect(&pane, &PaneModel::selectionChanged, this, &SelectionLink::showPaneSelection);
    // Views forget their selection in a reset; the pane has kept it by identity.
    connect(&files, &FileListModel::modelReset, this, &SelectionLink::showPaneSelection);
    connect(&view, &QItemSelectionModel::selectionChanged, this, &SelectionLink::takeViewSelection);
    showPaneSelection();
}

void SelectionLink::showPaneSelection()
{
    if (m_isUpdating)
        return;
    const QScopedValueRollback updating(m_isUpdating, true);
    std::vector<int> rows;
    rows.reserve(std::size_t(m_pane.selection().size()));
    for (const QString &id : m_pane.selection()) {
        if (const auto row = m_files.rowOf(id))
            rows.push_back(*row);
    }
    m_view.select(rangesOf(std::move(rows), m_files), QItemSelectionModel::ClearAndSelect);
}

void SelectionLink::takeViewSelection()
{
    if (m_isUpdating)
        return;
    const QScopedValueRollback updating(m_isUpdating, true);
    QSet<QString> ids;
    for (const QItemSelectionRange &range : m_view.selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            ids.insert(m_files.item(row).id());
    }
    m_pane.setSelection(ids);
}

} // namespace moorix
