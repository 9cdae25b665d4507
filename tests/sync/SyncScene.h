// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/FolderServer.h"
#include "support/TestMain.h"
#include "sync/SyncText.h"
#include "sync/SyncWork.h"

namespace moorix::test {

/// A pair of folders, and what is remembered of it. The server's folder is one of this machine, too.
struct SyncScene
{
    TestTree tree{{"here/", ""}, {"there/", ""}};
    std::shared_ptr<FileService> disk = std::make_shared<LocalFileService>();
    std::shared_ptr<FolderServer> server = std::make_shared<FolderServer>();
    std::shared_ptr<FileService> service = server;
    QString remoteRoot = tree.path("there");
    QStringList patterns;
    QDateTime now = systemNow();
    std::shared_ptr<TransferGate> gate;
    SyncPlan plan;
    /// Called between the preview and what follows.
    std::function<void(SyncPlan &)> decide = [](SyncPlan &) {};

    SyncScene()
    {
        server->isTakingMany = true;
        server->connect({});
    }

    SyncWork work()
    {
        SyncSetup setup{{disk, tree.path("here")},
                        {service, remoteRoot},
                        QStringLiteral("pair"),
                        QStringLiteral("web"),
                        SyncIgnore(patterns)};
        setup.clock = [this] { return now; };
        setup.reconnectDelays = {};
        setup.gate = gate;
        return SyncWork(SyncStateStore(tree.path("state")), std::move(setup));
    }
    SyncOutcome sync(const std::stop_token &stop = {})
    {
        SyncWork pair = work();
        plan = pair.review(stop);
        decide(plan);
        return pair.apply(plan, stop);
    }
    /// What there was to do, as "path: bucket"; all but what is alike.
    QStringList found()
    {
        plan = work().review({});
        QStringList rows;
        for (const SyncRow &row : plan.rows) {
            if (row.diff.bucket != SyncBucket::unchanged)
                rows << row.diff.relPath + QStringLiteral(": ") + rawText(row.diff.bucket);
        }
        return rows;
    }
    /// What became of each row that was not alike.
    static QStringList results(const SyncOutcome &outcome)
    {
        QStringList rows;
        for (const SyncRow &row : outcome.rows) {
            if (row.diff.bucket != SyncBucket::unchanged)
                rows << row.diff.relPath + QStringLiteral(": ") + SyncText::result(row);
        }
        if (!outcome.failure.isEmpty())
            rows << outcome.failure;
        return rows;
    }
    /// All that lies in a folder but what the sync keeps there itself.
    TreeSnapshot files(const QString &folder) const
    {
        TreeSnapshot files = snapshotOf(folder);
        for (const QString &path : files.keys()) {
            if (path.startsWith(SyncSide::ownFolder))
                files.remove(path);
        }
        return files;
    }
    TreeSnapshot here() const { return files(tree.path("here")); }
    TreeSnapshot there() const { return files(tree.path("there")); }
    /// The local versions that were replaced or deleted, by content.
    QList<QByteArray> versions() const
    {
        QList<QByteArray> contents;
        const TreeSnapshot all = snapshotOf(tree.path("here/.moorix-sync"));
        for (auto entry = all.cbegin(); entry != all.cend(); ++entry) {
            if (entry.key().startsWith(QStringLiteral("versions/")) && !entry.key().endsWith(u'/'))
                contents << *entry;
        }
        return contents;
    }
};

} // namespace moorix::test
