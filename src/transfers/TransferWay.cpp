// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferWay.h"

#include "files/RemoteFileService.h"

namespace moorix {

RemoteFileService &TransferWay::server() const
{
    return dynamic_cast<RemoteFileService &>(m_route.isServerSource() ? m_route.source() : m_route.destination());
}

} // namespace moorix
