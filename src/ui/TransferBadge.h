// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QString>

namespace moorix {

class Session;
class TransferEngine;

/// What a tab says about the transfers that come from it or go to it. Main thread.
struct TransferBadge
{
    int open = 0;
    int failed = 0;

    /// Transfers of the server that a tab shows, or of the local folder.
    static TransferBadge of(const Session &session, const TransferEngine &transfers);

    bool isEmpty() const { return open == 0 && failed == 0; }
    /// "2 transfers under way, 1 failed".
    QString text() const;
    /// `icon` with a dot in its corner: in the colour of a failure if there is one.
    QIcon on(const QIcon &icon) const;

    bool operator==(const TransferBadge &) const = default;
};

} // namespace moorix
