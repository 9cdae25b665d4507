// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/WindowTerminals.h"

#include "app/PaneTabs.h"
#include "app/Session.h"
#include "files/Format.h"
#include "files/PaneModel.h"
#include "platform/AppPaths.h"
#include "platform/Preferences.h"
#include "servers/ServerStore.h"
#include "terminal/TerminalEnvironment.h"
#include "ui/Accessibility.h"
#include "ui/Theme.h"
#include "ui/servers/ServerLook.h"
#include "ui/terminal/SSHTerminalView.h"
#include "ui/terminal/TerminalDock.h"
#include "ui/terminal/TerminalPopoutController.h"
#include "ui/terminal/TerminalView.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMenu>
#include <QSplitter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

const QString heightKey = u"window.terminalHeight"_s;
constexpr int usualHeight = 260;

ServerConnection thisComputer()
{
    ServerConnection local;
    local.id = ServerConnection::localTerminalID;
    local.name = WindowTerminals::tr("Local shell");
    return local;
}

} // namespace

WindowTerminals::WindowTerminals(AppModel &model, QWidget &window)
    : m_model(model)
    , m_window(window)
    , m_sessions(model.settings(), {.keychain = model.keychain(),
                                    .sshProgram = model.sshProgram(),
                                    .localFolder = AppPaths::home(),
                                    .accountShell = TerminalEnvironment::accountShell()})
    , m_dock(new TerminalDock(m_sessions, &window))
{
    m_dock->hide();
    connect(m_dock, &TerminalDock::emptied, this, [this] { showDock(false); });
    connect(m_dock, &TerminalDock::hideRequested, this, [this] { showDock(false); });
    connect(m_dock, &TerminalDock::newMenuOpens, this, [this](QMenu *menu) { fillNewMenu(*menu); });
    connect(m_dock, &TerminalDock::popOutRequested, this, &WindowTerminals::popOut);
    connect(m_dock, &TerminalDock::goToPaneFolderRequested, this, &WindowTerminals::goToPaneFolder);
    connect(m_dock, &TerminalDock::openFolderRequested, this, &WindowTerminals::openTerminalFolder);
    connect(&m_sessions, &TerminalSessionManager::sessionsChanged, this, &WindowTerminals::followSessions);
    connect(&m_sessions, &TerminalSessionManager::folderActivated, this, &WindowTerminals::openFolderOfHost);
    connect(&m_sessions, &TerminalSessionManager::filesOffered, this, &WindowTerminals::typePaths);
    connect(&m_sessions, &TerminalSessionManager::linkActivated, this,
            [](const QUrl &url) { QDesktopServices::openUrl(url); });
}

WindowTerminals::~WindowTerminals()
{
    endAll();
}

QSplitter *WindowTerminals::makeSplitter(QWidget *content, QWidget *parent)
{
    auto *splitter = new QSplitter(Qt::Vertical, parent);
    splitter->setObjectName(u"terminalSplitter"_s);
    splitter->addWidget(content);
    splitter->addWidget(m_dock);
    Accessibility::readInOrder(*splitter);
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 0);
    splitter->setChildrenCollapsible(false);
    const int height = std::clamp(m_model.preferences().value(heightKey).toInt(usualHeight), 110, 2000);
    splitter->setSizes({10000, height});
    connect(splitter, &QSplitter::splitterMoved, this, [this] {
        if (m_dock->isVisible())
            m_model.preferences().setValue(heightKey, m_dock->height());
    });
    return splitter;
}

bool WindowTerminals::isDockShown() const
{
    return !m_dock->isHidden();
}

void WindowTerminals::showDock(bool isShown)
{
    if (isShown && !m_dock->current())
        m_sessions.view(thisComputer(), m_sessions.style());
    const bool wasShown = isDockShown();
    // What is left at the bottom must not keep the keyboard where nobody sees it.
    const bool hadFocus = m_dock->isAncestorOf(QApplication::focusWidget());
    if (isShown && !wasShown) {
        const int height = std::clamp(m_model.preferences().value(heightKey).toInt(usualHeight), 110, 2000);
        m_dock->show();
        if (auto *splitter = qobject_cast<QSplitter *>(m_dock->parentWidget()))
            splitter->setSizes({std::max(splitter->height() - height, 100), height});
    }
    m_dock->setVisible(isShown);
    if (isShown)
        m_dock->focusContent();
    if (isShown != wasShown)
        emit dockShownChanged(isShown);
    if (!isShown && hadFocus)
        emit m_model.activeSideChanged();
}

