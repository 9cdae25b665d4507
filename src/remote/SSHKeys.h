// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/AppPaths.h"

#include <QStringList>

/// The user's own key files.
namespace moorix::SSHKeys {

/// Paths of private keys in `folder`: the well-known names first, then every other file beside which its ".pub" half
/// lies, by name. Empty when the folder cannot be read. Blocking.
QStringList detected(const QString &folder = AppPaths::home() + QStringLiteral("/.ssh"));

} // namespace moorix::SSHKeys
