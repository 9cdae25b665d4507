// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Where things live for this user. All of it follows the XDG variables, so that two copies of the program can run
/// apart.
namespace moorix::AppPaths {

/// The home folder ($HOME).
QString home();
/// Documents of the program: $XDG_DATA_HOME/Moorix.
QString applicationSupport();
/// Preferences of the program: $XDG_CONFIG_HOME/Moorix.
QString configuration();
/// The per-user temporary folder: $TMPDIR, else /tmp.
QString temporaryFolder();
QString downloads();

/// `path` with a leading "~" or "~/" replaced by the home folder.
QString expandTilde(const QString &path);

} // namespace moorix::AppPaths
