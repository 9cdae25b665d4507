// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTreeWidget>
#include <QUuid>

class QMenu;

namespace moorix {

class AppModel;

/// Places of the local disk and the saved servers, one click away. Folders dropped on the places become favourites.
class Sidebar final : public QTreeWidget
{
    Q_OBJECT

public:
    explicit Sidebar(AppModel &model, QWidget *parent = nullptr);
    ~Sidebar() override;

    /// Marks the place or server that the active side shows, if it is listed.
    void markCurrent(const QString &localPath, const QUuid &server);

signals:
    void placeChosen(const QString &path);
    void serverChosen(const QUuid &server);
    void placeInNewTabRequested(const QString &path);
    void serverInNewTabRequested(const QUuid &server);
    void editServerRequested(const QUuid &server);
    void disconnectRequested(const QUuid &server);
    void newServerRequested();
    void libraryRequested();

protected:
    void drawBranches(QPainter *, const QRect &, const QModelIndex &) const override {}
    void keyPressEvent(QKeyEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    enum Role { pathRole = Qt::UserRole, serverRole, favoriteRole, connectedRole };

    QTreeWidgetItem *addSection(const QString &title);
    void fillPlaces();
    void fillServers();
    void addPlace(const QString &label, const QString &iconName, const QString &path);
    void choose(const QTreeWidgetItem *item);
    void showMenu(const QPoint &position);
    void fillServerMenu(QMenu &menu, const QUuid &server);
    void fillPlaceMenu(QMenu &menu, const QTreeWidgetItem &item);
    void setFavorites(const QString &raw);

    AppModel &m_model;
    QTreeWidgetItem *m_places;
    QTreeWidgetItem *m_servers;
    QString m_currentPath;
    QUuid m_currentServer;
};

} // namespace moorix
