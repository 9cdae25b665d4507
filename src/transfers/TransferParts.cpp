// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferParts.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "files/FileServiceError.h"
#include "transfers/TransferNames.h"

namespace moorix {

using namespace Qt::StringLiterals;
using localTransfer::Existing;

TransferParts::TransferParts(const TransferRoute &route, TransferLink &link, TransferTally &tally)
    : m_route(route)
    , m_link(link)
    , m_tally(tally)
{
}

void TransferParts::giveName(const FileItem &part, const TransferPlace &place)
{
    // Asking a server whether something stands there costs as much as the file itself.
    const bool isSafe = place.isInNewFolder && m_route.isServerDestination();
    const bool replaces = place.standing == TransferPlace::Standing::replaced;
    const Existing existing = replaces || isSafe ? Existing::replace : Existing::refuse;
    const bool isDone = m_link.repeat([&](const std::stop_token &stop, bool isFirst) {
        if (!isFirst && !m_route.sizeOfPart(part, stop))
            return m_route.sizeOfPart(transferNames::itemAt(place.path), stop).has_value();
        return m_route.rename(part, place.path, existing, stop);
    });
    if (!isDone)
        throw Error(u"Transfer"_s, u"its folder lies on another file system"_s);
}

void TransferParts::clear(const FileItem &part, const std::stop_token &stop)
{
    FileService &service = m_route.destination();
    try {
        if (!m_route.isLocalDestination() || service.stat(part.path, stop))
            service.remove(part, stop);
    } catch (const FileServiceError &error) {
        if (error.kind() != FileServiceError::Case::notFound)
            throw;
    }
}

/// Cleans up even after a stop, hence the token of its own.
void TransferParts::remove(const FileItem &part)
{
    try {
        clear(part, {});
    } catch (const Error &error) {
        m_tally.fail(u"The unfinished copy “%1” could not be removed: %2"_s.arg(part.path, error.message()));
    }
}

} // namespace moorix
