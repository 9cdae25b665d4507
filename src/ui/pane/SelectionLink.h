// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

class QItemSelectionModel;

namespace moorix {

class FileListModel;
class PaneModel;

/// Keeps a view's selection and its pane's in step, whoever changes one. Main thread; what it links outlives it.
class SelectionLink final : public QObject
{
    Q_OBJECT

public:
    SelectionLink(PaneModel &pane, FileListModel &files, QItemSelectionModel &view, QObject *parent = nullptr);

private:
    void showPaneSelection();
    void takeViewSelection();

    PaneModel &m_pane;
    FileListModel &m_files;
    QItemSelectionModel &m_view;
    bool m_isUpdating = false;
};

} // namespace moorix