void WindowTerminals::openLocal()
{
    m_sessions.view(thisComputer(), m_sessions.style());
    show(ServerConnection::localTerminalID);
}

void WindowTerminals::open(const ServerConnection &server, const QString &folder)
{
    if (!supportsShell(server.networkProtocol)) {
        emit m_model.messageRaised(tr("“%1” speaks %2, which carries files only: it has no terminal.")
                                       .arg(Format::display(server.displayName()), rawText(server.networkProtocol)));
        return;
    }
    m_sessions.view(server, m_sessions.style(), folder);
    show(server.id);
}

/// Brings the terminal to the front where it is.
void WindowTerminals::show(const QUuid &server)
{
    if (TerminalPopoutController *window = popout(server)) {
        window->show();
        window->raise();
        window->activateWindow();
    } else if (SSHTerminalView *screen = m_paneScreens.value(server)) {
        for (const Side side : {Side::left, Side::right}) {
            PaneTabs &tabs = m_model.tabs(side);
            for (qsizetype index = 0; index < tabs.sessions().size(); ++index) {
                const Session &session = *tabs.sessions().at(index);
                if (session.mode() == PaneMode::terminal && session.server()->id == server)
                    tabs.setCurrentIndex(index);
            }
        }
        screen->focusContent();
    } else {
        m_dock->showTerminal(server);
        showDock(true);
    }
}

void WindowTerminals::openHere(const PaneModel &pane, const std::optional<ServerConnection> &server)
{
    const QUuid id = server ? server->id : ServerConnection::localTerminalID;
    const bool hadSession = m_sessions.has(id);
    const bool wasThere = hadSession && m_sessions.viewOf(id).isRunning();
    if (server) {
        open(*server, pane.currentPath());
    } else {
        m_sessions.view(thisComputer(), m_sessions.style(), pane.currentPath());
        show(id);
    }
    SSHTerminalView *screen = screenOf(id);
    if (wasThere) {
        goToPaneFolder(id);
    } else if (server && screen && hadSession) {
        // It has ended, or is on its way to its home and does not say when it is ready.
        screen->offer(tr("The pane shows “%1”.").arg(Format::display(pane.currentPath())), tr("Go there"),
                      [this, id] { goToPaneFolder(id); });
    }
}

void WindowTerminals::openInSide()
{
    PaneTabs &tabs = m_model.tabs(m_model.activeSide());
    const Session &session = tabs.current();
    const ServerConnection server = session.server() ? *session.server() : thisComputer();
    if (session.server() && !supportsShell(server.networkProtocol)) {
        open(server);
        return;
    }
    if (!m_paneScreens.contains(server.id) && !popout(server.id))
        tabs.openTerminal(server);
    show(server.id);
}

SSHTerminalView *WindowTerminals::makePaneScreen(const ServerConnection &server, QWidget *parent)
{
    m_sessions.view(server, m_sessions.style());
    m_sessions.markMoving(server.id);
    m_sessions.setInPane(server.id, true);
    m_sessions.setHost(TerminalSessionManager::Host::dock, server.id);
    auto *screen = new SSHTerminalView(m_sessions, server, {.docked = true, .showsHeader = true}, parent);
    m_sessions.markMoving(server.id, false);
    m_paneScreens.insert(server.id, screen);
    connect(screen, &QObject::destroyed, this, [this, id = server.id, screen] {
        if (m_paneScreens.value(id) != screen)
            return;
        m_paneScreens.remove(id);
        // The terminal outlives the tab, and waits in the dock.
        if (!m_sessions.isMoving(id))
            m_sessions.setInPane(id, false);
    });
    wire(*screen, server.id);
    return screen;
}

