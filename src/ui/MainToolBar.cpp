// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainToolBar.h"

#include "app/AppModel.h"
#include "files/PaneModel.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "ui/Theme.h"
#include "ui/WindowActions.h"
#include "ui/servers/ServerLook.h"

#include <QAction>
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
    , m_connectMenu(new QMenu(this))
    , m_sortMenu(new QMenu(this))
    , m_filter(new QLineEdit(this))
{
    setObjectName(QStringLiteral("mainToolBar"));
    setMovable(false);
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setIconSize({16, 16});
    setContextMenuPolicy(Qt::PreventContextMenu);
    addConnect();
    addSeparator();
    for (const PaneCommand command :
         {PaneCommand::copyToOtherSide, PaneCommand::moveToOtherSide, PaneCommand::newFolder, PaneCommand::remove})
        addAction(m_actions.action(command));
    addSeparator();
    addAction(m_actions.action(PaneCommand::compareFiles));
    m_actions.action(PaneCommand::compareFiles)->setIconText(tr("Compare"));
    addAction(m_actions.action(WindowCommand::sync));
    m_actions.action(WindowCommand::sync)->setIconText(tr("Sync"));
    m_actions.action(PaneCommand::copyToOtherSide)->setIconText(tr("Copy"));
    m_actions.action(PaneCommand::moveToOtherSide)->setIconText(tr("Move"));
    addAction(m_actions.action(WindowCommand::backups));
    m_actions.action(WindowCommand::backups)->setIconText(tr("Backup"));
    auto *spacer = new QWidget(this);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_chosenEnd = addWidget(spacer);
    addChosenItems();

    m_filter->setObjectName(QStringLiteral("toolbarFilter"));
    m_filter->setPlaceholderText(tr("Filter…"));
    m_filter->setClearButtonEnabled(true);
    m_filter->setFixedWidth(180);
    m_filter->addAction(Theme::icon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    m_filter->installEventFilter(this);
    addWidget(m_filter);

    connect(m_filter, &QLineEdit::textEdited, this, [this](const QString &text) {
        if (m_pane)
            m_pane->setSearchQuery(text);
    });
    connect(m_connectMenu, &QMenu::aboutToShow, this, &MainToolBar::fillConnectMenu);
    connect(m_sortMenu, &QMenu::aboutToShow, this, &MainToolBar::fillSortMenu);
    connect(&model.settings(), &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key == m_model.settings().toolbarItemsRaw.key())
            addChosenItems();
    });
}

void MainToolBar::addConnect()
{
    auto *button = new QToolButton(this);
    button->setObjectName(QStringLiteral("connectButton"));
    button->setText(tr("Connect"));
    button->setIcon(Theme::icon(QStringLiteral("network-connect")));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setPopupMode(QToolButton::InstantPopup);
    button->setMenu(m_connectMenu);
    addWidget(button);
}

void MainToolBar::addChosenItems()
{
    for (QAction *action : std::exchange(m_chosen, {})) {
        removeAction(action);
        if (action->parent() == this)
            delete action;
    }
    // Without their texts, which would push the filter out of a window of usual width.
    const auto showIconOnly = [this](QAction *action) {
        static_cast<QToolButton *>(widgetForAction(action))->setToolButtonStyle(Qt::ToolButtonIconOnly);
        return action;
    };
    const auto add = [&](const QString &iconName, const QString &text) {
        m_chosen += new QAction(Theme::icon(iconName), text, this);
        insertAction(m_chosenEnd, m_chosen.last());
        return showIconOnly(m_chosen.last());
    };
    // Names without a feature behind them are left out; the setting keeps them.
    for (const QString &item : m_model.settings().toolbarItemsRaw.value().split(u',')) {
        const QString name = item.trimmed();
        if (name == QLatin1String("sort")) {
            QAction *sort = add(QStringLiteral("view-sort-ascending"), tr("Sort"));
            sort->setMenu(m_sortMenu);
            static_cast<QToolButton *>(widgetForAction(sort))->setPopupMode(QToolButton::InstantPopup);
        } else if (name == QLatin1String("info")) {
            connect(add(QStringLiteral("documentinfo"), tr("Info")), &QAction::triggered,
                    m_actions.action(PaneCommand::info), &QAction::trigger);
        } else if (name == QLatin1String("monitor")) {
            connect(add(QStringLiteral("office-chart-area"), tr("Monitor")), &QAction::triggered,
                    m_actions.action(WindowCommand::monitor), &QAction::trigger);
        } else if (name == QLatin1String("settings")) {
            connect(add(QStringLiteral("configure"), tr("Preferences")), &QAction::triggered,
                    m_actions.action(WindowCommand::preferences), &QAction::trigger);
        } else if (name == QLatin1String("terminal")) {
            // The same action as in the menus, so that the button shows whether the terminals are shown.
            m_chosen += m_actions.action(WindowCommand::terminal);
            insertAction(m_chosenEnd, m_chosen.last());
            showIconOnly(m_chosen.last());
        }
    }
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
        if (QWidget *button = widgetForAction(m_actions.action(command)))
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
