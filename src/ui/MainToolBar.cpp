// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainToolBar.h"

#include "app/AppModel.h"
#include "files/Format.h"
#include "files/PaneModel.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "ui/CommandNames.h"
#include "ui/Theme.h"
#include "ui/WindowActions.h"
#include "ui/pane/ListOrder.h"
#include "ui/servers/ServerLook.h"
#include "ui/toolbar/ToolBarItems.h"

#include <QAction>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

/// What fits onto a small screen in one column.
constexpr qsizetype mostServers = 20;
constexpr int widestServer = 340;

QAction *makeItem(QLatin1String name, QObject *parent)
{
    return new QAction(Theme::icon(ToolBarItems::iconNameOf(name)), ToolBarItems::textOf(name), parent);
}

} // namespace

MainToolBar::MainToolBar(AppModel &model, WindowActions &actions, QWidget *parent)
    : QToolBar(tr("Toolbar"), parent)
    , m_model(model)
    , m_actions(actions)
    , m_items(new QToolBar(this))
    , m_connect(makeItem(ToolBarItems::connectName, this))
    , m_sort(makeItem(ToolBarItems::sortName, this))
    , m_filter(new QLineEdit(this))
{
    setObjectName(QStringLiteral("mainToolBar"));
    setMovable(false);
    m_connect->setMenu(new QMenu(this));
    m_sort->setMenu(new QMenu(this));
    for (const PaneCommand command : ListOrder::commands) {
        if (command == PaneCommand::sortAscending)
            m_sort->menu()->addSeparator();
        m_sort->menu()->addAction(m_actions.action(command));
    }
    setUpItems();
    setUpFilter();
    auto *holder = new QWidget(this);
    auto *row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(3);
    row->addWidget(m_items, 1);
    row->addWidget(m_filter);
    holder->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    addWidget(holder);

    connect(m_connect->menu(), &QMenu::aboutToShow, this, &MainToolBar::fillConnectMenu);
    connect(&model.settings(), &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key == m_model.settings().toolbarItemsRaw.key())
            showItems();
    });
}

void MainToolBar::setUpItems()
{
    m_items->setObjectName(QStringLiteral("toolbarItems"));
    m_items->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_items->setIconSize({16, 16});
    for (QToolBar *bar : {static_cast<QToolBar *>(this), m_items}) {
        bar->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(bar, &QWidget::customContextMenuRequested, this,
                [this, bar](const QPoint &position) { showMenu(bar->mapToGlobal(position)); });
    }
    m_actions.action(PaneCommand::compareFiles)->setIconText(tr("Compare"));
    m_actions.action(WindowCommand::sync)->setIconText(tr("Sync"));
    m_actions.action(PaneCommand::copyToOtherSide)->setIconText(tr("Copy"));
    m_actions.action(PaneCommand::moveToOtherSide)->setIconText(tr("Move"));
    m_actions.action(WindowCommand::backups)->setIconText(tr("Backup"));
    if (auto *overflow = m_items->findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"))) {
        overflow->setAccessibleName(tr("More commands"));
        overflow->setToolTip(tr("More commands"));
        overflow->setIcon(Theme::icon(QStringLiteral("arrow-right-double")));
    }
    showItems();
}

