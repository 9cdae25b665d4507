// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QList>
#include <QString>

#include <optional>

namespace moorix {

/// What is named on the command line of the window, by a user or by a desktop that hands over URLs.
struct LaunchTarget
{
    /// None: a folder of this computer.
    std::optional<ServerConnection> server;
    /// Absolute for this computer; none where a server opens by itself.
    std::optional<QString> path;
    /// The URL of a server that is not saved, to which nothing connects without the user; else empty.
    QString address;
    /// The sentence why nothing can be opened; else empty.
    QString problem;

    bool operator==(const LaunchTarget &) const = default;
};

/// Reads a path (relative ones begin in the program's folder), SERVER:PATH with the id, or the name or host that only
/// one of `servers` has, or a URL of file, sftp, ssh, ftp or ftps. A URL means a saved server when exactly one fits.
LaunchTarget launchTarget(const QString &text, const QList<ServerConnection> &servers);

} // namespace moorix
