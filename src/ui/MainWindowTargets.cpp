// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainWindow.h"

#include "app/PaneTabs.h"
#include "app/Session.h"
#include "servers/ServerStore.h"
#include "ui/LaunchTarget.h"
#include "ui/SideView.h"

#include <QGuiApplication>

namespace moorix {

void MainWindow::openTargets(const QStringList &targets)
{
    Side side = m_model.activeSide();
    for (qsizetype i = 0; i < targets.size(); ++i) {
        openTarget(targets.at(i), m_model.tabs(side), i < 2);
        side = otherSide(side);
    }
}

void MainWindow::openTarget(const QString &target, PaneTabs &tabs, bool takesCurrentTab)
{
    const LaunchTarget place = launchTarget(target, m_model.servers().library().servers);
    if (!place.problem.isEmpty())
        emit m_model.messageRaised(place.problem);
    else if (!place.address.isEmpty())
        activeView().offerConnection(place.address);
    else if (place.server && takesCurrentTab)
        tabs.openServerHere(*place.server, place.path);
    else if (place.server)
        tabs.openServer(*place.server, std::nullopt, place.path);
    else if (takesCurrentTab)
        tabs.openLocalHere(*place.path);
    else
        tabs.openLocal(*place.path);
}

void MainWindow::openFromOutside(const QStringList &targets, const QString &activationToken)
{
    if (!targets.isEmpty())
        showSides();
    // What is open stays open: all of it goes to the active side, into tabs of its own.
    for (const QString &target : targets)
        openTarget(target, activeTabs(), false);
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    // The only way in which this version of Qt takes it.
    if (!activationToken.isEmpty() && QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    raise();
    activateWindow();
}

} // namespace moorix
