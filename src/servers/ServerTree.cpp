// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerTree.h"

#include <algorithm>

namespace moorix::serverTree {

namespace {

template <class Record>
Record *find(QList<Record> &records, const QUuid &id)
{
    const auto found = std::find_if(records.begin(), records.end(), [&](const Record &each) { return each.id == id; });
    return found == records.end() ? nullptr : &*found;
}

const ServerFolder *find(const QList<ServerFolder> &folders, const QUuid &id)
{
    const auto found =
        std::find_if(folders.cbegin(), folders.cend(), [&](const ServerFolder &each) { return each.id == id; });
    return found == folders.cend() ? nullptr : &*found;
}

/// Whether the folder may have `parent`: a circle would cut both off from the tree.
bool canHaveParent(const ServerLibrary &library, const QUuid &id, const std::optional<QUuid> &parent)
{
    return hasFolder(library, parent) && parent != id && !(parent && isDescendant(library, *parent, id));
}

/// Gives the records `sortIndex` 0, 1, 2, … in the order of `ids`.
template <class Record>
void renumber(QList<Record> &records, const QList<QUuid> &ids)
{
    for (qsizetype index = 0; index < ids.size(); ++index)
        find(records, ids.at(index))->sortIndex = index;
}

template <class Record>
QList<QUuid> idsOf(const QList<Record> &siblings)
{
    QList<QUuid> ids;
    for (const Record &sibling : siblings)
        ids.append(sibling.id);
    return ids;
}

/// The siblings with `id` taken out and put back at a position.
QList<QUuid> placed(QList<QUuid> siblings, const QUuid &id, qsizetype at)
{
    siblings.removeAll(id);
    siblings.insert(std::clamp<qsizetype>(at, 0, siblings.size()), id);
    return siblings;
}

void flattenInto(QList<std::pair<ServerFolder, int>> &rows, const ServerLibrary &library,
                 const std::optional<QUuid> &parent, int depth)
{
    const QList<ServerFolder> level = folders(library, parent);
    for (const ServerFolder &folder : level) {
        rows.append({folder, depth});
        flattenInto(rows, library, folder.id, depth + 1);
    }
}

} // namespace

QList<ServerConnection> servers(const ServerLibrary &library, const std::optional<QUuid> &folderID)
{
    QList<ServerConnection> siblings;
    std::copy_if(library.servers.cbegin(), library.servers.cend(), std::back_inserter(siblings),
                 [&](const ServerConnection &server) { return server.folderID == folderID; });
    std::stable_sort(siblings.begin(), siblings.end(), isOrderedBefore);
    return siblings;
}

QList<ServerFolder> folders(const ServerLibrary &library, const std::optional<QUuid> &parentID)
{
    QList<ServerFolder> siblings;
    std::copy_if(library.folders.cbegin(), library.folders.cend(), std::back_inserter(siblings),
                 [&](const ServerFolder &folder) { return folder.parentID == parentID; });
    std::stable_sort(siblings.begin(), siblings.end(), [](const ServerFolder &a, const ServerFolder &b) {
        return a.sortIndex != b.sortIndex ? a.sortIndex < b.sortIndex : a.name.localeAwareCompare(b.name) < 0;
    });
    return siblings;
}

bool hasFolder(const ServerLibrary &library, const std::optional<QUuid> &id)
{
    return !id || find(library.folders, *id);
}

bool isDescendant(const ServerLibrary &library, const QUuid &folder, const QUuid &ancestor)
{
    QSet<QUuid> visited;
    for (const ServerFolder *step = find(library.folders, folder); step && step->parentID;
         step = find(library.folders, *step->parentID)) {
        if (*step->parentID == ancestor)
            return true;
        if (visited.contains(step->id))
            return false;
        visited.insert(step->id);
    }
    return false;
}

QSet<QUuid> subtree(const ServerLibrary &library, const QUuid &id)
{
    QSet<QUuid> found{id};
    for (const ServerFolder &folder : library.folders) {
        if (isDescendant(library, folder.id, id))
            found.insert(folder.id);
    }
    return found;
}

QList<std::pair<ServerFolder, int>> flattened(const ServerLibrary &library)
{
    QList<std::pair<ServerFolder, int>> rows;
    flattenInto(rows, library, std::nullopt, 0);
    return rows;
}

void putFolder(ServerLibrary &library, ServerFolder folder)
{
    ServerFolder *existing = find(library.folders, folder.id);
    if (!existing) {
        library.folders.append(std::move(folder));
        return;
    }
    if (!canHaveParent(library, folder.id, folder.parentID))
        folder.parentID = existing->parentID;
    *existing = std::move(folder);
}

bool removeFolder(ServerLibrary &library, const QUuid &id)
{
    const ServerFolder *removed = find(library.folders, id);
    if (!removed)
        return false;
    const std::optional<QUuid> parent = removed->parentID;
    for (ServerConnection &server : library.servers) {
        if (server.folderID == id)
            server.folderID = parent;
    }
    for (ServerFolder &folder : library.folders) {
        if (folder.parentID == id)
            folder.parentID = parent;
    }
    library.folders.removeIf([&](const ServerFolder &folder) { return folder.id == id; });
    return true;
}

bool moveFolder(ServerLibrary &library, const QUuid &id, const std::optional<QUuid> &toParent)
{
    ServerFolder *folder = find(library.folders, id);
    if (!folder || folder->parentID == toParent || !canHaveParent(library, id, toParent))
        return false;
    folder->parentID = toParent;
    return true;
}

bool swapFolder(ServerLibrary &library, const QUuid &id, Neighbour with)
{
    const ServerFolder *folder = find(library.folders, id);
    if (!folder)
        return false;
    QList<QUuid> siblings = idsOf(folders(library, folder->parentID));
    const qsizetype from = siblings.indexOf(id);
    const qsizetype to = with == Neighbour::previous ? from - 1 : from + 1;
    if (to < 0 || to >= siblings.size())
        return false;
    siblings.swapItemsAt(from, to);
    renumber(library.folders, siblings);
    return true;
}

bool placeFolder(ServerLibrary &library, const QUuid &id, const std::optional<QUuid> &inParent, qsizetype at)
{
    ServerFolder *folder = find(library.folders, id);
    if (!folder || !canHaveParent(library, id, inParent))
        return false;
    folder->parentID = inParent;
    renumber(library.folders, placed(idsOf(folders(library, inParent)), id, at));
    return true;
}

bool moveServer(ServerLibrary &library, const QUuid &id, const std::optional<QUuid> &toFolder)
{
    ServerConnection *server = find(library.servers, id);
    if (!server || server->folderID == toFolder || !hasFolder(library, toFolder))
        return false;
    server->folderID = toFolder;
    return true;
}

bool placeServer(ServerLibrary &library, const QUuid &id, const std::optional<QUuid> &inFolder, qsizetype at)
{
    ServerConnection *server = find(library.servers, id);
    if (!server || !hasFolder(library, inFolder))
        return false;
    server->folderID = inFolder;
    renumber(library.servers, placed(idsOf(servers(library, inFolder)), id, at));
    return true;
}

bool mend(ServerLibrary &library)
{
    bool isChanged = false;
    for (ServerFolder &folder : library.folders) {
        const bool isInCircle = isDescendant(library, folder.id, folder.id);
        if (isInCircle || !hasFolder(library, folder.parentID)) {
            folder.parentID.reset();
            isChanged = true;
        }
    }
    for (ServerConnection &server : library.servers) {
        if (!hasFolder(library, server.folderID)) {
            server.folderID.reset();
            isChanged = true;
        }
    }
    return isChanged;
}

} // namespace moorix::serverTree
