// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferWay.h"

#include "base/Error.h"
#include "files/LocalDisk.h"
#include "files/RemoteFileService.h"

#include <sys/stat.h>

namespace moorix {

using namespace Qt::StringLiterals;

RemoteFileService &TransferWay::server() const
{
    return dynamic_cast<RemoteFileService &>(m_route.isServerSource() ? m_route.source() : m_route.destination());
}

bool TransferWay::isAsKnown(const FileItem &file) const
{
    if (m_route.isServerSource() || file.isSymlink)
        return true;
    const auto status = LocalDisk::statusOf(file.path);
    if (!status)
        return false;
    const FileItem now = LocalDisk::item(file.name, file.path, *status);
    return now.size == file.size && now.modified == file.modified;
}

void TransferWay::requireUnchanged(const FileItem &file) const
{
    if (m_request.requiresUnchanged && !isAsKnown(file))
        throw Error(u"Transfer"_s, u"it changed while it was being copied"_s);
}

void TransferWay::requireOtherPlace(const FileItem &file, const QString &part) const
{
    const auto isOriginal = [&](const std::stop_token &stop, bool) {
        return m_route.isBesideOriginal(part, file.path, stop);
    };
    if (m_request.isMove && m_link.repeat(isOriginal))
        throw Error(u"Transfer"_s, u"it is in this folder already, which is reached in two ways"_s);
}

} // namespace moorix
