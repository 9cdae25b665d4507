// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Sidebar.h"

#include "app/AppModel.h"
#include "app/ServerConnections.h"
#include "backup/BackupEngine.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupStore.h"
#include "base/Clock.h"
#include "files/Format.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "sync/SyncEngine.h"
#include "sync/SyncPairStore.h"
#include "ui/Favorites.h"
#include "ui/SidebarDelegate.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/backup/BackupText.h"
#include "ui/pane/FileDrop.h"
#include "ui/servers/ServerLook.h"
#include "ui/sync/SyncLook.h"

#include <QKeyEvent>
#include <QMenu>
#include <QStandardPaths>

#include <algorithm>

namespace moorix {

Sidebar::Sidebar(AppModel &model, QWidget *parent)
    : QTreeWidget(parent)
    , m_model(model)
    , m_delegate(new SidebarDelegate(connectedRole, this))
    , m_places(addSection(tr("PLACES")))
    , m_servers(addSection(tr("SERVERS")))
    , m_syncs(addSection(tr("SYNC")))
    , m_backups(addSection(tr("BACKUPS")))
    , m_monitor(new QTreeWidgetItem(addSection(tr("SYSTEM")), {tr("Monitor")}))
{
    setObjectName(QStringLiteral("sidebar"));
    setAccessibleName(tr("Places and servers"));
    setHeaderHidden(true);
    setIndentation(0);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setFrameShape(NoFrame);
    setMouseTracking(true);
    setItemDelegate(m_delegate);
    setAcceptDrops(true);
    setDragDropMode(DropOnly);
    setDropIndicatorShown(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setTabKeyNavigation(false);
    m_monitor->setIcon(0, Theme::icon(QStringLiteral("office-chart-area")));
    fillPlaces();
    fillServers();
    fillSyncs();
    fillBackups();

    connect(this, &QWidget::customContextMenuRequested, this, &Sidebar::showMenu);
    connect(&model.servers(), &ServerStore::libraryChanged, this, &Sidebar::fillServers);
    connect(&model.servers(), &ServerStore::libraryChanged, this, &Sidebar::fillSyncs);
    connect(&model.sync(), &SyncEngine::changed, this, &Sidebar::fillSyncs);
    connect(&model.backups(), &BackupStore::jobsChanged, this, &Sidebar::fillBackups);
    connect(&model.backupHistory(), &BackupHistoryStore::changed, this, &Sidebar::fillBackups);
    connect(&model.backupEngine(), &BackupEngine::runningJobChanged, this, &Sidebar::fillBackups);
    connect(&model.connections(), &ServerConnections::connectionsChanged, this, &Sidebar::fillServers);
    connect(&model.settings(), &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key == m_model.settings().localFavoritesRaw.key())
            fillPlaces();
    });
}

Sidebar::~Sidebar() = default;

QTreeWidgetItem *Sidebar::addSection(const QString &title)
{
    auto *section = new QTreeWidgetItem(this, {title});
    section->setFlags(Qt::ItemIsEnabled);
    section->setExpanded(true);
    return section;
}

void Sidebar::addPlace(const QString &label, const QString &iconName, const QString &path)
{
    auto *item = new QTreeWidgetItem(m_places, {label});
    item->setIcon(0, Theme::icon(iconName));
    item->setData(0, pathRole, path);
    item->setToolTip(0, Widgets::toolTip(Format::display(path)));
}

void Sidebar::fillPlaces()
{
    qDeleteAll(m_places->takeChildren());
    const auto standard = [](QStandardPaths::StandardLocation location) {
        return QStandardPaths::writableLocation(location);
    };
    addPlace(tr("Home"), QStringLiteral("go-home"), standard(QStandardPaths::HomeLocation));
    addPlace(tr("Desktop"), QStringLiteral("user-desktop"), standard(QStandardPaths::DesktopLocation));
    addPlace(tr("Documents"), QStringLiteral("folder-documents"), standard(QStandardPaths::DocumentsLocation));
    addPlace(tr("Downloads"), QStringLiteral("folder-download"), standard(QStandardPaths::DownloadLocation));
    addPlace(tr("File system"), QStringLiteral("drive-harddisk"), QStringLiteral("/"));
    for (const QString &path : Favorites::parse(m_model.settings().localFavoritesRaw.value())) {
        const QString name = Format::fileName(path);
        addPlace(name.isEmpty() ? path : Format::display(name), QStringLiteral("bookmarks"), path);
        m_places->child(m_places->childCount() - 1)->setData(0, favoriteRole, true);
    }
    markCurrent(m_currentPath, m_currentServer);
}

