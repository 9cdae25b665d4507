// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/pane/PaneCommand.h"
#include "ui/pane/PaneContext.h"
#include "ui/pane/TypeAhead.h"

#include <QElapsedTimer>
#include <QTreeView>

namespace moorix {

class FileDrop;
class FileItemDelegate;
class FileListModel;
class ListPosition;
class PaneModel;

/// The list of a pane: shows its rows, keeps its selection, and turns keys and clicks into commands. Main thread.
class FileListView final : public QTreeView
{
    Q_OBJECT

public:
    FileListView(PaneModel &pane, const PaneContext &context, QWidget *parent = nullptr);
    ~FileListView() override;

    FileListModel &files() const { return *m_files; }
    /// The entry under the keyboard cursor, if any.
    std::optional<FileItem> currentEntry() const;
    /// Selects the current entry when nothing is selected, as commands act on the selection.
    void selectCurrentIfNothing();
    void invertSelection();
    /// Moves the cursor by whole rows; the new row alone is selected.
    void step(int rows);
    /// Edits the current entry's name in place.
    void editName();

    void reset() override;

signals:
    void commandRequested(moorix::PaneCommand command);
    void escapePressed();
    void contextMenuRequested(const QPoint &globalPosition);
    /// The list got the keyboard.
    void entered();
    /// Why a drop or a new name was refused.
    void refused(const QString &sentence);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void setUpLook();
    bool typeAhead(const QKeyEvent &event);
    void selectAndAdvance();
    void showDropRow(int row);

    PaneModel &m_pane;
    FileListModel *m_files;
    FileItemDelegate *m_delegate;
    FileDrop *m_drop;
    TypeAhead m_typeAhead;
    QElapsedTimer m_clock;
};

} // namespace moorix
