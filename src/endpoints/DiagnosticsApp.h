// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QList>

#include <functional>

namespace moorix {

/// A tab of the window, as diagnostics tell it.
struct DiagnosticsSession
{
    enum class Kind { local, terminal, server };

    Kind kind = Kind::local;
    /// Of a server.
    QString name = {};
    QString address = {};
};

/// What diagnostics read of the program, on the main thread, at the moment they are sent.
struct DiagnosticsApp
{
    std::function<QList<ServerConnection>()> savedServers = [] { return QList<ServerConnection>(); };
    std::function<QList<DiagnosticsSession>()> sessions = [] { return QList<DiagnosticsSession>(); };
    std::function<qsizetype()> activeConnections = [] { return 0; };
};

} // namespace moorix
