// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainWindow.h"

#include "app/EditedFiles.h"
#include "app/LeftOperations.h"
#include "app/PaneTabs.h"
#include "app/ServerConnections.h"
#include "app/Session.h"
#include "files/Format.h"
#include "files/PaneModel.h"
#include "settings/SettingsStore.h"
#include "sync/SyncEngine.h"
#include "transfers/TransferEngine.h"
#include "ui/Accessibility.h"
#include "ui/ClipboardLink.h"
#include "ui/ConflictBar.h"
#include "ui/DrawerSplitter.h"
#include "ui/EditedFilesBar.h"
#include "ui/LeftOperationNotices.h"
#include "ui/MainToolBar.h"
#include "ui/MessageBar.h"
#include "ui/SessionView.h"
#include "ui/SideView.h"
#include "ui/Sidebar.h"
#include "ui/SpeedLimitButton.h"
#include "ui/StatusStrip.h"
#include "ui/Theme.h"
#include "ui/TransferDrawer.h"
#include "ui/UnsentEdits.h"
#include "ui/UpdateBar.h"
#include "ui/WindowState.h"
#include "ui/WindowStyle.h"
#include "ui/backup/BackupArea.h"
#include "ui/compare/DiffPage.h"
#include "ui/editor/EditorArea.h"
#include "ui/introduction/IntroductionPage.h"
#include "ui/monitor/MonitorArea.h"
#include "ui/palette/RecentPlaces.h"
#include "ui/pane/PaneView.h"
#include "ui/servers/ServerLibraryView.h"
#include "ui/servers/ServerLook.h"
#include "ui/sync/SyncArea.h"
#include "ui/terminal/TerminalDock.h"
#include "ui/terminal/WindowTerminals.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QMenuBar>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

MainWindow::MainWindow(AppModel &model)
    : m_model(model)
{
    // The first icons are asked for while the parts are made.
    applyLook();
    m_actions = new WindowActions(*this);
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("Moorix"));
    build();
    // Before the tabs are followed, since following them stores them.
    WindowState::restore(m_model, *this, *m_outer, *m_sides);
    m_sides->handle(1)->installEventFilter(this);
    connectParts();
    connectCommands();
    connectMonitor();
    connectEditor();
    connectPalette();
    m_actions->action(WindowCommand::sidebar)->setChecked(m_sidebar->isVisibleTo(this));
    applyTwoSides();
    followActiveSide();
}

MainWindow::~MainWindow()
{
    // The children still send signals while they go; the window is no longer there to hear them.
    QApplication::instance()->disconnect(this);
    m_terminals->disconnect(this);
    // It would take over the terminals of tabs that go.
    delete &m_terminals->dock();
    // The screens of terminals go before the sessions they show.
    delete takeCentralWidget();
}

void MainWindow::build()
{
    m_toolBar = new MainToolBar(m_model, *m_actions, this);
    addToolBar(m_toolBar);
    m_actions->fill(*menuBar());
    m_sidebar = new Sidebar(m_model, this);
    m_terminals = std::make_unique<WindowTerminals>(m_model, *this);
    m_sides = new QSplitter(Qt::Horizontal, this);
    m_sides->setObjectName(QStringLiteral("sideSplitter"));
    m_sides->setChildrenCollapsible(false);
    for (const Side side : {Side::left, Side::right}) {
        auto *view = new SideView(m_model, *m_terminals, side, m_sides);
        m_sideViews.at(std::size_t(side)) = view;
        m_sides->addWidget(view);
    }
    m_outer = new QSplitter(Qt::Horizontal, this);
    m_outer->setObjectName(QStringLiteral("outerSplitter"));
    m_outer->addWidget(m_sidebar);
    m_sync = new SyncArea(m_model, this);
    m_middle = new QStackedWidget(this);
    m_middle->addWidget(m_sides);
    m_middle->addWidget(m_sync);
    m_backups = new BackupArea(m_model, this);
    m_middle->addWidget(m_backups);
    m_outer->addWidget(m_middle);
    for (const QSplitter *splitter : {m_sides, m_outer})
        Accessibility::readInOrder(*splitter);
    m_outer->setStretchFactor(1, 1);
    m_outer->setCollapsible(0, false);
    m_outer->setCollapsible(1, false);
    m_outer->setSizes({196, 1084});
    m_sidebar->setMinimumWidth(140);
    setCentralWidget(makeCentre());
    resize(1280, 800);
}

