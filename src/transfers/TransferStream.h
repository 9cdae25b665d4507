// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferPlan.h"
#include "transfers/TransferWay.h"

#include <QHash>

namespace moorix {

class TarPacker;

/// Takes a folder of many small files between the local disk and a server as one archive in one stream, which costs
/// one round trip instead of several for each file. The folder comes into being under a part name, is checked, and only
/// then takes its name. One thread.
class TransferStream final : public TransferWay
{
public:
    using TransferWay::TransferWay;

    /// Whether a folder that goes to where nothing stands gains by it.
    bool suits(const TransferNode &folder) const;

    /// Carries what was planned of the folder and marks what has arrived; the rest, if any, is left to be carried file
    /// by file into the folder, which is there then. False when nothing came of it: the server has no shell or no tar,
    /// or the archive was broken. Throws when the transfer is stopped or the link is lost for good.
    bool carry(TransferNode &folder, const TransferPlace &place);

private:
    /// The files and links that came through, or nothing where the server refuses.
    using Streamed = std::optional<std::vector<TransferNode *>>;

    Streamed streamAcrossBreaks(TransferNode &folder, const FileItem &part, bool hasPart,
                                TransferTally::File &progress);
    Streamed upload(TransferNode &folder, const FileItem &part, const std::stop_token &stop,
                    TransferTally::File &progress);
    Streamed download(TransferNode &folder, const FileItem &part, const std::stop_token &stop,
                      TransferTally::File &progress);
    void check(const TarPacker &packer, const FileItem &part, const QHash<QString, QByteArray> &sums,
               const std::stop_token &stop);

    /// Set once a server has turned out not to take or give archives.
    bool m_isRefused = false;
};

} // namespace moorix
