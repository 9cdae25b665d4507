// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncManifest.h"

namespace moorix {

/// What a sync is about to copy, written down before it begins. If it is interrupted, the next one tells from it which
/// files it had made alike, so that an edit made in between is an edit and no conflict.
struct SyncJournal
{
    /// The originals, as they were read.
    SyncEntries toLocal;
    SyncEntries toRemote;

    bool isEmpty() const { return toLocal.isEmpty() && toRemote.isEmpty(); }
    /// Adds to the baseline what has arrived by what stands at the targets now. Where there is no baseline yet, it
    /// counts only for paths that both sides have, so that a first sync deletes nothing.
    void mergeInto(std::optional<SyncManifest> &manifest, const SyncEntries &local, const SyncEntries &remote) const;

    /// Throws an Error that says what is wrong with the document.
    static SyncJournal decode(const QByteArray &bytes);
    QByteArray encode() const;

    bool operator==(const SyncJournal &) const = default;
};

} // namespace moorix