void MainToolBar::setUpFilter()
{
    m_filter->setObjectName(QStringLiteral("toolbarFilter"));
    m_filter->setPlaceholderText(tr("Filter…"));
    m_filter->setAccessibleName(tr("Filter the files of the active side"));
    m_filter->setClearButtonEnabled(true);
    m_filter->setFixedWidth(180);
    m_filter->addAction(Theme::icon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    m_filter->installEventFilter(this);
    connect(m_filter, &QLineEdit::textEdited, this, [this](const QString &text) {
        if (m_pane)
            m_pane->setSearchQuery(text);
    });
}

void MainToolBar::showItems()
{
    for (QAction *action : std::exchange(m_shown, {})) {
        m_items->removeAction(action);
        if (action->isSeparator())
            delete action;
    }
    m_names = ToolBarItems::shown(m_model.settings().toolbarItemsRaw.value());
    m_names.removeIf([this](const QString &name) { return name != ToolBarItems::separatorName && !actionOf(name); });
    for (const QString &name : std::as_const(m_names)) {
        if (name == ToolBarItems::separatorName) {
            m_shown += m_items->addSeparator();
            continue;
        }
        m_shown += actionOf(name);
        m_items->addAction(m_shown.constLast());
        styleButton(name, *m_shown.constLast());
    }
    enableButtons();
}

void MainToolBar::styleButton(const QString &name, QAction &action)
{
    auto *button = static_cast<QToolButton *>(m_items->widgetForAction(&action));
    // The others go without their texts, which would push each other out of a window of usual width.
    if (!ToolBarItems::standard().contains(name))
        button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    if (action.menu())
        button->setPopupMode(QToolButton::InstantPopup);
    if (&action == m_connect)
        button->setObjectName(QStringLiteral("connectButton"));
}

QAction *MainToolBar::actionOf(const QString &name) const
{
    if (name == ToolBarItems::connectName)
        return m_connect;
    if (name == ToolBarItems::sortName)
        return m_sort;
    const std::optional<WindowActions::Entry> command = CommandNames::commandOf(name);
    return command ? m_actions.action(*command) : nullptr;
}

void MainToolBar::showMenu(const QPoint &position)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (QAction *pressed = m_items->actionAt(m_items->mapFromGlobal(position)); m_shown.contains(pressed))
        addRemoval(*menu, m_shown.indexOf(pressed));
    menu->addAction(m_actions.action(WindowCommand::customizeToolBar));
    menu->popup(position);
}

void MainToolBar::addRemoval(QMenu &menu, qsizetype index)
{
    const bool isSeparator = m_shown.at(index)->isSeparator();
    const QString text = isSeparator ? tr("Remove separator") : tr("Remove “%1”").arg(m_shown.at(index)->iconText());
    menu.addAction(text, this, [this, index, name = m_names.at(index)] {
        QStringList names = m_names;
        // The setting may have come from another machine while the menu was open.
        if (names.value(index) != name)
            return;
        names.removeAt(index);
        Setting<QString> &setting = m_model.settings().toolbarItemsRaw;
        setting.set(ToolBarItems::replacing(setting.value(), names));
    });
}

/// Favourites and the first of the others; the rest is a click away in the library.
void MainToolBar::fillConnectMenu()
{
    QMenu &menu = *m_connect->menu();
    menu.clear();
    const auto add = [&](const ServerConnection &server) {
        QString name =
            menu.fontMetrics().elidedText(Format::display(server.displayName()), Qt::ElideMiddle, widestServer);
        menu.addAction(ServerLook::icon(server), name.replace(u'&', QLatin1String("&&")), this,
                       [this, id = server.id] { emit serverChosen(id); });
    };
    QList<ServerConnection> servers = m_model.servers().library().servers;
    std::ranges::stable_partition(servers, &ServerConnection::isFavorite);
    for (qsizetype i = 0; i < std::min(servers.size(), mostServers); ++i) {
        if (i > 0 && servers.at(i - 1).isFavorite && !servers.at(i).isFavorite)
            menu.addSeparator();
        add(servers.at(i));
    }
    menu.addSeparator();
    for (const WindowCommand command :
         {WindowCommand::quickConnect, WindowCommand::serverLibrary, WindowCommand::newServer})
        menu.addAction(m_actions.action(command));
}

void MainToolBar::enableButtons()
{
    for (QAction *action : {m_sort, m_actions.action(PaneCommand::copyToOtherSide),
                            m_actions.action(PaneCommand::moveToOtherSide), m_actions.action(PaneCommand::newFolder),
                            m_actions.action(PaneCommand::remove), m_actions.action(PaneCommand::compareFiles)}) {
        // The buttons are greyed, not the actions, whose keys also serve the server library.
        if (QWidget *button = m_items->widgetForAction(action))
            button->setEnabled(m_pane);
    }
}

void MainToolBar::follow(PaneModel *pane)
{
    if (m_pane)
        m_pane->disconnect(this);
    m_pane = pane;
    enableButtons();
    m_filter->setEnabled(pane);
    const auto showQuery = [this] {
        const QString query = m_pane ? m_pane->searchQuery() : QString();
        if (m_filter->text() != query)
            m_filter->setText(query);
    };
    showQuery();
    if (pane)
        connect(pane, &PaneModel::searchQueryChanged, this, showQuery);
}

bool MainToolBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_filter && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Escape && m_pane)
            m_pane->setSearchQuery({});
        if (key == Qt::Key_Escape || key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Down) {
            emit listFocusRequested();
            return true;
        }
    }
    return QToolBar::eventFilter(watched, event);
}

} // namespace moorix
