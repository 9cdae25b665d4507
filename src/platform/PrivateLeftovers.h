// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QString>

/// What programs of this user that were killed have left in the per-user temporary folder. Each private file and folder
/// is locked by the program that uses it; the system ends the lock with the program, however that ends.
namespace moorix::PrivateLeftovers {

enum class Claim { ours, somebodyElses, unknown };

/// Locks a file or folder until `lock` goes. `somebodyElses` too where it is no longer there, is another user's, or is
/// a link; `unknown` where the file system has no locks. Never waits for another program.
Claim claim(const QString &path, FileDescriptor &lock);

/// Removes the private files and folders, by their names, that no living program has locked. Returns how many went.
/// Blocking.
int remove();

} // namespace moorix::PrivateLeftovers