void WindowTerminals::wire(SSHTerminalView &screen, const QUuid &server)
{
    connect(&screen, &SSHTerminalView::popOutRequested, this, [this, server] { popOut(server); });
    connect(&screen, &SSHTerminalView::goToPaneFolderRequested, this, [this, server] { goToPaneFolder(server); });
    connect(&screen, &SSHTerminalView::openFolderRequested, this, [this, server] { openTerminalFolder(server); });
}

void WindowTerminals::popOut(const QUuid &server)
{
    if (!m_sessions.has(server) || popout(server))
        return;
    m_sessions.markMoving(server);
    m_sessions.setHost(TerminalSessionManager::Host::popout, server);
    m_sessions.setInPane(server, false);
    auto *window = new TerminalPopoutController(m_sessions, m_sessions.serverOf(server), m_window);
    m_popouts.insert(server, window);
    wire(*window->screen(), server);
    connect(window, &TerminalPopoutController::attachRequested, this, &WindowTerminals::attachBack);
    m_sessions.markMoving(server, false);
    window->show();
    window->screen()->focusContent();
}

void WindowTerminals::attachBack(const QUuid &server)
{
    TerminalPopoutController *window = m_popouts.take(server);
    if (!window)
        return;
    m_sessions.markMoving(server);
    m_sessions.setHost(TerminalSessionManager::Host::dock, server);
    m_sessions.markMoving(server, false);
    window->hide();
    window->deleteLater();
    m_window.activateWindow();
    show(server);
}

/// A window or tab whose terminal has ended goes with it.
void WindowTerminals::followSessions()
{
    for (const QUuid &server : m_popouts.keys()) {
        if (m_sessions.isHost(TerminalSessionManager::Host::popout, server))
            continue;
        if (!m_sessions.has(server)) {
            TerminalPopoutController *window = m_popouts.take(server);
            window->hide();
            window->deleteLater();
        }
    }
}

SSHTerminalView *WindowTerminals::screenOf(const QUuid &server) const
{
    if (const TerminalPopoutController *window = popout(server))
        return window->screen();
    if (SSHTerminalView *screen = m_paneScreens.value(server))
        return screen;
    return m_dock->screen(server);
}

std::optional<QUuid> WindowTerminals::currentTerminal() const
{
    const QWidget *focus = QApplication::focusWidget();
    for (const QUuid &server : m_sessions.servers()) {
        if (focus && (&m_sessions.viewOf(server) == focus || m_sessions.viewOf(server).isAncestorOf(focus)))
            return server;
    }
    if (const SSHTerminalView *screen = isDockShown() ? m_dock->current() : nullptr)
        return screen->server().id;
    return std::nullopt;
}

void WindowTerminals::tell(const QUuid &server, const QString &sentence)
{
    if (SSHTerminalView *screen = screenOf(server))
        screen->tell(sentence);
    else
        emit m_model.messageRaised(sentence);
}

void WindowTerminals::fillNewMenu(QMenu &menu)
{
    menu.addAction(Theme::icon(u"dialog-scripts"_s), tr("Local shell"), this, &WindowTerminals::openLocal);
    menu.addSeparator();
    for (const ServerConnection &server : m_model.servers().library().servers) {
        if (supportsShell(server.networkProtocol)) {
            menu.addAction(ServerLook::icon(server),
                           Format::display(server.displayName()).replace(u'&', QLatin1String("&&")), this,
                           [this, server] { open(server); });
        }
    }
}

QString WindowTerminals::quitSentence() const
{
    const QList<QUuid> servers = m_sessions.servers();
    const auto busy = std::ranges::count_if(servers, [this](const QUuid &server) { return m_sessions.isBusy(server); });
    if (busy == 0)
        return {};
    return busy == 1 ? tr("A terminal is in use; what runs in it ends.")
                     : tr("%n terminals are in use; what runs in them ends.", nullptr, int(busy));
}

void WindowTerminals::endAll()
{
    qDeleteAll(std::exchange(m_popouts, {}));
    for (const QUuid &server : m_sessions.servers())
        m_sessions.terminate(server);
}

} // namespace moorix
