// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileService.h"

namespace moorix {

/// A folder tree on a server as a flat list.
namespace RemoteTree {

/// Everything below `folder`, hidden entries too, each folder after its contents; never through links. The folder
/// itself is not part of it. Throws what listing throws.
QList<FileItem> deepestFirst(FileService &service, const QString &folder, const std::stop_token &stop);

} // namespace RemoteTree

} // namespace moorix
