// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>

namespace moorix {

struct FileItem;

/// The icons of file lists, one per kind and suffix. Main thread.
namespace FileIcons {

QIcon iconFor(const FileItem &item);
/// Drops what was made for another theme.
void forget();

} // namespace FileIcons

} // namespace moorix
