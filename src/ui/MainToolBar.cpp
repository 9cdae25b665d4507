// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainToolBar.h"

#include "app/AppModel.h"
#include "files/PaneModel.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "ui/CommandNames.h"
#include "ui/Theme.h"
#include "ui/WindowActions.h"
#include "ui/servers/ServerLook.h"
#include "ui/toolbar/ToolBarItems.h"

#include <QAction>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>

#include <utility>

namespace moorix {

MainToolBar::MainToolBar(AppModel &model, WindowActions &actions, QWidget *parent)
    : QToolBar(tr("Toolbar"), parent)
    , m_model(model)
    , m_actions(actions)
    , m_items(new QToolBar(this))
    , m_connectMenu(new QMenu(this))
    , m_sortMenu(new QMenu(tr("Sort"), this))
    , m_sort(new QAction(Theme::icon(ToolBarItems::iconNameOf(ToolBarItems::sortName)),
                         ToolBarItems::textOf(ToolBarItems::sortName), this))
    , m_filter(new QLineEdit(this))
{
    setObjectName(QStringLiteral("mainToolBar"));
    setMovable(false);
    m_sort->setMenu(m_sortMenu);
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

    connect(m_connectMenu, &QMenu::aboutToShow, this, &MainToolBar::fillConnectMenu);
    connect(m_sortMenu, &QMenu::aboutToShow, this, &MainToolBar::fillSortMenu);
    connect(&model.settings(), &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key == m_model.settings().toolbarItemsRaw.key())
            addChosenItems();
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
    addConnect();
    m_items->addSeparator();
    addAlwaysShown();
    auto *spacer = new QWidget(m_items);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_chosenEnd = m_items->addWidget(spacer);
    addChosenItems();
    if (auto *overflow = m_items->findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"))) {
        overflow->setAccessibleName(tr("More commands"));
        overflow->setToolTip(tr("More commands"));
    }
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

void MainToolBar::addConnect()
{
    auto *button = new QToolButton(m_items);
    button->setObjectName(QStringLiteral("connectButton"));
    button->setText(tr("Connect"));
    button->setIcon(Theme::icon(QStringLiteral("network-connect")));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setPopupMode(QToolButton::InstantPopup);
    button->setMenu(m_connectMenu);
    m_items->addWidget(button);
}

void MainToolBar::addAlwaysShown()
{
    for (const WindowActions::Entry &command : ToolBarItems::alwaysShown()) {
        if (QAction *action = m_actions.action(command))
            m_items->addAction(action);
        else
            m_items->addSeparator();
    }
    m_actions.action(PaneCommand::compareFiles)->setIconText(tr("Compare"));
    m_actions.action(WindowCommand::sync)->setIconText(tr("Sync"));
    m_actions.action(PaneCommand::copyToOtherSide)->setIconText(tr("Copy"));
    m_actions.action(PaneCommand::moveToOtherSide)->setIconText(tr("Move"));
    m_actions.action(WindowCommand::backups)->setIconText(tr("Backup"));
}

void MainToolBar::addChosenItems()
{
    for (QAction *action : std::exchange(m_chosen, {}))
        m_items->removeAction(action);
    for (const QString &name : ToolBarItems::shown(m_model.settings().toolbarItemsRaw.value())) {
        QAction *action = actionOf(name);
        if (!action)
            continue;
        m_chosen += action;
        m_items->insertAction(m_chosenEnd, action);
        auto *button = static_cast<QToolButton *>(m_items->widgetForAction(action));
        // Without their texts, which would push the others out of a window of usual width.
        button->setToolButtonStyle(Qt::ToolButtonIconOnly);
        if (action == m_sort)
            button->setPopupMode(QToolButton::InstantPopup);
    }
}

QAction *MainToolBar::actionOf(const QString &name) const
{
    if (name == ToolBarItems::sortName)
        return m_sort;
    const std::optional<WindowActions::Entry> command = CommandNames::commandOf(name);
    return command ? m_actions.action(*command) : nullptr;
}

void MainToolBar::showMenu(const QPoint &position)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction *pressed = m_items->actionAt(m_items->mapFromGlobal(position));
    if (m_chosen.contains(pressed)) {
        menu->addAction(tr("Remove “%1”").arg(pressed->iconText()), this, [this, pressed] {
            Setting<QString> &setting = m_model.settings().toolbarItemsRaw;
            QStringList names = ToolBarItems::shown(setting.value());
            names.removeIf([&](const QString &name) { return actionOf(name) == pressed; });
            setting.set(ToolBarItems::replacing(setting.value(), names));
        });
    }
    menu->addAction(m_actions.action(WindowCommand::customizeToolBar));
    menu->popup(position);
}

void MainToolBar::fillConnectMenu()
{
    m_connectMenu->clear();
    const auto add = [this](const ServerConnection &server) {
        m_connectMenu->addAction(ServerLook::icon(server),
                                 QString(server.displayName()).replace(u'&', QLatin1String("&&")), this,
                                 [this, id = server.id] { emit serverChosen(id); });
    };
    for (const ServerConnection &server : m_model.servers().favorites())
        add(server);
    m_connectMenu->addSeparator();
    for (const ServerConnection &server : m_model.servers().library().servers) {
        if (!server.isFavorite)
            add(server);
    }
    m_connectMenu->addSeparator();
    for (const WindowCommand command :
         {WindowCommand::quickConnect, WindowCommand::serverLibrary, WindowCommand::newServer})
        m_connectMenu->addAction(m_actions.action(command));
}

void MainToolBar::fillSortMenu()
{
    m_sortMenu->clear();
    if (!m_pane)
        return;
    const std::pair<FileSortKey, QString> keys[] = {{FileSortKey::name, tr("Name")},
                                                    {FileSortKey::size, tr("Size")},
                                                    {FileSortKey::date, tr("Date")},
                                                    {FileSortKey::kind, tr("Kind")}};
    for (const auto &[key, label] : keys) {
        QAction *action = m_sortMenu->addAction(label, m_pane.data(), [this, key = key] {
            m_pane->setSortKey(key);
            m_model.settings().sortKeyRaw.set(rawText(key));
        });
        action->setCheckable(true);
        action->setChecked(m_pane->sortKey() == key);
    }
    m_sortMenu->addSeparator();
    QAction *ascending = m_sortMenu->addAction(tr("Ascending"), m_pane.data(), [this](bool isAscending) {
        m_pane->setSortAscending(isAscending);
        m_model.settings().sortAscending.set(isAscending);
    });
    ascending->setCheckable(true);
    ascending->setChecked(m_pane->sortAscending());
}

void MainToolBar::follow(PaneModel *pane)
{
    if (m_pane)
        m_pane->disconnect(this);
    m_pane = pane;
    for (const PaneCommand command : {PaneCommand::copyToOtherSide, PaneCommand::moveToOtherSide,
                                      PaneCommand::newFolder, PaneCommand::remove, PaneCommand::compareFiles}) {
        // The buttons are greyed, not the actions, whose keys also serve the server library.
        if (QWidget *button = m_items->widgetForAction(m_actions.action(command)))
            button->setEnabled(pane);
    }
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
