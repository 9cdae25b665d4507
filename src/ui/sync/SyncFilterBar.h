// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QButtonGroup;
class QLineEdit;
class QToolButton;

namespace moorix {

class FlowLayout;
class SyncRowsModel;
class SyncSession;

/// Which rows of a sync are to be seen: a chip for each kind there is, a text to look for, and list or tree.
class SyncFilterBar final : public QFrame
{
    Q_OBJECT

public:
    SyncFilterBar(SyncSession &session, SyncRowsModel &rows, QWidget *parent = nullptr);

    void focusSearch();
    /// The session has other rows.
    void refill();

signals:
    /// The search field gives the keyboard back to the list.
    void listFocusRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void addChips();

    SyncSession &m_session;
    SyncRowsModel &m_rows;
    FlowLayout *m_chips;
    QButtonGroup *m_group;
    QLineEdit *m_search;
    QToolButton *m_tree;
    QString m_chosen;
};

} // namespace moorix