QWidget *MainWindow::makeCentre()
{
    auto *centre = new QWidget(this);
    m_drawer = new TransferDrawer(m_model.transfers(), centre);
    m_drawer->addTool(new SpeedLimitButton(m_model.settings(), m_drawer));
    m_drawer->hide();
    m_question = new MessageBar(centre);
    auto *leftFailures = new MessageBar(centre);
    for (MessageBar *bar : {m_question, leftFailures})
        bar->setProperty("place", QStringLiteral("window"));
    leftFailures->setObjectName(QStringLiteral("leftFailures"));
    m_leftNotices = new LeftOperationNotices(m_model.leftOperations(), *leftFailures);
    m_unsent = new UnsentEdits(m_model, *m_question, this);
    m_status = new StatusStrip(m_model, centre);
    auto *above = new QWidget(centre);
    auto *upper = new QVBoxLayout(above);
    upper->setContentsMargins(0, 0, 0, 0);
    upper->setSpacing(0);
    upper->addWidget(m_terminals->makeSplitter(m_outer, above), 1);
    m_updateBar = new UpdateBar(m_model.updates(), above);
    upper->addWidget(m_updateBar);
    upper->addWidget(new EditedFilesBar(m_model.editedFiles(), above));
    upper->addWidget(new ConflictBar(m_model.transfers(), above));
    auto *column = new QVBoxLayout(centre);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new DrawerSplitter(*above, *m_drawer, tr("Upper edge of the transfers"), m_model.preferences(),
                                         QStringLiteral("window.transfersHeight"), centre),
                      1);
    column->addWidget(leftFailures);
    column->addWidget(m_question);
    column->addWidget(m_status);
    return centre;
}

void MainWindow::connectParts()
{
    connectBackups();
    new ClipboardLink(m_model.clipboard(), this);
    connect(&m_model, &AppModel::activeSideChanged, this, &MainWindow::followActiveSide);
    connect(&m_model.connections(), &ServerConnections::connectionsChanged, this, &MainWindow::showLocation);
    connect(&m_model.settings(), &SettingsStore::settingChanged, this, &MainWindow::followSetting);
    connect(m_actions, &WindowActions::menuOpens, this, &MainWindow::prepareMenus);
    connect(m_actions, &WindowActions::paneCommandTriggered, this, &MainWindow::runPaneCommand);
    connect(m_actions, &WindowActions::paneCommandTriggered, this, &MainWindow::showPaneState);
    connect(m_toolBar, &MainToolBar::serverChosen, this, [this](const QUuid &id) { openServer(id, false); });
    connect(m_toolBar, &MainToolBar::listFocusRequested, this, [this] { activeView().focusContent(); });
    connect(m_status, &StatusStrip::transfersRequested, m_actions->action(WindowCommand::transfers), &QAction::trigger);
    connectSidebar();
    connectSync();
    connectTerminals();
    connectComparisons();
    for (SideView *view : m_sideViews)
        connectSide(*view);
}

void MainWindow::connectSide(SideView &side)
{
    connect(&side, &SideView::editServerRequested, this, &MainWindow::editServer);
    connect(&side, &SideView::disconnectRequested, m_unsent, &UnsentEdits::disconnectServer);
    connect(&side, &SideView::newServerRequested, this, &MainWindow::newServer);
    connect(&side, &SideView::importRequested, this, &MainWindow::importServers);
    connect(&m_model.tabs(side.side()), &PaneTabs::currentChanged, this, [this, which = side.side()] {
        if (which == m_model.activeSide())
            followSession();
    });
    connect(&m_model.tabs(side.side()), &PaneTabs::sessionsChanged, this, [this] { WindowState::saveTabs(m_model); });
}

