// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

struct FileItem;

/// How lists, tool tips and dialogs write what is known of an entry.
namespace FileFacts {

/// When it was modified, as exactly as its source tells: the local disk knows seconds, servers list minutes, and of
/// older entries the day only. Never with seconds, for columns; an em dash when unknown.
QString modified(const FileItem &item, bool isLocal);
/// The same written out.
QString modifiedInFull(const FileItem &item, bool isLocal);
/// "4.6 MB (4,600,000 bytes)", "214 bytes".
QString exactSize(qint64 bytes);

} // namespace FileFacts

} // namespace moorix
