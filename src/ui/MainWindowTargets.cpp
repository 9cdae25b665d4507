// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainWindow.h"

#include "app/PaneTabs.h"
#include "app/Session.h"
#include "servers/ServerStore.h"

#include <QDir>
#include <QGuiApplication>

namespace moorix {

namespace {

/// The server that the command line means: by identity, else by a name or host that only one has.
std::optional<ServerConnection> serverNamed(const QString &name, const ServerStore &store)
{
    if (const std::optional<ServerConnection> known = store.server(QUuid(name)))
        return known;
    QList<ServerConnection> found = store.library().servers;
    found.removeIf([&name](const ServerConnection &server) { return server.name != name && server.host != name; });
    return found.size() == 1 ? std::optional(found.first()) : std::nullopt;
}

} // namespace

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
    const qsizetype colon = target.indexOf(u':');
    const QString name = target.left(colon);
    const bool mayBeServer = colon > 0 && !name.contains(u'/');
    const std::optional<ServerConnection> server = mayBeServer ? serverNamed(name, m_model.servers()) : std::nullopt;
    const QString rest = target.mid(colon + 1);
    const auto path = rest.isEmpty() ? std::nullopt : std::optional(rest);
    const QString local = QDir::cleanPath(QDir::current().absoluteFilePath(target));
    if (server && takesCurrentTab)
        tabs.openServerHere(*server, path);
    else if (server)
        tabs.openServer(*server, std::nullopt, path);
    else if (mayBeServer)
        emit m_model.messageRaised(tr("There is no saved server “%1”.").arg(name));
    else if (takesCurrentTab)
        tabs.openLocalHere(local);
    else
        tabs.openLocal(local);
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
