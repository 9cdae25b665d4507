// SPDX-License-Identifier: GPL-3.0-or-later
// The part of PaneModel that reads folders and moves between them.
#include "files/PaneModel.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "files/PaneListing.h"

#include <algorithm>

namespace moorix {

namespace {

/// Without repeated and trailing slashes. "." and ".." stay: what they mean behind a link only the service knows.
QString cleaned(const QString &path)
{
    const QStringList components = path.split(u'/', Qt::SkipEmptyParts);
    return path.startsWith(u'/') ? u'/' + components.join(u'/') : components.join(u'/');
}

QList<PathComponent> componentsOf(const QString &path)
{
    QList<PathComponent> components{{QStringLiteral("/"), QStringLiteral("/")}};
    const QStringList names = path.split(u'/', Qt::SkipEmptyParts);
    for (const QString &name : names)
        components.append({name, Format::join(components.last().path, name)});
    return components;
}

bool namesFile(FileService &service, const QString &path, const std::stop_token &stop)
{
    try {
        const std::optional<FileItem> item = service.stat(path, stop);
        return item && !service.followLink(*item, stop).isDirectory;
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &) {
        // Why nothing can be shown is the listing's to tell.
        return false;
    }
}

} // namespace

struct PaneModel::LoadResult
{
    QString path;
    HiddenFiles hidden;
    /// Absent when the folder holds exactly what is shown already.
    std::shared_ptr<PaneListing> listing;
    /// The file that the path named, instead of a folder.
    QString file = {};
};

void PaneModel::load(const QString &path, bool pushHistory)
{
    start({cleaned(path), LoadKind::navigation, pushHistory, 0});
}

void PaneModel::reload()
{
    start({m_currentPath, LoadKind::navigation, false, 0});
}

void PaneModel::reloadUnlessLeaving()
{
    refresh(LoadKind::afterOperation);
}

void PaneModel::refresh(LoadKind kind)
{
    const bool isLeaving = m_pending && m_pending->path != m_currentPath;
    if (isLeaving)
        return;
    if (m_pending && kind == LoadKind::background) {
        m_refreshWanted = true;
        return;
    }
    // A load of this folder that began before the operation ended may have missed its effect.
    if (m_pending && m_pending->kind == LoadKind::navigation)
        kind = LoadKind::navigation;
    start({m_currentPath, kind, false, 0});
}

void PaneModel::start(PendingLoad pending)
{
    m_openJob.cancel();
    m_refreshWanted = false;
    std::shared_ptr<const PaneListing> shown = pending.path == m_currentPath ? m_listing : nullptr;
    const HiddenFiles hidden = m_showHidden ? HiddenFiles::included : HiddenFiles::asTheSourceDoes;
    m_loadJob = runJob(
        [service = m_service, path = pending.path, hidden, view = itemView(), mayBeFile = m_isLocal && !shown,
         shown = std::move(shown)](const std::stop_token &stop) {
            QString folder = path.isEmpty() ? cleaned(service->defaultDirectory(stop)) : path;
            QString file;
            if (mayBeFile && namesFile(*service, folder, stop)) {
                file = Format::fileName(folder);
                folder = Format::parent(folder);
            }
            QList<FileItem> items = service->list(folder, hidden, stop);
            if (shown && shown->hidden() == hidden && shown->items() == items)
                return LoadResult{folder, hidden, nullptr};
            return LoadResult{folder, hidden, PaneListing::make(std::move(items), hidden, view), file};
        },
        [this](LoadResult result) { finishLoad(std::move(result)); }, [this](const Error &error) { failLoad(error); });
    m_pending = std::move(pending);
    showLoading();
}

/// A background load shows only where it takes the place of one that does.
void PaneModel::showLoading()
{
    const bool isLoading = m_pending && (m_isLoading || m_pending->kind != LoadKind::background);
    const QString path = isLoading ? m_pending->path : QString();
    if (isLoading == m_isLoading && path == m_loadingPath)
        return;
    m_isLoading = isLoading;
    m_loadingPath = path;
    emit isLoadingChanged();
}

void PaneModel::cancelLoading()
{
    m_loadJob.cancel();
    m_openJob.cancel();
    m_namesToSelect.clear();
    m_pending.reset();
    showLoading();
}

void PaneModel::failLoad(const Error &error)
{
    const LoadKind kind = std::exchange(m_pending, std::nullopt)->kind;
    m_namesToSelect.clear();
    setError(error.message(), kind);
    showLoading();
}

/// All state is changed before the first signal: what listens may start the next load.
void PaneModel::finishLoad(LoadResult result)
{
    const PendingLoad load = *std::exchange(m_pending, std::nullopt);
    const QSet<QString> selectionBefore = m_selection;
    const bool showsRows = result.listing != nullptr;
    const bool isOtherFolder = result.path != m_currentPath;
    const bool changesHistory = applyHistory(load, result.path);
    if (isOtherFolder) {
        m_currentPath = result.path;
        m_pathComponentCache = componentsOf(result.path);
        m_selection.clear();
    }
    if (showsRows)
        replaceListing(std::move(result.listing));
    if (!result.file.isEmpty())
        m_namesToSelect = {result.file};
    const QString madeCurrent = selectRequested();
    if (m_isLocal)
        m_watcher.watch(m_currentPath);

    if (isOtherFolder)
        emit currentPathChanged();
    if (changesHistory)
        emit historyChanged();
    if (showsRows)
        emit displayedChanged();
    if (m_selection != selectionBefore)
        emit selectionChanged();
    if (load.kind == LoadKind::navigation || m_errorOrigin == LoadKind::background)
        clearError();
    showLoading();
    if (!madeCurrent.isEmpty())
        emit currentItemRequested(madeCurrent);
    if (std::exchange(m_refreshWanted, false))
        refresh(LoadKind::background);
    readHiddenIfMissing();
}

void PaneModel::replaceListing(std::shared_ptr<PaneListing> listing)
{
    m_listing = std::move(listing);
    // Order and filter may have been changed while the listing was on its way.
    m_listing->setView(itemView());
    if (m_selection.isEmpty())
        return;
    QSet<QString> kept;
    for (const FileItem &item : m_listing->items()) {
        if (m_selection.contains(item.id()))
            kept.insert(item.id());
    }
    m_selection = kept;
}

/// Selects what was asked for as far as it is shown; returns the first of it.
QString PaneModel::selectRequested()
{
    QSet<QString> ids;
    QString first;
    for (const QString &name : std::exchange(m_namesToSelect, {})) {
        const QString id = Format::join(m_currentPath, name);
        if (!m_listing->rowOf(id))
            continue;
        if (ids.isEmpty())
            first = id;
        ids.insert(id);
    }
    if (!ids.isEmpty())
        m_selection = ids;
    return first;
}

void PaneModel::readHiddenIfMissing()
{
    const bool isMissing = m_showHidden && !m_isLocal && m_listing->hidden() == HiddenFiles::asTheSourceDoes;
    if (isMissing && !m_currentPath.isEmpty() && !m_pending)
        reload();
}

bool PaneModel::canGoUp() const
{
    return !m_currentPath.isEmpty() && m_currentPath != u'/';
}

void PaneModel::goUp()
{
    if (!canGoUp())
        return;
    selectWhenLoaded(Format::fileName(m_currentPath));
    load(Format::parent(m_currentPath), true);
}

void PaneModel::goBack()
{
    goInHistory(-1);
}

void PaneModel::goForward()
{
    goInHistory(1);
}

/// The stacks change only once the folder is shown. Steps asked for meanwhile add up.
void PaneModel::goInHistory(qsizetype delta)
{
    const qsizetype earlier = m_pending ? m_pending->historyOffset : 0;
    const qsizetype offset = std::clamp(earlier + delta, -m_history.size(), m_forwardStack.size());
    if (offset == earlier)
        return;
    if (offset == 0)
        cancelLoading();
    else if (offset < 0)
        start({m_history.at(m_history.size() + offset), LoadKind::navigation, false, offset});
    else
        start({m_forwardStack.at(m_forwardStack.size() - offset), LoadKind::navigation, false, offset});
}

bool PaneModel::applyHistory(const PendingLoad &load, const QString &path)
{
    const bool isAdded = load.pushesHistory && path != m_currentPath && !m_currentPath.isEmpty();
    if (isAdded) {
        m_history.append(m_currentPath);
        m_forwardStack.clear();
    }
    QString place = m_currentPath;
    for (qsizetype i = load.historyOffset; i < 0; ++i)
        m_forwardStack.append(std::exchange(place, m_history.takeLast()));
    for (qsizetype i = load.historyOffset; i > 0; --i)
        m_history.append(std::exchange(place, m_forwardStack.takeLast()));
    return isAdded || load.historyOffset != 0;
}

void PaneModel::open(const FileItem &item)
{
    if (!item.isSymlink) {
        if (item.isDirectory)
            load(item.path, true);
        else
            emit openFileRequested(item);
        return;
    }
    m_openJob =
        runJob([service = m_service, item](const std::stop_token &stop) { return service->followLink(item, stop); },
               [this](const FileItem &target) {
                   if (target.isDirectory)
                       load(target.path, true);
                   else
                       emit openFileRequested(target);
               },
               [this, name = item.name](const Error &) {
                   setError(QStringLiteral("Couldn’t follow symlink to “%1”").arg(name), LoadKind::navigation);
               });
}

} // namespace moorix
