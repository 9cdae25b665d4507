// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/PaneModel.h"
#include "ui/pane/PaneCommand.h"
#include "ui/pane/PaneContext.h"

#include <QPointer>
#include <QWidget>

namespace moorix {

class FileListView;
class FilterBar;
class MessageBar;
class NameBar;
class PaneFileActions;
class PaneNotices;
class PathBar;
class QuickLook;

/// One file list with everything around it: path, questions and failures above, status below. Main thread; the pane
/// and what the context refers to outlive it.
class PaneView final : public QWidget
{
    Q_OBJECT

public:
    PaneView(PaneModel &pane, const PaneContext &context, QWidget *parent = nullptr);
    ~PaneView() override;

    PaneModel &pane() const { return m_pane; }
    /// Gives the list the keyboard.
    void focusList();
    /// What menus and toolbars offer. Commands act on the selection, or on the current entry when nothing is selected.
    void run(PaneCommand command);
    /// Whether the command would do something now.
    bool isAvailable(PaneCommand command) const;
    /// The entries that `run` would act on, the first two at most: the selected ones, else the current one.
    QList<FileItem> entriesActedOn() const;
    /// Whether `run` would do something with them.
    bool wouldRun(PaneCommand command, const QList<FileItem> &entries) const;

signals:
    /// The user turned to this pane.
    void activated();
    /// A sentence for the status bar.
    void messageRaised(const QString &message);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void build();
    void connectParts();
    bool runInView(PaneCommand command);
    void tell(const QString &sentence);
    void escape();
    void askForName(PaneRequest kind);
    void answer(PaneRequest request);
    void showQuickLook();

    PaneModel &m_pane;
    PaneContext m_context;
    PaneFileActions *m_actions;
    PathBar *m_pathBar = nullptr;
    MessageBar *m_error = nullptr;
    MessageBar *m_question = nullptr;
    NameBar *m_nameBar = nullptr;
    FilterBar *m_filterBar = nullptr;
    FileListView *m_list = nullptr;
    PaneNotices *m_notices = nullptr;
    QPointer<QuickLook> m_quickLook;
};

} // namespace moorix
