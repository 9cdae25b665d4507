// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupRun.h"
#include "base/FileDescriptor.h"

#include <functional>

namespace moorix {

class BackupHistoryStore;
class BackupStore;

/// What a run is begun and ended with, in whatever program: the lock that lets only one run at a time, and what both
/// documents note of it. Main thread.
class BackupLedger final
{
public:
    struct Options
    {
        /// Held while a run is in progress; beside the documents.
        QString lockPath;
        /// The name of a saved server, for the job's destination.
        std::function<std::optional<QString>(const QUuid &server)> serverName;
    };
    /// A run that has begun. Others may begin once it is gone.
    struct Begun
    {
        BackupJob job;
        BackupRun::Surroundings surroundings;
        FileDescriptor lock;
    };

    /// Both stores outlive it.
    BackupLedger(BackupStore &store, BackupHistoryStore &history, Options options);

    /// The job as it stands at this moment. Throws an Error when there is none of that id, and when a backup runs
    /// already.
    Begun begin(const QUuid &jobID);
    /// Notes what became of it.
    void end(const QUuid &jobID, const BackupOutcome &outcome);

private:
    BackupStore &m_store;
    BackupHistoryStore &m_history;
    Options m_options;
};

} // namespace moorix
