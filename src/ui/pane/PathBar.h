// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QStackedLayout;
class QToolButton;

namespace moorix {

class Breadcrumbs;
class FileDrop;
class PaneModel;
class PathEdit;
enum class PaneCommand;

/// Back, forward, up, where the pane is, and reload. Main thread.
class PathBar final : public QFrame
{
    Q_OBJECT

public:
    explicit PathBar(PaneModel &pane, QWidget *parent = nullptr);

    /// The folders of the path take what is dropped on them, from now on.
    void takeDrops(FileDrop &drop);
    /// Turns the breadcrumb into a line for typing.
    void edit();

signals:
    void commandRequested(moorix::PaneCommand command);
    void pathEntered(const QString &path);
    /// Typing ended; the list should get the keyboard back.
    void left();

private:
    QToolButton *addButton(PaneCommand command, const QString &objectName);
    QWidget *makeField();
    void showPath();
    void showHistory();
    void endEditing();
    void setEditing(bool isEditing);

    PaneModel &m_pane;
    QToolButton *m_back;
    QToolButton *m_forward;
    QToolButton *m_up;
    QToolButton *m_reload;
    Breadcrumbs *m_crumbs;
    PathEdit *m_edit;
    QStackedLayout *m_stack = nullptr;
    QWidget *m_field = nullptr;
    /// A path was entered and its listing has not come yet.
    bool m_isGoing = false;
};

} // namespace moorix
