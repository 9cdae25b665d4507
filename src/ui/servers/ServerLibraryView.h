// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/pane/PaneCommand.h"

#include <QSet>
#include <QUuid>
#include <QWidget>

#include <optional>

class QLineEdit;
class QMenu;
class QStackedLayout;
class QTreeView;

namespace moorix {

class AppModel;
class MessageBar;
class ServerTreeModel;

/// The saved servers in their folders: found, ordered, renamed and removed here. What opens elsewhere goes out as a
/// signal.
class ServerLibraryView final : public QWidget
{
    Q_OBJECT

public:
    enum class Where { here, newTab };

    explicit ServerLibraryView(AppModel &model, QWidget *parent = nullptr);
    ~ServerLibraryView() override;

    void focusList();
    /// The commands of file lists that mean something for servers too: find, open, rename, delete, make a folder.
    bool isAvailable(PaneCommand command) const;
    void run(PaneCommand command);

signals:
    void connectRequested(const QUuid &server, moorix::ServerLibraryView::Where where);
    void editRequested(const QUuid &server);
    void disconnectRequested(const QUuid &server);
    /// A new server, in the folder that is selected.
    void newServerRequested(const std::optional<QUuid> &folder);
    void importRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *makeHeader();
    QWidget *makeEmptyState();
    void makeTree();
    void fitColumns(int width);
    void updateEmptyState();
    void rememberExpansion();
    void restoreAfterReset();
    void activate(const QModelIndex &index);
    void addFolder(const std::optional<QUuid> &parent);
    void editName(const QUuid &id);
    void askToDelete(const QModelIndex &index);
    void showMenu(const QPoint &position);
    void fillServerMenu(QMenu &menu, const QUuid &server);
    void fillColorMenu(QMenu &menu, const QUuid &server);
    void fillFolderMenu(QMenu &menu, const QUuid &folder);
    std::optional<QUuid> selectedFolder() const;

    AppModel &m_model;
    ServerTreeModel *m_tree;
    QTreeView *m_view;
    QLineEdit *m_search;
    MessageBar *m_bar;
    QStackedLayout *m_stack = nullptr;
    QSet<QUuid> m_collapsed;
    QUuid m_current;
};

} // namespace moorix
