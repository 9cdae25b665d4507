// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FileDrop.h"

#include "base/Job.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "ui/pane/FileMimeData.h"

#include <QDropEvent>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

/// A folder cannot go into itself, and an entry need not go where it is.
bool isPointless(const QString &path, const QString &folder, Qt::DropAction action)
{
    const bool isInside = folder == path || folder.startsWith(path + u'/');
    return isInside || (action == Qt::MoveAction && Format::parent(path) == folder);
}

} // namespace

FileDrop::FileDrop(const std::shared_ptr<FileService> &destination, std::shared_ptr<FileService> localFiles,
                   Transfer transfer, QObject *parent)
    : QObject(parent)
    , m_destination(destination)
    , m_localFiles(std::move(localFiles))
    , m_transfer(std::move(transfer))
{
}

bool FileDrop::accepts(const QMimeData &data) const
{
    if (!m_transfer)
        return false;
    return qobject_cast<const FileMimeData *>(&data) || (m_localFiles && FileMimeData::hasLocalPaths(data));
}

Qt::DropAction FileDrop::actionFor(const QDropEvent &event, const QString &folder) const
{
    // Nothing else has come in, see `accepts`; asking each time would have another program tell all its files again.
    if (!m_transfer || folder.isEmpty())
        return Qt::IgnoreAction;
    const auto *ours = qobject_cast<const FileMimeData *>(event.mimeData());
    const bool isSamePlace = ours && ours->service() == m_destination.lock();
    Qt::DropAction action = isSamePlace ? Qt::MoveAction : Qt::CopyAction;
    if (event.modifiers() & Qt::ControlModifier)
        action = Qt::CopyAction;
    else if (event.modifiers() & Qt::ShiftModifier)
        action = Qt::MoveAction;
    if (!(event.possibleActions() & action))
        action = Qt::CopyAction;
    if (isSamePlace && std::ranges::any_of(
                           ours->items(), [&](const FileItem &item) { return isPointless(item.path, folder, action); }))
        return Qt::IgnoreAction;
    return action;
}

void FileDrop::drop(QDropEvent &event, const QString &folder)
{
    const Qt::DropAction action = actionFor(event, folder);
    if (action == Qt::IgnoreAction) {
        event.ignore();
        return;
    }
    const bool isMove = action == Qt::MoveAction;
    if (const auto *ours = qobject_cast<const FileMimeData *>(event.mimeData())) {
        m_transfer({ours->service(), m_destination.lock(), ours->items(), folder, isMove});
    } else {
        takeLocalFiles(FileMimeData::localPaths(*event.mimeData()), folder, isMove);
    }
    // The transfer removes the sources of a move itself, once their copies are verified.
    event.setDropAction(Qt::CopyAction);
    event.accept();
}

void FileDrop::takeLocalFiles(const QStringList &paths, const QString &folder, bool isMove, Found found)
{
    if (!m_localFiles || !m_transfer)
        return;
    if (paths.isEmpty()) {
        emit refused(tr("None of these files is on this computer."));
        return;
    }
    runJob(
        [files = m_localFiles, paths](const std::stop_token &stop) {
            QList<FileItem> items;
            for (const QString &path : paths) {
                if (const auto item = files->stat(path, stop))
                    items.append(*item);
            }
            return items;
        },
        [self = QPointer(this), files = m_localFiles, destination = m_destination.lock(), transfer = m_transfer,
         found = std::move(found), folder, isMove, count = paths.size()](const QList<FileItem> &items) {
            if (self && items.size() < count)
                emit self->refused(tr("No longer there: %1 of %2 files.").arg(count - items.size()).arg(count));
            if (!items.isEmpty() && (!found || found(items)))
                transfer({files, destination, items, folder, isMove});
        },
        [self = QPointer(this)](const Error &error) {
            if (self)
                emit self->refused(error.message());
        })
        .detach();
}

} // namespace moorix
