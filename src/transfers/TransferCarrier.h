// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferWay.h"

namespace moorix {

/// Brings single items to their place, whole or not at all: over a part file, a check and a rename; across broken
/// links and pauses. Used by all lanes of one transfer at once.
class TransferCarrier final : public TransferWay
{
public:
    using TransferWay::TransferWay;

    /// Copies a file or a link, once there is room for another one. Throws when it did not arrive.
    void carry(const FileItem &file, const TransferPlace &place);
    /// Copies a folder within one server to where nothing stands.
    void copyTreeOnServer(const FileItem &folder, const TransferPlace &place);
    /// Renames what moves within one place. False where that is not possible; nothing was done then.
    bool moveInOneStep(const FileItem &item, const TransferPlace &place);

private:
    void carryPart(const TransferCopy &copy, const TransferPlace &place, TransferTally::File &progress);
    TransferRoute::Way copyAcrossBreaks(TransferCopy copy, const TransferPlace &place, TransferTally::File &progress);
    TransferRoute::Way copyAtThisSpeed(const TransferCopy &copy, const std::stop_token &stop);
    void verify(const FileItem &file, const FileItem &part);
    bool checkContinued(const FileItem &file, const FileItem &part);
};

} // namespace moorix
