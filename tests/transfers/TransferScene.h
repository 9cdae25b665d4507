// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/FolderServer.h"
#include "support/TestTree.h"
#include "transfers/TransferEngine.h"
#include "transfers/TransferRun.h"

#include <QSemaphore>

namespace moorix::test {

enum class Route { local, upload, download, betweenServers, withinServer };

/// A source and a target folder on disk, and the two services that see them.
struct Scene
{
    TestTree tree;
    const Route way;
    std::shared_ptr<FileService> disk = std::make_shared<LocalFileService>();
    std::shared_ptr<FolderServer> server = std::make_shared<FolderServer>();
    std::shared_ptr<FolderServer> otherServer = std::make_shared<FolderServer>();
    TransferRequest request;
    TransferRun::Callbacks callbacks;
    std::stop_source stop;

    explicit Scene(std::initializer_list<TestTree::Entry> entries, Route route = Route::local)
        : tree(entries)
        , way(route)
    {
        request.source = route == Route::local || route == Route::upload ? disk : server;
        request.destination = route == Route::local || route == Route::download ? disk
                              : route == Route::betweenServers                  ? otherServer
                                                                                : server;
        request.targetFolder = tree.path("to");
        server->isTakingMany = otherServer->isTakingMany = true;
        callbacks.reconnectDelays = {};
        callbacks.ask = [](const TransferConflict &, const std::stop_token &) -> ConflictAnswer {
            throw Error(QStringLiteral("Test"), QStringLiteral("asked although nobody expected it"));
        };
    }

    /// Tells which of the scenes of a failed test it was.
    ~Scene()
    {
        if (QTest::currentTestFailed())
            qInfo("route %d, in bundles %d, move %d", int(way), int(server->isTakingMany), int(request.isMove));
    }
    Q_DISABLE_COPY_MOVE(Scene)

    void add(const RelPath &path) { request.items << *LocalFileService().stat(tree.path(path), {}); }
    /// Transfers these, and what was added before.
    template <class... Paths>
    TransferOutcome run(const Paths &...paths)
    {
        (add(paths), ...);
        return TransferRun(request, callbacks).run(stop.get_token());
    }
    /// What lies under a folder, by paths relative to it.
    TreeSnapshot under(const QString &folder) const
    {
        TreeSnapshot result;
        const TreeSnapshot all = tree.snapshot();
        for (auto entry = all.cbegin(); entry != all.cend(); ++entry) {
            if (entry.key().startsWith(folder) && entry.key() != folder)
                result.insert(entry.key().mid(folder.size()), entry.value());
        }
        return result;
    }
};

/// An engine that sends files to a folder of a server; each waits halfway until it is let go.
struct EngineScene
{
    TestTree tree;
    std::shared_ptr<QSemaphore> letGo = std::make_shared<QSemaphore>();
    std::shared_ptr<QSemaphore> halfway = std::make_shared<QSemaphore>();
    std::shared_ptr<FileService> disk = std::make_shared<LocalFileService>();
    std::shared_ptr<FolderServer> server = std::make_shared<FolderServer>();
    std::unique_ptr<TransferEngine> engine = std::make_unique<TransferEngine>(TransferEngine::Options{1, {}});
    bool isMove = false;

    explicit EngineScene(std::initializer_list<TestTree::Entry> entries = {{"from/a", "new a"},
                                                                           {"from/b", "new b"},
                                                                           {"from/c", "new c"},
                                                                           {"to/a", "old a"},
                                                                           {"other/", ""}})
        : tree(entries)
    {
        server->halfway = [letGo = letGo, halfway = halfway](const QString &) {
            halfway->release();
            letGo->tryAcquire(1, 5000);
        };
    }

    QUuid send(const char *file, const char *folder = "to") const
    {
        TransferRequest request;
        request.source = disk;
        request.destination = server;
        request.items = {*disk->stat(tree.path(file), {})};
        request.targetFolder = tree.path(folder);
        request.isMove = isMove;
        return engine->enqueue(request);
    }
    TransferStatus status(qsizetype index = 0) const { return engine->transfers().at(index); }
    TransferStatus::State state(qsizetype index) const { return status(index).state; }
};

/// Fails the first `count` copies halfway with a lost connection.
inline std::function<void(const QString &)> breakLink(int count)
{
    return [left = std::make_shared<std::atomic<int>>(count)](const QString &) {
        if ((*left)-- > 0)
            throw FileServiceError::connectionFailed(QStringLiteral("Connection reset by peer"));
    };
}

} // namespace moorix::test