void Sidebar::fillServers()
{
    qDeleteAll(m_servers->takeChildren());
    QList<ServerConnection> servers = m_model.servers().favorites();
    QList<ServerConnection> others = m_model.servers().library().servers;
    others.removeIf([](const ServerConnection &server) { return server.isFavorite; });
    std::ranges::sort(others, [](const ServerConnection &a, const ServerConnection &b) {
        return a.displayName().localeAwareCompare(b.displayName()) < 0;
    });
    for (const ServerConnection &server : servers + others) {
        auto *item = new QTreeWidgetItem(m_servers, {Format::display(server.displayName())});
        const bool isConnected = m_model.connections().isConnected(server.id);
        item->setIcon(0, ServerLook::icon(server));
        item->setData(0, serverRole, server.id);
        item->setData(0, connectedRole, isConnected);
        item->setToolTip(0, isConnected ? tr("%1 — connected").arg(ServerLook::address(server))
                                        : ServerLook::address(server));
    }
    m_servers->setHidden(m_servers->childCount() == 0);
    markCurrent(m_currentPath, m_currentServer);
}

void Sidebar::markCurrent(const QString &localPath, const QUuid &server)
{
    m_currentPath = localPath;
    m_currentServer = server;
    markItems();
}

void Sidebar::markSync(const QString &key)
{
    m_currentSync = key;
    markItems();
}

void Sidebar::markItems()
{
    clearSelection();
    m_monitor->setSelected(m_showsMonitor);
    if (m_showsBackups || m_showsMonitor)
        return;
    if (!m_currentSync.isEmpty()) {
        for (int row = 0; row < m_syncs->childCount(); ++row)
            m_syncs->child(row)->setSelected(m_syncs->child(row)->data(0, keyRole) == m_currentSync);
        return;
    }
    for (QTreeWidgetItem *section : {m_places, m_servers}) {
        for (int row = 0; row < section->childCount(); ++row) {
            QTreeWidgetItem *item = section->child(row);
            const bool isShown = section == m_places
                                     ? !m_currentPath.isEmpty() && item->data(0, pathRole) == m_currentPath
                                     : !m_currentServer.isNull() && item->data(0, serverRole) == m_currentServer;
            if (isShown)
                item->setSelected(true);
        }
    }
}

void Sidebar::choose(const QTreeWidgetItem *item)
{
    if (!item || !item->parent())
        return;
    if (item->parent() == m_places)
        emit placeChosen(item->data(0, pathRole).toString());
    else if (item == m_monitor)
        emit monitorRequested();
    else if (isBackup(item))
        chooseBackup(item->data(0, jobRole).toUuid());
    else if (item->parent() == m_servers)
        emit serverChosen(item->data(0, serverRole).toUuid());
    else if (const QUuid pair = item->data(0, pairRole).toUuid(); !pair.isNull())
        emit pairChosen(pair);
    else
        emit syncChosen(item->data(0, keyRole).toString());
}

void Sidebar::fillSyncs()
{
    qDeleteAll(m_syncs->takeChildren());
    const SyncEngine &engine = m_model.sync();
    QStringList keys;
    for (const SyncPair &pair : engine.pairs().pairs()) {
        keys << engine.keyOf(pair);
        addSync(pair, engine.recordOf(pair), keys.constLast(), true);
    }
    for (const SyncSession *session : engine.sessions()) {
        if (!keys.contains(session->key()))
            addSync(session->pair(), session->server(), session->key(), false);
    }
    m_syncs->setHidden(m_syncs->childCount() == 0);
    markItems();
}

