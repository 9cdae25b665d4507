// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/MonitoredHost.h"

#include <QWidget>

class QHBoxLayout;
class QMenu;
class QPushButton;
class QScrollArea;
class QStackedWidget;

namespace moorix {

class AppModel;
class HostColumn;
class ProcessPage;

/// What the window shows of this computer and of servers in place of its two sides: one column of cards for each, or
/// the processes of this computer. Machines are read only while it can be seen.
class MonitorArea final : public QWidget
{
    Q_OBJECT

public:
    explicit MonitorArea(AppModel &model, QWidget *parent = nullptr);

    void showMonitor();
    QString title() const;
    void focusContent();
    /// To the search among the processes.
    void focusSearch();

signals:
    /// It wants to be seen.
    void shown();
    void backRequested();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *makeBar();
    QWidget *makeDashboard();
    QWidget *makeInvitation();
    void showPage(bool showsProcesses);
    void fillServerMenu();
    void followHosts();
    void followVisibility();
    void fitColumns();
    /// Cards of one kind stand in a line, whatever one of them has to say.
    void alignFirstRows();

    AppModel &m_model;
    QPushButton *m_overviewTab = nullptr;
    QPushButton *m_processesTab = nullptr;
    QPushButton *m_serversButton = nullptr;
    QMenu *m_serverMenu = nullptr;
    QStackedWidget *m_pages = nullptr;
    QScrollArea *m_scroll = nullptr;
    QHBoxLayout *m_row = nullptr;
    QWidget *m_invitation = nullptr;
    ProcessPage *m_processes = nullptr;
    /// This computer first.
    QList<HostColumn *> m_columns;
};

} // namespace moorix
