// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncSide.h"
#include "transfers/TransferRun.h"

#include <mutex>

namespace moorix {

/// Copies chosen entries of one side to the same paths on the other, in one transfer. Used once; worker threads.
class SyncCopies final
{
public:
    struct Outcome
    {
        TransferOutcome transfer;
        /// Why entries did not arrive, by relative path; what lies in a folder that did not fails with it.
        QHash<QString, QString> failures;
        /// Entries that were not copied because something else than expected stands there.
        QHash<QString, QString> refused;
        /// Why the transfer as a whole came to nothing, if it did.
        QString failure;

        /// Why this entry has not arrived.
        QString reasonFor(const QString &relPath) const;
    };
    /// Whether what stands at the path may be replaced; says why not otherwise. On the calling thread.
    using Guard = std::function<std::optional<QString>(const QString &relPath, const FileItem &existing)>;

    /// `id` names the part files, so that another try goes on with them.
    SyncCopies(const SyncSide &from, const SyncSide &to, QUuid id);

    /// Copies this entry; `snapshot` is the source's, and knows the folders it lies in.
    void add(const QString &relPath, const FileItem &item, const SyncSnapshot &snapshot);
    bool isEmpty() const { return m_count == 0; }
    Outcome run(TransferRun::Callbacks callbacks, const Guard &guard, const std::stop_token &stop);

private:
    void place(const QString &relPath, const FileItem &item);

    const SyncSide &m_from;
    const SyncSide &m_to;
    QUuid m_id;
    qsizetype m_count = 0;
    /// What is to be copied of each folder, the folders on the way there included.
    QHash<QString, QList<FileItem>> m_entries;
    QSet<QString> m_placed;
    std::mutex m_mutex;
};

} // namespace moorix
