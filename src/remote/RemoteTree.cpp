// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/RemoteTree.h"

#include "files/RemoteFileService.h"

#include <QSet>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace moorix::RemoteTree {

namespace {

/// Lists the folders of one level on several threads. What one of them meets ends the others.
class Level final
{
public:
    using Found = std::function<void(std::span<const ListedFolder> folders)>;

    Level(const QStringList &paths, const FolderReader &reader)
        : m_reader(reader)
    {
        for (const QString &path : paths)
            m_folders.push_back({path});
        const qsizetype mostRuns = (paths.size() + reader.fewestInARun - 1) / reader.fewestInARun;
        m_runs = std::clamp<qsizetype>(reader.runsFor(paths.size()), 1, std::max<qsizetype>(mostRuns, 1));
        m_inARun = std::clamp<qsizetype>((paths.size() + m_runs - 1) / m_runs, 1, reader.mostInARun);
    }

    /// `found` is called on one thread at a time.
    const std::vector<ListedFolder> &read(const Found &found, const std::stop_token &stop)
    {
        const std::stop_callback passOn(stop, [this] { m_ending.request_stop(); });
        {
            std::vector<std::jthread> others;
            for (qsizetype i = 1; i < m_runs; ++i)
                others.emplace_back([&] { work(found); });
            work(found);
        }
        if (m_failure)
            std::rethrow_exception(m_failure);
        return m_folders;
    }

private:
    void work(const Found &found) noexcept
    {
        try {
            while (true) {
                const auto size = qsizetype(m_folders.size());
                const qsizetype start = m_next.fetch_add(m_inARun);
                if (start >= size)
                    return;
                if (m_ending.stop_requested())
                    throw Cancelled();
                const std::span<ListedFolder> run =
                    std::span(m_folders).subspan(size_t(start), size_t(std::min(m_inARun, size - start)));
                m_reader.list(run, int(m_runs), m_ending.get_token());
                const std::lock_guard lock(m_mutex);
                found(run);
            }
        } catch (...) {
            const std::lock_guard lock(m_mutex);
            // The others are cancelled because of the first.
            if (!m_failure)
                m_failure = std::current_exception();
            m_ending.request_stop();
        }
    }

    const FolderReader &m_reader;
    std::vector<ListedFolder> m_folders;
    qsizetype m_runs = 1;
    qsizetype m_inARun = 1;
    std::atomic<qsizetype> m_next = 0;
    std::stop_source m_ending;
    std::mutex m_mutex;
    std::exception_ptr m_failure;
};

/// Takes over what was found, and returns the folders to read next.
QStringList addTo(ListedTree &tree, const std::vector<ListedFolder> &folders)
{
    QStringList next;
    QSet<QString> isNext;
    for (const ListedFolder &folder : folders) {
        if (folder.failure) {
            tree.unread.insert(folder.path, folder.failure->message());
            continue;
        }
        const QList<FileItem> items = folder.items.value_or(QList<FileItem>());
        tree.folders.insert(folder.path, items);
        for (const QString &path : ListedTree::subfolders(items)) {
            if (tree.knows(path) || isNext.contains(path))
                continue;
            isNext.insert(path);
            next << path;
        }
    }
    return next;
}

} // namespace

QList<FileItem> deepestFirst(RemoteFileService &service, const QString &folder, const std::stop_token &stop)
{
    const ListedTree tree = service.listTree(folder, {}, stop);
    if (!tree.unread.isEmpty())
        throw FileServiceError::operationFailed(*tree.unread.cbegin());
    QList<FileItem> found;
    QStringList open{folder};
    while (!open.isEmpty()) {
        const QList<FileItem> items = tree.entries(open.takeLast());
        found += items;
        open += ListedTree::subfolders(items);
    }
    // Folders were found before what they hold.
    std::reverse(found.begin(), found.end());
    return found;
}

void readLevels(const QStringList &folders, const FolderReader &reader, ListedTree &tree,
                const TreeProgress &onProgress, const std::stop_token &stop)
{
    qint64 entries = 0;
    for (const QList<FileItem> &items : std::as_const(tree.folders))
        entries += items.size();
    const auto found = [&](std::span<const ListedFolder> run) {
        for (const ListedFolder &folder : run)
            entries += folder.items ? folder.items->size() : 0;
        if (onProgress)
            onProgress(entries);
    };
    QStringList level = folders;
    while (!level.isEmpty())
        level = addTo(tree, Level(level, reader).read(found, stop));
}

} // namespace moorix::RemoteTree
