// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QList>

namespace moorix {

/// The fields of the connection form that can hold something unusable.
enum class ConnectionField { host, port, username, privateKey, remotePath, keepAlive, charset };

struct ConnectionProblem
{
    ConnectionField field;
    /// For the user: what is wrong and what would be right.
    QString text;

    bool operator==(const ConnectionProblem &) const = default;
};

/// What keeps a record from being saved, in the order of the form. `hasPastedKey` tells whether a key was pasted or is
/// stored, which the record itself does not show.
QList<ConnectionProblem> connectionProblems(const ServerConnection &server, bool hasPastedKey);

} // namespace moorix
