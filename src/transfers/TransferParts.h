// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferLink.h"
#include "transfers/TransferRoute.h"

#include <optional>

namespace moorix {

/// Where an item goes, and what stands there.
struct TransferPlace
{
    enum class Standing { nothing, replaced, merged };
    QString path;
    Standing standing = Standing::nothing;
    /// What stands there is the beginning of the file and is continued.
    bool isContinued = false;
    /// The folder was made by this transfer, so that nothing comes in the way there.
    bool isInNewFolder = false;
    /// An earlier try has left a part of the file behind.
    bool hasPart = false;
    /// In a folder that bears a part name itself, so that the file needs none.
    bool isStaged = false;

    /// What stands there was not put there by this transfer.
    bool replacesForeign() const { return standing == Standing::replaced && !isStaged; }
};

/// What becomes of the parts that files and folders are written to. Used by all lanes of one transfer at once.
class TransferParts final
{
public:
    TransferParts(const TransferRoute &route, TransferLink &link, TransferTally &tally);

    /// Gives a part that was checked its name. Throws when that is not possible.
    void giveName(const FileItem &part, const TransferPlace &place);
    /// Removes a part so that its copy can begin anew. Throws when it stays.
    void clear(const FileItem &part, const std::stop_token &stop);
    /// Even after a stop. A part that stays is told of as a failure.
    void remove(const FileItem &part);

private:
    const TransferRoute &m_route;
    TransferLink &m_link;
    TransferTally &m_tally;
};

} // namespace moorix
