// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/FolderServer.h"
#include "support/TestTree.h"
#include "transfers/TransferRun.h"

namespace moorix::test {

enum class Route { local, upload, download, betweenServers, withinServer };

/// A source and a target folder on disk, and the two services that see them.
struct Scene
{
    TestTree tree;
    std::shared_ptr<FileService> disk = std::make_shared<LocalFileService>();
    std::shared_ptr<FolderServer> server = std::make_shared<FolderServer>();
    std::shared_ptr<FolderServer> otherServer = std::make_shared<FolderServer>();
    TransferRequest request;
    TransferRun::Callbacks callbacks;
    std::stop_source stop;

    explicit Scene(std::initializer_list<TestTree::Entry> entries, Route route = Route::local)
        : tree(entries)
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

    void add(const RelPath &path) { request.items << *LocalFileService().stat(tree.path(path), {}); }
    TransferOutcome run() { return TransferRun(request, callbacks).run(stop.get_token()); }
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

/// Fails the first `count` copies halfway with a lost connection.
inline std::function<void(const QString &)> breakLink(int count)
{
    return [left = std::make_shared<std::atomic<int>>(count)](const QString &) {
        if ((*left)-- > 0)
            throw FileServiceError::connectionFailed(QStringLiteral("Connection reset by peer"));
    };
}

} // namespace moorix::test
