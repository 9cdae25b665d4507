// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncSession.h"

namespace moorix {

/// Some of the rows of a sync.
struct SyncFilter
{
    /// Names the filter, the same in every language: "conflict", "leftOut".
    QString id;
    QString label;
    qsizetype count = 0;
    /// It is about what the sync leaves out instead of its rows.
    bool isLeftOut = false;
    std::function<bool(const SyncRow &)> shows = [](const SyncRow &) { return true; };

    /// Those that show anything; the first one always stands there. Before a run they are about what was found, after
    /// it about what came of it.
    static QList<SyncFilter> of(const SyncSession &session);
};

} // namespace moorix
