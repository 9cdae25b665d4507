// SPDX-License-Identifier: GPL-3.0-or-later
// The monitor in the window and in the desktop's tray.
#include "ui/MainWindow.h"

#include "app/Monitoring.h"
#include "platform/DesktopNotifier.h"
#include "settings/SettingsStore.h"
#include "ui/Sidebar.h"
#include "ui/monitor/MonitorArea.h"
#include "ui/monitor/MonitorTray.h"

#include <QStackedWidget>

namespace moorix {

void MainWindow::connectMonitor()
{
    m_monitor = new MonitorArea(m_model, this);
    m_middle->addWidget(m_monitor);
    m_handlers[WindowCommand::monitor] = [this] { showsMonitor() ? showSides() : m_monitor->showMonitor(); };
    connect(m_sidebar, &Sidebar::monitorRequested, m_monitor, &MonitorArea::showMonitor);
    connect(m_monitor, &MonitorArea::backRequested, this, &MainWindow::showSides);
    connect(m_monitor, &MonitorArea::shown, this, [this] {
        if (!showsMonitor())
            showSides();
        m_middle->setCurrentWidget(m_monitor);
        showLocation();
    });
    connect(m_middle, &QStackedWidget::currentChanged, this, [this] { m_sidebar->markMonitor(showsMonitor()); });

    const auto raiseWindow = [this] {
        show();
        raise();
        activateWindow();
    };
    auto *notifier = new DesktopNotifier(this);
    connect(&m_model.monitoring(), &Monitoring::alertRaised, notifier, &DesktopNotifier::notify);
    auto *tray = new MonitorTray(m_model, this);
    connect(notifier, &DesktopNotifier::activated, m_monitor, &MonitorArea::showMonitor);
    connect(tray, &MonitorTray::monitorRequested, m_monitor, &MonitorArea::showMonitor);
    connect(notifier, &DesktopNotifier::activated, this, raiseWindow);
    connect(tray, &MonitorTray::monitorRequested, this, raiseWindow);
    connect(tray, &MonitorTray::windowRequested, this, raiseWindow);
    connect(tray, &MonitorTray::quitRequested, this, [this] { close(); });
    if (m_model.settings().openMonitorOnLaunch.value())
        m_monitor->showMonitor();
}

bool MainWindow::showsMonitor() const
{
    return m_monitor && m_middle->currentWidget() == m_monitor;
}

/// The sides are out of sight, and so is what these commands would do there.
void MainWindow::runMonitorCommand(PaneCommand command)
{
    if (command == PaneCommand::filter)
        m_monitor->focusSearch();
    else if (command == PaneCommand::goBack || command == PaneCommand::goUp)
        showSides();
}

} // namespace moorix
