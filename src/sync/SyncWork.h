// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncRun.h"
#include "sync/SyncStateStore.h"

namespace moorix {

/// One sync of a pair with its memory: looks, then does, and never two at once for one pair. Blocking; worker threads.
class SyncWork final
{
public:
    /// The setup's expectations of markers are filled in from what is remembered.
    SyncWork(SyncStateStore store, SyncSetup setup);

    /// Throws when the pair is being synced elsewhere, and what SyncRun::review throws.
    SyncPlan review(const std::stop_token &stop);
    /// Carries the plan out and remembers what came of it. Throws when another program has synced
    /// the pair since the review, or when what is to be done cannot be written down. A history that cannot be written
    /// is told by a note.
    SyncOutcome apply(SyncPlan plan, const std::stop_token &stop);

    /// Damaged documents that were met, for the user; empty when all is well.
    const QString &problem() const { return m_problem; }

private:
    void take(const SyncStateStore::Loaded &loaded);

    SyncStateStore m_store;
    SyncSetup m_setup;
    QString m_problem;
};

} // namespace moorix
