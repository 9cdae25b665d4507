// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

struct FileItem;

/// When an entry was modified, as exactly as its source tells: the local disk knows seconds, servers list minutes, and
/// of older entries the day only. An em dash when unknown.
namespace ModifiedText {

/// For a column: never with seconds.
QString brief(const FileItem &item, bool isLocal);
/// For a tool tip or a dialog: written out.
QString full(const FileItem &item, bool isLocal);

} // namespace ModifiedText

} // namespace moorix
