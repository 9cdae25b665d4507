// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/PaneModel.h"

#include "files/FileNames.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/PaneListing.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <vector>

namespace moorix {

namespace {

constexpr std::chrono::milliseconds searchDelay(120);

/// "Deleting “a.txt”" for one entry, "Deleting 3 items" for more.
QString describe(const QString &verb, const QList<FileItem> &items)
{
    if (items.size() == 1)
        return QStringLiteral("%1 “%2”").arg(verb, Format::display(items.first().name));
    return QStringLiteral("%1 %2 items").arg(verb).arg(items.size());
}

} // namespace

PaneModel::PaneModel(std::shared_ptr<FileService> service, QString title, bool isLocal, QObject *parent)
    : QObject(parent)
    , m_service(std::move(service))
    , m_title(std::move(title))
    , m_isLocal(isLocal)
    , m_listing(PaneListing::make({}, HiddenFiles::included, ItemView()))
{
    m_searchDebounce.setSingleShot(true);
    m_searchDebounce.setInterval(searchDelay);
    connect(&m_searchDebounce, &QTimer::timeout, this, &PaneModel::applyView);
    connect(&m_watcher, &FolderWatcher::changed, this, [this] { refresh(LoadKind::background); });
    takeUpOperations();
}

PaneModel::~PaneModel() = default;

const QList<FileItem> &PaneModel::items() const
{
    return m_listing->items();
}

qsizetype PaneModel::displayedCount() const
{
    return m_listing->rowCount();
}

const FileItem &PaneModel::displayedItem(qsizetype row) const
{
    return m_listing->row(row);
}

QList<FileItem> PaneModel::displayed() const
{
    QList<FileItem> rows;
    rows.reserve(m_listing->rowCount());
    for (qsizetype row = 0; row < m_listing->rowCount(); ++row)
        rows.append(m_listing->row(row));
    return rows;
}

std::optional<qsizetype> PaneModel::displayedIndex(const QString &id) const
{
    return m_listing->rowOf(id);
}

void PaneModel::clearError()
{
    setError(std::nullopt, LoadKind::navigation);
}

void PaneModel::setError(const std::optional<QString> &message, LoadKind origin)
{
    m_errorOrigin = origin;
    if (message == m_errorMessage)
        return;
    m_errorMessage = message;
    emit errorMessageChanged();
}

void PaneModel::setSelection(const QSet<QString> &ids)
{
    if (ids == m_selection)
        return;
    m_selection = ids;
    emit selectionChanged();
}

QList<FileItem> PaneModel::selectedItems() const
{
    return selectedItems(std::numeric_limits<qsizetype>::max());
}

QList<FileItem> PaneModel::selectedItems(qsizetype most) const
{
    QList<FileItem> items;
    if (m_selection.isEmpty())
        return items;
    // What a menu asks about a few of a hundred thousand entries is not worth a look at all of them.
    if (constexpr qsizetype few = 100; m_selection.size() <= few) {
        std::vector<qsizetype> rows;
        for (const QString &id : m_selection) {
            if (const std::optional<qsizetype> row = m_listing->rowOf(id))
                rows.push_back(*row);
        }
        std::ranges::sort(rows);
        for (std::size_t i = 0; i < rows.size() && items.size() < most; ++i)
            items.append(m_listing->row(rows[i]));
        return items;
    }
    for (qsizetype row = 0; row < m_listing->rowCount() && items.size() < most; ++row) {
        if (m_selection.contains(m_listing->row(row).id()))
            items.append(m_listing->row(row));
    }
    return items;
}

void PaneModel::selectWhenLoaded(const QString &name)
{
    m_namesToSelect = {name};
}

ItemView PaneModel::itemView() const
{
    return {m_sortKey, m_sortAscending, m_showHidden, m_searchQuery};
}

void PaneModel::applyView()
{
    m_searchDebounce.stop();
    if (m_listing->setView(itemView()))
        emit displayedChanged();
}

void PaneModel::setSortKey(FileSortKey key)
{
    if (key == m_sortKey)
        return;
    m_sortKey = key;
    applyView();
    emit orderChanged();
}

void PaneModel::setSortAscending(bool ascending)
{
    if (ascending == m_sortAscending)
        return;
    m_sortAscending = ascending;
    applyView();
    emit orderChanged();
}

void PaneModel::setShowHidden(bool show)
{
    if (show == m_showHidden)
        return;
    m_showHidden = show;
    applyView();
    emit showHiddenChanged();
    readHiddenIfMissing();
}

void PaneModel::setSearchQuery(const QString &query)
{
    if (query == m_searchQuery)
        return;
    m_searchQuery = query;
    m_searchDebounce.start();
    emit searchQueryChanged();
}

void PaneModel::takeUpOperations()
{
    m_operations = std::make_unique<PaneOperations>();
    connect(m_operations.get(), &PaneOperations::currentChanged, this, &PaneModel::operationChanged);
}

bool PaneModel::acceptName(const QString &name)
{
    const auto problem = FileNames::problem(name);
    if (problem)
        setError(problem, LoadKind::afterOperation);
    return !problem;
}

void PaneModel::operate(const QString &description, PaneOperations::Work work, std::function<void()> succeeded)
{
    m_operations->run(
        description, m_currentPath, std::move(work),
        [this, folder = m_currentPath, succeeded = std::move(succeeded)](const FileActions::Outcome &outcome) {
            finishOperation(folder, outcome);
            if (succeeded && outcome.failures.isEmpty() && !outcome.isStopped)
                succeeded();
        });
}

void PaneModel::finishOperation(const QString &folder, const FileActions::Outcome &outcome)
{
    if (outcome.failures.isEmpty())
        clearError();
    else
        setError(outcome.failures.join(u'\n'), LoadKind::afterOperation);
    if (folder == m_currentPath && !outcome.created.isEmpty())
        m_namesToSelect = outcome.created;
    refresh(LoadKind::afterOperation);
}

void PaneModel::createFolder(const QString &named)
{
    if (!acceptName(named))
        return;
    operate(QStringLiteral("Making the folder “%1”").arg(named),
            [service = m_service, folder = m_currentPath, named](const std::stop_token &stop) {
                return FileActions::createFolder(*service, folder, named, stop);
            });
}

void PaneModel::createFile(const QString &named)
{
    if (!acceptName(named))
        return;
    operate(QStringLiteral("Making the file “%1”").arg(named),
            [service = m_service, folder = m_currentPath, named](const std::stop_token &stop) {
                return FileActions::createFile(*service, folder, named, stop);
            });
}

void PaneModel::rename(const FileItem &item, const QString &to)
{
    if (to == item.name || !acceptName(to))
        return;
    operate(describe(QStringLiteral("Renaming"), {item}), [service = m_service, item, to](const std::stop_token &stop) {
        return FileActions::rename(*service, item, to, stop);
    });
}

void PaneModel::move(const QList<FileItem> &items, const QString &toDirectory)
{
    if (items.isEmpty())
        return;
    operate(describe(QStringLiteral("Moving"), items),
            [service = m_service, items, toDirectory](const std::stop_token &stop) {
                return FileActions::move(*service, items, toDirectory, stop);
            });
}

void PaneModel::remove(const QList<FileItem> &items)
{
    if (items.isEmpty())
        return;
    operate(describe(QStringLiteral("Deleting"), items), [service = m_service, items](const std::stop_token &stop) {
        return FileActions::remove(*service, items, stop);
    });
}

void PaneModel::moveToTrash(const QList<FileItem> &items, std::function<void()> moved)
{
    const auto disk = std::dynamic_pointer_cast<LocalFileService>(m_service);
    if (items.isEmpty() || !disk)
        return;
    operate(
        QStringLiteral("%1 to the bin").arg(describe(QStringLiteral("Moving"), items)),
        [disk, items](const std::stop_token &stop) { return FileActions::moveToTrash(*disk, items, stop); },
        std::move(moved));
}

void PaneModel::duplicate(const QList<FileItem> &items)
{
    if (items.isEmpty())
        return;
    operate(describe(QStringLiteral("Duplicating"), items), [service = m_service, items](const std::stop_token &stop) {
        return FileActions::duplicate(*service, items, stop);
    });
}

void PaneModel::setPermissions(const QList<FileItem> &items, const QString &octal, Recursive recursive)
{
    if (items.isEmpty())
        return;
    operate(describe(QStringLiteral("Changing the permissions of"), items),
            [service = m_service, items, octal, recursive](const std::stop_token &stop) {
                return FileActions::setPermissions(*service, items, octal, recursive, stop);
            });
}

void PaneModel::cancelOperation()
{
    m_operations->cancel();
}

std::unique_ptr<PaneOperations> PaneModel::releaseOperations()
{
    if (!operation())
        return nullptr;
    m_operations->disconnect(this);
    std::unique_ptr<PaneOperations> released = std::move(m_operations);
    takeUpOperations();
    emit operationChanged();
    return released;
}

void PaneModel::request(PaneRequest request)
{
    m_requests.insert(request);
    emit requested(request);
}

bool PaneModel::isRequested(PaneRequest request) const
{
    return m_requests.contains(request);
}

bool PaneModel::takeRequest(PaneRequest request)
{
    return m_requests.remove(request);
}

} // namespace moorix

// Here rather than with all others in one file: a program that uses this class then links no class it does not use.
#include "moc_PaneModel.cpp"
