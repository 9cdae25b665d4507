// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferGate.h"
#include "transfers/TransferParts.h"
#include "transfers/TransferRequest.h"

namespace moorix {

/// What the ways in which one transfer carries its files have in common. All of it outlives them.
class TransferWay
{
public:
    TransferWay(const TransferRequest &request, const TransferRoute &route, TransferLink &link, TransferGate &gate,
                TransferTally &tally)
        : m_request(request)
        , m_route(route)
        , m_link(link)
        , m_gate(gate)
        , m_tally(tally)
        , m_parts(route, link, tally)
    {
    }
    Q_DISABLE_COPY_MOVE(TransferWay)

protected:
    ~TransferWay() = default;

    /// The server at one of the ends; of two servers, the source.
    RemoteFileService &server() const;
    /// What its files keep to; null where none of their bytes come through this machine, or somebody waits for them.
    TransferSpeed *speed() const { return m_request.isUrgent ? nullptr : m_route.speed(); }
    /// Whether a local file is still what its item says; true of others, whose times are not known as exactly.
    bool isAsKnown(const FileItem &file) const;
    /// Throws when the request wants an unchanged source and this one, if it is a local file, has changed.
    void requireUnchanged(const FileItem &file) const;
    /// Throws when the request is a move and `part`, which is to replace a file, lies beside its original: what is
    /// replaced is the original itself then, and would be removed.
    void requireOtherPlace(const FileItem &file, const QString &part) const;

    const TransferRequest &m_request;
    const TransferRoute &m_route;
    TransferLink &m_link;
    TransferGate &m_gate;
    TransferTally &m_tally;
    TransferParts m_parts;
};

} // namespace moorix
