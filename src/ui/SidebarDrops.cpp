// SPDX-License-Identifier: GPL-3.0-or-later
// What becomes of files that are dropped on the sidebar.
#include "ui/Sidebar.h"

#include "app/AppModel.h"
#include "app/ServerConnections.h"
#include "files/RemoteFileService.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "ui/Favorites.h"
#include "ui/SidebarDelegate.h"
#include "ui/pane/FileDrop.h"
#include "ui/pane/FileMimeData.h"

#include <QDragEnterEvent>
#include <QFileInfo>
#include <QPointer>

namespace moorix {

namespace {

/// Folders among what is dragged: of a file list, or of another program.
QStringList foldersOf(const QMimeData &data)
{
    QStringList folders;
    if (const auto *files = qobject_cast<const FileMimeData *>(&data)) {
        if (!files->hasUrls())
            return {};
        for (const FileItem &item : files->items()) {
            if (item.isShownAsFolder())
                folders += item.path;
        }
        return folders;
    }
    for (const QString &path : FileMimeData::localPaths(data)) {
        if (QFileInfo(path).isDir())
            folders += path;
    }
    return folders;
}

/// What only becomes a favourite or a source stays where it is, so never the action after which a source removes them.
Qt::DropAction harmlessAction(const QDropEvent &event)
{
    return event.possibleActions().testFlag(Qt::LinkAction) ? Qt::LinkAction : Qt::CopyAction;
}

/// Of a server, whose start folder is not known before it is connected: one that no file is in.
const auto startFolder = QStringLiteral("~");

} // namespace

/// Beneath everything is as good as the heading of the places.
QTreeWidgetItem *Sidebar::dropTarget(const QDropEvent &event) const
{
    QTreeWidgetItem *item = itemAt(event.position().toPoint());
    return item ? item : m_places;
}

std::unique_ptr<FileDrop> Sidebar::dropOnPlace() const
{
    auto drop = std::make_unique<FileDrop>(m_model.localFiles(), m_model.localFiles(),
                                           [model = QPointer(&m_model)](TransferRequest request) {
                                               if (model)
                                                   model->transfer(std::move(request));
                                           });
    connect(drop.get(), &FileDrop::refused, &m_model, &AppModel::messageRaised);
    return drop;
}

std::unique_ptr<FileDrop> Sidebar::dropOnServer(const QUuid &server) const
{
    auto drop = std::make_unique<FileDrop>(m_model.connections().live(server), m_model.localFiles(),
                                           [model = QPointer(&m_model), server](TransferRequest request) {
                                               if (model)
                                                   model->transferTo(server, std::move(request));
                                           });
    connect(drop.get(), &FileDrop::refused, &m_model, &AppModel::messageRaised);
    return drop;
}

/// Backups take whatever is local as a source, the heading of the places folders.
Qt::DropAction Sidebar::dropAction(const QDropEvent &event, const QTreeWidgetItem *target) const
{
    const QMimeData &dragged = *event.mimeData();
    if (target == m_backups || isBackup(target))
        return FileMimeData::localPaths(dragged).isEmpty() ? Qt::IgnoreAction : harmlessAction(event);
    if (target == m_places)
        return foldersOf(dragged).isEmpty() ? Qt::IgnoreAction : harmlessAction(event);
    const bool isPlace = target->parent() == m_places;
    if (!isPlace && target->parent() != m_servers)
        return Qt::IgnoreAction;
    const auto drop = isPlace ? dropOnPlace() : dropOnServer(target->data(0, serverRole).toUuid());
    return drop->actionFor(event, isPlace ? target->data(0, pathRole).toString() : startFolder);
}

void Sidebar::showDropOn(const QTreeWidgetItem *item)
{
    m_delegate->setDropRow(item ? indexFromItem(item) : QModelIndex());
    viewport()->update();
}

void Sidebar::dragEnterEvent(QDragEnterEvent *event)
{
    event->setAccepted(qobject_cast<const FileMimeData *>(event->mimeData()) ||
                       FileMimeData::hasLocalPaths(*event->mimeData()));
}

void Sidebar::dragMoveEvent(QDragMoveEvent *event)
{
    const QTreeWidgetItem *target = dropTarget(*event);
    const Qt::DropAction action = dropAction(*event, target);
    showDropOn(action == Qt::IgnoreAction ? nullptr : target);
    event->setDropAction(action);
    event->setAccepted(action != Qt::IgnoreAction);
}

void Sidebar::dragLeaveEvent(QDragLeaveEvent *)
{
    showDropOn(nullptr);
}

/// What is dropped joins the sources of a backup, or of a new one.
void Sidebar::dropOnBackups(QDropEvent &event, const QUuid &job)
{
    const QStringList paths = FileMimeData::localPaths(*event.mimeData());
    if (job.isNull())
        emit newBackupRequested(paths);
    else
        emit editBackupRequested(job, paths);
    event.setDropAction(harmlessAction(event));
    event.accept();
}

void Sidebar::dropEvent(QDropEvent *event)
{
    showDropOn(nullptr);
    const QTreeWidgetItem *target = dropTarget(*event);
    if (dropAction(*event, target) == Qt::IgnoreAction) {
        event->setDropAction(Qt::IgnoreAction);
        event->ignore();
    } else if (target == m_backups || isBackup(target)) {
        dropOnBackups(*event, target->data(0, jobRole).toUuid());
    } else if (target == m_places) {
        QString raw = m_model.settings().localFavoritesRaw.value();
        for (const QString &folder : foldersOf(*event->mimeData()))
            raw = Favorites::adding(raw, folder);
        event->setDropAction(harmlessAction(*event));
        event->accept();
        setFavorites(raw);
    } else {
        const bool isPlace = target->parent() == m_places;
        m_drop = isPlace ? dropOnPlace() : dropOnServer(target->data(0, serverRole).toUuid());
        m_drop->drop(*event, isPlace ? target->data(0, pathRole).toString() : startFolder);
    }
}

} // namespace moorix
