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

/// The toolbar: the items the user chose, those of a two-pane manager at first, and the filter of the active file list.
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
    void showItems();
    void styleButton(const QString &name, QAction &action);
    void enableButtons();
    QAction *actionOf(const QString &name) const;
    void showMenu(const QPoint &position);
    void addRemoval(QMenu &menu, qsizetype index);
    void fillConnectMenu();

    AppModel &m_model;
    WindowActions &m_actions;
    /// What does not fit into a narrow window goes into a menu at its end; the filter stays beside it.
    QToolBar *m_items;
    QAction *m_connect;
    QAction *m_sort;
    QLineEdit *m_filter;
    /// What is shown, by name and by what stands for it in the bar.
    QStringList m_names;
    QList<QAction *> m_shown;
    QPointer<PaneModel> m_pane;
};

} // namespace moorix
