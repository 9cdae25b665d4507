// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QString>

namespace moorix {

enum class WhenLocked { wait, giveUp };

/// Opens a folder and locks it against other programs and other calls. The lock ends with the last descriptor, however
/// its program ends. Not open when the folder cannot be opened, or is locked already and that is not waited for.
/// Blocking; any thread.
FileDescriptor lockedFolder(const QString &path, WhenLocked whenLocked);

} // namespace moorix
