// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferPlacement.h"

#include "base/Error.h"
#include "files/FileNames.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "transfers/TransferNames.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;
using Choice = ConflictAnswer::Choice;
using Standing = TransferPlace::Standing;

namespace {

bool isFolder(const FileItem &item)
{
    return item.isDirectory && !item.isSymlink;
}

} // namespace

TransferPlacement::TransferPlacement(const TransferRequest &request, const TransferRoute &route, Ask ask,
                                     IsBegun isBegun)
    : m_request(request)
    , m_route(route)
    , m_ask(std::move(ask))
    , m_isBegun(std::move(isBegun))
    , m_forAll(choiceOf(request.policy))
{
}

bool TransferPlacement::isArrival(const FileItem &source, const FileItem &existing) const
{
    return isFolder(source) ? isFolder(existing) : hasArrivedBefore(source, existing);
}

/// Either time is worth what the listing is that it comes from: often the minute, of older files the day alone.
bool TransferPlacement::hasArrivedBefore(const FileItem &source, const FileItem &existing) const
{
    constexpr std::chrono::seconds least(60);
    if (isFolder(source) || isFolder(existing) || source.isSymlink != existing.isSymlink ||
        source.size != existing.size || !source.modified || !existing.modified)
        return false;
    const std::chrono::milliseconds later(source.modified->msecsTo(*existing.modified));
    return later < std::max(least, m_route.sourceSlack(source)) &&
           -later < std::max(least, m_route.destinationSlack(existing));
}

TransferPlacement::Decision TransferPlacement::decide(const TransferNode &node, const TransferTarget &target)
{
    FileItem item = node.item;
    if (!m_request.newName.isEmpty() && target.path == m_request.targetFolder)
        item.name = m_request.newName;
    const TransferPlace direct = placeAt(node.item, item.name, target);
    const std::optional<FileItem> existing = standing(item.name, target);
    const bool picksNewName = m_request.policy == TransferConflictPolicy::rename && !m_request.isMove;
    if (!existing || !picksNewName)
        refuseOntoItself(node, direct);
    if (!existing)
        return {Kind::goes, direct};
    return decideConflict(node, item, *existing, target);
}

/// A disk may know the name in another spelling, and what was not listed may have come since; of this machine's that is
/// cheap to ask.
std::optional<FileItem> TransferPlacement::standing(const QString &name, const TransferTarget &target) const
{
    if (const auto listed = target.entries.constFind(name); listed != target.entries.cend())
        return *listed;
    const bool isAsked = m_route.isLocalDestination() && !target.isNew && !target.isStage;
    return isAsked ? m_route.destination().stat(Format::join(target.path, name), {}) : std::nullopt;
}

TransferPlacement::Decision TransferPlacement::decideConflict(const TransferNode &node, const FileItem &item,
                                                              const FileItem &existing, const TransferTarget &target)
{
    TransferPlace place = placeAt(node.item, item.name, target);
    const bool keepsBoth = m_forAll == Choice::rename;
    if (node.isFolder() && isFolder(existing) && (!keepsBoth || isOurs(node, existing))) {
        place.standing = Standing::merged;
        return {Kind::goes, place};
    }
    place.standing = Standing::replaced;
    if (target.isStage && !node.isFolder() && !isFolder(existing)) {
        place.hasPart = true;
        return {hasArrivedBefore(item, existing) && !m_request.isMove ? Kind::isThere : Kind::goes, place};
    }
    // An original may only go once its copy has been checked by this run, so for a move it is made once more.
    if (m_request.isContinuation && hasArrivedBefore(item, existing))
        return {m_request.isMove ? Kind::goes : Kind::isThere, place};
    const Choice choice = choose({item, existing, m_route.destinationSlack(existing)});
    if (choice == Choice::skip)
        return {Kind::isSkipped, place};
    if (choice == Choice::rename)
        return besides(node, item, target);
    if (node.isFolder() && existing.isSymlink)
        throw Error(u"Transfer"_s, u"a link of this name is there, which a folder neither replaces nor follows"_s);
    if (node.isFolder())
        throw Error(u"Transfer"_s, u"a file of this name is there, and a folder does not replace a file"_s);
    if (isFolder(existing))
        throw Error(u"Transfer"_s, u"a folder of this name is there, and a file does not replace a folder"_s);
    place.isContinued = choice == Choice::resume;
    return {Kind::goes, place};
}

/// Under another name, be it the one that an earlier run has found.
TransferPlacement::Decision TransferPlacement::besides(const TransferNode &node, const FileItem &item,
                                                       const TransferTarget &target)
{
    std::optional<FileItem> earlier;
    const QString name = transferNames::freeName(item, [&](const QString &candidate) {
        earlier = standing(candidate, target);
        return earlier && !isOurs(node, *earlier);
    });
    TransferPlace place = placeAt(node.item, name, target);
    refuseOntoItself(node, place);
    if (earlier)
        place.standing = node.isFolder() ? Standing::merged : Standing::replaced;
    const bool isThere = earlier && !node.isFolder() && !m_request.isMove;
    return {isThere ? Kind::isThere : Kind::goes, place};
}

/// Whether an earlier run of this transfer has put it there.
bool TransferPlacement::isOurs(const TransferNode &node, const FileItem &existing) const
{
    if (!m_request.isContinuation || !isArrival(node.item, existing))
        return false;
    return !node.isFolder() || m_isBegun(node.item, existing.path);
}

Choice TransferPlacement::choose(const TransferConflict &conflict)
{
    if (m_forAll) {
        if (const auto choice = settled(*m_forAll, conflict))
            return *choice;
    }
    while (true) {
        const ConflictAnswer answer = m_ask(conflict);
        if (answer.choice == Choice::cancel)
            throw Cancelled();
        const auto choice = settled(answer.choice, conflict);
        if (choice && answer.forAll)
            m_forAll = answer.choice;
        if (choice)
            return *choice;
    }
}

TransferPlace TransferPlacement::placeAt(const FileItem &item, const QString &name, const TransferTarget &target) const
{
    TransferPlace place;
    place.path = Format::join(target.path, name);
    const bool isTwin = !target.twins.isEmpty() && target.twins.contains(FileNames::folded(name));
    place.isInNewFolder = (target.isNew || target.isStage) && !isTwin;
    // Filled under its own name, it would be written over its twin.
    place.isStaged = target.isStage && !isTwin;
    const QString part = transferNames::partPath(place.path, m_request.id, item);
    place.hasPart = target.entries.contains(Format::fileName(part));
    return place;
}

void TransferPlacement::refuseOntoItself(const TransferNode &node, const TransferPlace &place) const
{
    if (m_route.isSame(node.item.path, place.path)) {
        throw Error(u"Transfer"_s,
                    m_request.isMove ? u"it is in this folder already"_s : u"it cannot be copied onto itself"_s);
    }
    if (node.isFolder() && m_route.isInside(Format::parent(place.path), node.item.path))
        throw Error(u"Transfer"_s, u"a folder cannot go into itself"_s);
}

} // namespace moorix
