// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppModel.h"
#include "ui/TransferBadge.h"

#include <QHash>
#include <QUuid>
#include <QWidget>

class QStackedWidget;
class QTabBar;

namespace moorix {

class PaneTabs;
class QuickConnectBar;
class Session;
class SessionView;
class WindowTerminals;
struct Comparison;

/// One side of the window: its tabs and the content of the current one. Follows its PaneTabs; what the user does to
/// the tabs goes there.
class SideView final : public QWidget
{
    Q_OBJECT
    Q_MOC_INCLUDE("app/Comparison.h")

public:
    SideView(AppModel &model, WindowTerminals &terminals, Side side, QWidget *parent = nullptr);
    ~SideView() override;

    Side side() const { return m_side; }
    SessionView *currentView() const;
    void focusContent();
    /// Marks the side that the keyboard and the toolbar act on.
    void setActive(bool isActive);
    void openNewTab();
    /// Shows the bar that connects, with `address` in it.
    void offerConnection(const QString &address);

signals:
    void editServerRequested(const QUuid &server);
    void disconnectRequested(const QUuid &server);
    void newServerRequested(const std::optional<QUuid> &folder);
    void importRequested();
    void archiveRequested(const QString &path);
    /// A text file of this machine; `place` is what the user knows it by where that is not its path, or empty.
    void editRequested(const QString &path, const QString &place);
    void comparisonRequested(const moorix::Comparison &comparison);

protected:
    void changeEvent(QEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *makeHeader();
    void followSessions();
    void followCurrent();
    void addTab();
    void updateTab(int index);
    void followTransfers();
    SessionView *makeView(Session &session);
    void showTabMenu(const QPoint &position);

    AppModel &m_model;
    WindowTerminals &m_terminals;
    Side m_side;
    PaneTabs &m_tabs;
    QTabBar *m_bar;
    QuickConnectBar *m_quickConnect;
    QStackedWidget *m_stack;
    QHash<Session *, SessionView *> m_views;
    QHash<Session *, TransferBadge> m_badges;
};

} // namespace moorix