void MainWindow::connectSidebar()
{
    connect(m_sidebar, &Sidebar::placeChosen, this, [this](const QString &path) {
        showSides();
        activeTabs().openLocalHere(path);
        activeView().focusContent();
    });
    connect(m_sidebar, &Sidebar::listFocusRequested, this, [this] {
        if (showsSides())
            activeView().focusContent();
        else
            m_middle->currentWidget()->setFocus();
    });
    connect(m_sidebar, &Sidebar::placeInNewTabRequested, this, [this](const QString &path) {
        showSides();
        activeTabs().openLocal(path);
    });
    connect(m_sidebar, &Sidebar::serverChosen, this, [this](const QUuid &id) { openServer(id, false); });
    connect(m_sidebar, &Sidebar::serverInNewTabRequested, this, [this](const QUuid &id) { openServer(id, true); });
    connect(m_sidebar, &Sidebar::editServerRequested, this, &MainWindow::editServer);
    connect(m_sidebar, &Sidebar::disconnectRequested, m_unsent, &UnsentEdits::disconnectServer);
    connect(m_sidebar, &Sidebar::newServerRequested, this, [this] { newServer(std::nullopt); });
    connect(m_sidebar, &Sidebar::libraryRequested, m_actions->action(WindowCommand::serverLibrary), &QAction::trigger);
}

PaneTabs &MainWindow::activeTabs() const
{
    return m_model.tabs(m_model.activeSide());
}

SideView &MainWindow::activeView() const
{
    return *m_sideViews.at(std::size_t(m_model.activeSide()));
}

void MainWindow::followActiveSide()
{
    SideView &active = activeView();
    if (!active.isVisibleTo(m_sides)) {
        m_model.setActiveSide(otherSide(m_model.activeSide()));
        return;
    }
    for (SideView *view : m_sideViews)
        view->setActive(view == &active);
    // The keyboard follows the side, unless something in it, or outside both, has it already.
    const QWidget *focus = QApplication::focusWidget();
    const SideView &other = *m_sideViews.at(std::size_t(otherSide(m_model.activeSide())));
    if (!focus || other.isAncestorOf(focus))
        active.focusContent();
    followSession();
}

void MainWindow::followSession()
{
    if (m_followed)
        m_followed->disconnect(this);
    if (m_followedPane)
        m_followedPane->disconnect(this);
    m_followed = &activeTabs().current();
    m_followedPane = m_followed->pane();
    m_toolBar->follow(m_middle->currentWidget() == m_sides ? m_followedPane.data() : nullptr);
    connect(m_followed, &Session::stateChanged, this, &MainWindow::followSession);
    if (m_followedPane) {
        connect(m_followedPane, &PaneModel::currentPathChanged, this, &MainWindow::showLocation);
        connect(m_followedPane, &PaneModel::orderChanged, this, &MainWindow::showPaneState);
    }
    showPaneState();
    showLocation();
}

void MainWindow::showLocation()
{
    const Session &session = activeTabs().current();
    const bool isLocal = session.mode() == PaneMode::local;
    m_sidebar->markCurrent(isLocal ? session.pane()->currentPath() : QString(),
                           session.server() ? session.server()->id : QUuid());
    const bool isConnected = session.server() && session.pane();
    if (isConnected)
        m_status->showConnection(tr("%1 connected").arg(session.server()->displayName()), true);
    else if (session.mode() == PaneMode::terminal)
        m_status->showConnection(tr("Terminal"), false);
    else if (session.state() == Session::State::connecting)
        m_status->showConnection(tr("Connecting…"), false);
    else if (session.server())
        m_status->showConnection(tr("Not connected"), false);
    else
        m_status->showConnection(isLocal ? tr("Local files") : tr("Servers"), false);
    const QString title = showsComparison()     ? m_comparison->title()
                          : showsSync()         ? m_sync->title()
                          : showsBackups()      ? m_backups->title()
                          : showsMonitor()      ? m_monitor->title()
                          : showsEditor()       ? m_editor->title()
                          : showsIntroduction() ? tr("Introduction")
                                                : session.title();
    setWindowTitle(tr("%1 — Moorix").arg(title));
    WindowState::saveTabs(m_model);
    noteFolder();
}

void MainWindow::followSetting(const QString &key)
{
    const SettingsStore &settings = m_model.settings();
    if (key == settings.themeID.key() || key == settings.contentFontSize.key())
        applyLook();
    if (key == settings.dualPaneEnabled.key())
        applyTwoSides();
}

