// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTreeWidget>
#include <QUuid>

#include <memory>
#include <optional>

class QMenu;

namespace moorix {

class AppModel;
class FileDrop;
struct ServerConnection;
class SidebarDelegate;
struct SyncPair;

/// Places of the local disk and the saved servers, one click away. Files dropped on one of them go there; folders
/// dropped on the heading of the places, or beneath everything, become favourites.
class Sidebar final : public QTreeWidget
{
    Q_OBJECT

public:
    explicit Sidebar(AppModel &model, QWidget *parent = nullptr);
    ~Sidebar() override;

    /// Marks the place or server that the active side shows, if it is listed.
    void markCurrent(const QString &localPath, const QUuid &server);
    /// Marks the sync of this key instead, until the key is empty.
    void markSync(const QString &key);
    /// Whether backups are shown instead of the sides.
    void markBackups(bool areShown);
    /// Whether the monitor is shown instead of the sides.
    void markMonitor(bool isShown);

signals:
    /// The keyboard goes back to the list.
    void listFocusRequested();
    void placeChosen(const QString &path);
    void serverChosen(const QUuid &server);
    void placeInNewTabRequested(const QString &path);
    void serverInNewTabRequested(const QUuid &server);
    void editServerRequested(const QUuid &server);
    void disconnectRequested(const QUuid &server);
    void terminalRequested(const QUuid &server);
    void newServerRequested();
    void libraryRequested();
    void pairChosen(const QUuid &pair);
    void syncChosen(const QString &key);
    void pairSettingsRequested(const QUuid &pair);
    void pairForgetRequested(const QUuid &pair);
    void pairsRequested();
    void monitorRequested();
    void backupChosen(const QUuid &job);
    void newBackupRequested(const QStringList &sources);
    void editBackupRequested(const QUuid &job, const QStringList &moreSources);

protected:
    void drawBranches(QPainter *, const QRect &, const QModelIndex &) const override {}
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    enum Role { pathRole = Qt::UserRole, serverRole, favoriteRole, connectedRole, pairRole, keyRole, jobRole };

    QTreeWidgetItem *addSection(const QString &title);
    void fillPlaces();
    void fillServers();
    void fillSyncs();
    void addSync(const SyncPair &pair, const std::optional<ServerConnection> &server, const QString &key, bool isSaved);
    void fillBackups();
    void fillBackupMenu(QMenu &menu, const QUuid &job);
    bool isBackup(const QTreeWidgetItem *item) const;
    void chooseBackup(const QUuid &job);
    QTreeWidgetItem *dropTarget(const QDropEvent &event) const;
    Qt::DropAction dropAction(const QDropEvent &event, const QTreeWidgetItem *target) const;
    void showDropOn(const QTreeWidgetItem *item);
    std::unique_ptr<FileDrop> dropOnPlace() const;
    std::unique_ptr<FileDrop> dropOnServer(const QUuid &server) const;
    void dropOnBackups(QDropEvent &event, const QUuid &job);
    void addPlace(const QString &label, const QString &iconName, const QString &path);
    void choose(const QTreeWidgetItem *item);
    void showMenu(const QPoint &position);
    void fillServerMenu(QMenu &menu, const QUuid &server);
    void fillPlaceMenu(QMenu &menu, const QTreeWidgetItem &item);
    void fillSyncMenu(QMenu &menu, const QTreeWidgetItem &item);
    void markItems();
    void setFavorites(const QString &raw);

    AppModel &m_model;
    SidebarDelegate *m_delegate;
    /// What the last drop was handed to; it may still have to tell why that went wrong.
    std::unique_ptr<FileDrop> m_drop;
    QTreeWidgetItem *m_places;
    QTreeWidgetItem *m_servers;
    QTreeWidgetItem *m_syncs;
    QTreeWidgetItem *m_backups;
    QTreeWidgetItem *m_monitor;
    bool m_showsBackups = false;
    bool m_showsMonitor = false;
    QString m_currentPath;
    QUuid m_currentServer;
    QString m_currentSync;
};

} // namespace moorix
