// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerLibrary.h"

#include <QSet>

#include <utility>

/// The rules of the folder tree, as functions over a library: who lies where, in which order, and what a move does.
/// Functions that change the library return whether they changed it; what is refused or would change nothing does not.
namespace moorix::serverTree {

/// The servers of one folder (absent = top level) in sibling order.
QList<ServerConnection> servers(const ServerLibrary &library, const std::optional<QUuid> &folderID);
/// The folders of one parent (absent = top level) by sortIndex, then by name.
QList<ServerFolder> folders(const ServerLibrary &library, const std::optional<QUuid> &parentID);
bool hasFolder(const ServerLibrary &library, const std::optional<QUuid> &id);
/// Whether `folder` lies under `ancestor`; a folder does not lie under itself.
bool isDescendant(const ServerLibrary &library, const QUuid &folder, const QUuid &ancestor);
/// The folder and all folders under it.
QSet<QUuid> subtree(const ServerLibrary &library, const QUuid &id);
/// Depth first, each level in sibling order, with the depth of each; top level is 0.
QList<std::pair<ServerFolder, int>> flattened(const ServerLibrary &library);

/// Adds or replaces the folder of this id; one that would lie inside itself keeps its parent.
void putFolder(ServerLibrary &library, ServerFolder folder);
/// Removes the folder; what it holds moves to its parent.
bool removeFolder(ServerLibrary &library, const QUuid &id);
bool moveFolder(ServerLibrary &library, const QUuid &id, const std::optional<QUuid> &toParent);
enum class Neighbour { previous, next };
/// Swaps the folder with a sibling and renumbers the siblings.
bool swapFolder(ServerLibrary &library, const QUuid &id, Neighbour with);
/// Puts the folder at a position among the other folders of the parent and renumbers them all. A position beyond the
/// end means the end.
bool placeFolder(ServerLibrary &library, const QUuid &id, const std::optional<QUuid> &inParent, qsizetype at);
bool moveServer(ServerLibrary &library, const QUuid &id, const std::optional<QUuid> &toFolder);
/// As placeFolder, among the servers of a folder.
bool placeServer(ServerLibrary &library, const QUuid &id, const std::optional<QUuid> &inFolder, qsizetype at);

/// Makes the tree a forest again, so that no record is out of reach: what names a folder that does not exist, and one
/// folder of each circle, moves to the top level.
bool mend(ServerLibrary &library);

} // namespace moorix::serverTree