void Sidebar::addSync(const SyncPair &pair, const std::optional<ServerConnection> &server, const QString &key,
                      bool isSaved)
{
    const SyncSession *session = m_model.sync().find(key);
    auto *item = new QTreeWidgetItem(m_syncs, {SyncLook::title(pair, server)});
    item->setIcon(0, Theme::icon(QStringLiteral("folder-sync")));
    item->setData(0, keyRole, key);
    item->setData(0, pairRole, isSaved ? pair.id : QUuid());
    item->setData(0, connectedRole, session && session->isBusy());
    const QString standing =
        session && session->isBusy() ? tr("At work") : SyncLook::lastRun(m_model.sync().lastRun(key));
    item->setToolTip(0, Widgets::toolTip(SyncLook::folders(pair, server) + u'\n' + standing));
}

void Sidebar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        choose(currentItem());
    else if (event->key() == Qt::Key_Escape)
        emit listFocusRequested();
    else
        QTreeWidget::keyPressEvent(event);
}

/// The keyboard begins at what is shown.
void Sidebar::focusInEvent(QFocusEvent *event)
{
    const QList<QTreeWidgetItem *> marked = selectedItems();
    const bool isByKey = event->reason() != Qt::MouseFocusReason && event->reason() != Qt::PopupFocusReason;
    if (isByKey && !marked.isEmpty())
        setCurrentItem(marked.first());
    QTreeWidget::focusInEvent(event);
}

/// The arrows have marked what they went over; what is marked is what is shown.
void Sidebar::focusOutEvent(QFocusEvent *event)
{
    QTreeWidget::focusOutEvent(event);
    if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason)
        markItems();
}

void Sidebar::mouseReleaseEvent(QMouseEvent *event)
{
    QTreeWidget::mouseReleaseEvent(event);
    const QTreeWidgetItem *item = itemAt(event->position().toPoint());
    if (!item || !item->parent())
        return;
    if (event->button() == Qt::LeftButton) {
        choose(item);
    } else if (event->button() == Qt::MiddleButton) {
        if (item->parent() == m_places)
            emit placeInNewTabRequested(item->data(0, pathRole).toString());
        else if (isBackup(item))
            chooseBackup(item->data(0, jobRole).toUuid());
        else if (item->parent() == m_servers)
            emit serverInNewTabRequested(item->data(0, serverRole).toUuid());
    }
}

void Sidebar::showMenu(const QPoint &position)
{
    const QTreeWidgetItem *item = itemAt(position);
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (item && item->parent() == m_places)
        fillPlaceMenu(*menu, *item);
    else if (item && item->parent() == m_servers)
        fillServerMenu(*menu, item->data(0, serverRole).toUuid());
    else if (item && item->parent() == m_syncs)
        fillSyncMenu(*menu, *item);
    else if (isBackup(item))
        fillBackupMenu(*menu, item->data(0, jobRole).toUuid());
    menu->addAction(tr("New server…"), this, &Sidebar::newServerRequested);
    menu->addAction(tr("Show the server library"), this, &Sidebar::libraryRequested);
    menu->popup(viewport()->mapToGlobal(position));
}

bool Sidebar::isBackup(const QTreeWidgetItem *item) const
{
    return item && item->parent() == m_backups;
}

void Sidebar::chooseBackup(const QUuid &job)
{
    if (job.isNull())
        emit newBackupRequested({});
    else
        emit backupChosen(job);
}

void Sidebar::fillBackups()
{
    qDeleteAll(m_backups->takeChildren());
    for (const BackupJob &job : m_model.backups().jobs()) {
        const auto state = m_model.backupHistory().state(job.id);
        const BackupText::Line good = BackupText::lastGood(job, state, systemNow());
        const BackupText::Line status = BackupText::status(job, state, systemNow());
        const bool isBad = std::max(good.tone, status.tone) == BackupText::Tone::danger;
        auto *item = new QTreeWidgetItem(m_backups, {Format::display(job.name)});
        item->setIcon(0, Theme::icon(QStringLiteral("backup"), isBad ? Theme::Color::danger : Theme::Color::text));
        item->setData(0, jobRole, job.id);
        item->setData(0, connectedRole, m_model.backupEngine().runningJobID() == job.id);
        item->setToolTip(0, Widgets::toolTip(QStringList{good.text, status.text}.join(u'\n')));
    }
    if (m_backups->childCount() == 0) {
        auto *item = new QTreeWidgetItem(m_backups, {tr("Set up a backup…")});
        item->setIcon(0, Theme::icon(QStringLiteral("list-add")));
    }
    markCurrent(m_currentPath, m_currentServer);
}

