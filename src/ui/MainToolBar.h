// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QToolBar>
#include <QUuid>

class QLineEdit;
class QMenu;

namespace moorix {

class AppModel;
class PaneModel;
class WindowActions;

/// The toolbar: connecting, the commands of a two-pane manager, the items the user chose, and the filter of the active
/// file list.
class MainToolBar final : public QToolBar
{
    Q_OBJECT

public:
    MainToolBar(AppModel &model, WindowActions &actions, QWidget *parent = nullptr);

    /// The file list that the toolbar acts on; null when the active side shows none.
    void follow(PaneModel *pane);

signals:
    void serverChosen(const QUuid &server);
    /// The filter field gives the keyboard back to the list.
    void listFocusRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setUpItems();
    void setUpFilter();
    void addConnect();
    void addAlwaysShown();
    void addChosenItems();
    QAction *actionOf(const QString &name) const;
    void showMenu(const QPoint &position);
    void fillConnectMenu();
    void fillSortMenu();

    AppModel &m_model;
    WindowActions &m_actions;
    /// What does not fit into a narrow window goes into a menu at its end; the filter stays beside it.
    QToolBar *m_items;
    QMenu *m_connectMenu;
    QMenu *m_sortMenu;
    QAction *m_sort;
    QLineEdit *m_filter;
    QAction *m_chosenEnd = nullptr;
    QList<QAction *> m_chosen;
    QPointer<PaneModel> m_pane;
};

} // namespace moorix
