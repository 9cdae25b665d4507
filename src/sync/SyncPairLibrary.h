// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncPair.h"

#include <QDateTime>
#include <QList>

#include <optional>

namespace moorix {

/// The folder pairs that the user has saved, in the order lists show them.
struct SyncPairLibrary
{
    QList<SyncPair> pairs;
    /// Set on every save; absent in a library that was never saved.
    std::optional<QDateTime> lastModified;

    static SyncPairLibrary empty() { return {}; }
    /// Throws an Error that says what is wrong: one unreadable pair makes the whole document unreadable.
    static SyncPairLibrary decode(const QByteArray &bytes);
    QByteArray encode() const;

    bool operator==(const SyncPairLibrary &) const = default;
};

} // namespace moorix