void MainWindow::applyLook()
{
    const SettingsStore &settings = m_model.settings();
    Theme::apply(*qobject_cast<QApplication *>(QApplication::instance()), settings.themeID.value(),
                 settings.contentFontSize.value());
    setStyleSheet(windowStyleSheet());
    if (m_editor)
        m_editor->applyLook();
}

void MainWindow::applyTwoSides()
{
    const bool isOn = m_model.settings().dualPaneEnabled.value();
    m_actions->action(WindowCommand::twoSides)->setChecked(isOn);
    m_sides->widget(1)->setVisible(isOn);
    if (!activeView().isVisibleTo(m_sides))
        m_model.setActiveSide(otherSide(m_model.activeSide()));
}

void MainWindow::quitNow()
{
    m_mayClose = true;
    close();
}

bool MainWindow::mayQuit()
{
    QStringList sentences;
    const auto open = std::ranges::count_if(m_model.transfers().transfers(), [](const TransferStatus &transfer) {
        return transfer.state == TransferStatus::State::running || transfer.state == TransferStatus::State::waiting ||
               transfer.state == TransferStatus::State::reconnecting;
    });
    if (open > 0) {
        sentences << (open == 1 ? tr("A transfer is under way.")
                                : tr("%n transfers are under way.", nullptr, int(open)))
                  << tr("Between local folders and saved servers, what is left can go on at the next start; with other "
                        "servers it ends here.");
    }
    QStringList operations = m_model.leftOperations().current();
    for (const Side side : {Side::left, Side::right}) {
        for (const Session *session : m_model.tabs(side).sessions()) {
            if (session->pane() && session->pane()->operation())
                operations << *session->pane()->operation();
        }
    }
    for (const QString &operation : std::as_const(operations))
        sentences << tr("%1 is not done yet and would be broken off.").arg(operation);
    const QList<SyncSession *> syncs = m_model.sync().sessions();
    if (std::ranges::any_of(syncs, &SyncSession::isApplying))
        sentences << tr("A folder sync is under way; the next one goes on with what is left.");
    const QList<EditedFile> unsent = m_unsent->list();
    if (!unsent.isEmpty()) {
        sentences << UnsentEdits::sentence(unsent)
                  << (unsent.size() == 1 ? tr("your version is kept for the next start.")
                                         : tr("your versions are kept for the next start."));
    }
    if (const QString changed = m_comparison ? m_comparison->unsavedSentence() : QString(); !changed.isEmpty())
        sentences << changed;
    const QList<EditorPage *> unsaved = m_editor->unsaved();
    if (unsaved.size() == 1) {
        sentences << tr("“%1” has changes that are not saved; they are kept for the next start.")
                         .arg(Format::display(unsaved.constFirst()->title()));
    } else if (!unsaved.isEmpty()) {
        sentences
            << tr("%1 files have changes that are not saved; they are kept for the next start.").arg(unsaved.size());
    }
    if (const QString busy = m_terminals->quitSentence(); !busy.isEmpty())
        sentences << busy;
    if (m_mayClose || sentences.isEmpty())
        return true;
    MessageChoice better;
    if (UnsentEdits::canUpload(unsent)) {
        better = {tr("Upload first"), [this] {
                      m_unsent->uploadBefore(std::nullopt, tr("Uploading before Moorix quits…"), tr("Quit now"),
                                             [this] { quitNow(); });
                  }};
    }
    if (!unsaved.isEmpty())
        better = {tr("Save and quit"), [this] { m_editor->saveAll([this] { close(); }); }};
    m_question->ask(
        sentences.join(u' ') + u' ' + tr("Quit?"), tr("Quit"), MessageBar::Tone::warning, [this] { quitNow(); },
        std::move(better));
    return false;
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (!mayQuit() || !keepUnsavedText()) {
        event->ignore();
        return;
    }
    WindowState::save(m_model, *this, *m_outer, *m_sides);
    m_terminals->endAll();
    event->accept();
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_sides->handle(1) && event->type() == QEvent::MouseButtonDblClick) {
        m_sides->setSizes({1000, 1000});
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

} // namespace moorix