void Sidebar::fillBackupMenu(QMenu &menu, const QUuid &job)
{
    if (!job.isNull()) {
        menu.addAction(tr("Back up now"), this, [this, job] {
            if (const auto refusal = m_model.backupEngine().run(job))
                emit m_model.messageRaised(*refusal);
        });
        menu.addAction(tr("Show"), this, [this, job] { emit backupChosen(job); });
        menu.addAction(tr("Edit…"), this, [this, job] { emit editBackupRequested(job, {}); });
    }
    menu.addAction(tr("New backup…"), this, [this] { emit newBackupRequested({}); });
    menu.addSeparator();
}

void Sidebar::markBackups(bool areShown)
{
    m_showsBackups = areShown;
    markCurrent(m_currentPath, m_currentServer);
}

void Sidebar::markMonitor(bool isShown)
{
    m_showsMonitor = isShown;
    markItems();
}

void Sidebar::fillServerMenu(QMenu &menu, const QUuid &server)
{
    menu.addAction(tr("Connect"), this, [this, server] { emit serverChosen(server); });
    menu.addAction(tr("Connect in a new tab"), this, [this, server] { emit serverInNewTabRequested(server); });
    if (m_model.connections().isConnected(server))
        menu.addAction(tr("Disconnect"), this, [this, server] { emit disconnectRequested(server); });
    menu.addAction(tr("Open terminal"), this, [this, server] { emit terminalRequested(server); });
    menu.addAction(tr("Edit…"), this, [this, server] { emit editServerRequested(server); });
    const bool isFavorite = m_model.servers().server(server).value_or(ServerConnection()).isFavorite;
    menu.addAction(isFavorite ? tr("Remove from favourites") : tr("Add to favourites"), this,
                   [this, server] { m_model.servers().toggleFavorite(server); });
    menu.addSeparator();
}

void Sidebar::fillPlaceMenu(QMenu &menu, const QTreeWidgetItem &item)
{
    const QString path = item.data(0, pathRole).toString();
    menu.addAction(tr("Open"), this, [this, path] { emit placeChosen(path); });
    menu.addAction(tr("Open in a new tab"), this, [this, path] { emit placeInNewTabRequested(path); });
    if (item.data(0, favoriteRole).toBool()) {
        menu.addAction(tr("Remove from the sidebar"), this, [this, path] {
            setFavorites(Favorites::removing(m_model.settings().localFavoritesRaw.value(), path));
        });
    }
    menu.addSeparator();
}

void Sidebar::fillSyncMenu(QMenu &menu, const QTreeWidgetItem &item)
{
    const QUuid pair = item.data(0, pairRole).toUuid();
    if (!pair.isNull()) {
        menu.addAction(tr("Sync now"), this, [this, pair] { emit pairChosen(pair); });
        menu.addAction(tr("Settings…"), this, [this, pair] { emit pairSettingsRequested(pair); });
        menu.addAction(tr("Forget…"), this, [this, pair] { emit pairForgetRequested(pair); });
    }
    if (SyncSession *session = pair.isNull() ? m_model.sync().find(item.data(0, keyRole).toString()) : nullptr)
        menu.addAction(tr("Close"), session, [this, session] { m_model.sync().close(*session); });
    menu.addAction(tr("Show all synced folders"), this, &Sidebar::pairsRequested);
    menu.addSeparator();
}

void Sidebar::setFavorites(const QString &raw)
{
    m_model.settings().localFavoritesRaw.set(raw);
}

} // namespace moorix
