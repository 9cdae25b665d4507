// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferPlan.h"
#include "transfers/TransferWay.h"

#include <QHash>

namespace moorix {

class TarPacker;

/// Takes a folder of many small files between the local disk and a server as one archive in one stream, which costs
/// one round trip instead of several for each file. The folder comes into being under the name of its stage, is
/// checked, and only then takes its own. One thread.
class TransferStream final : public TransferWay
{
public:
    using TransferWay::TransferWay;

    /// Whether a folder that goes to where nothing stands gains by it.
    bool suits(const TransferNode &folder) const;

    enum class Result {
        carried,
        /// Nothing came of it: the server has no shell or no tar, or the archive was damaged.
        refused,
        /// The link was lost, or the transfer paused. What has arrived may be found under the folder's stage path.
        brokenOff
    };

    /// Carries what was planned of the folder, for which there is no stage yet, and marks what has arrived; the rest,
    /// if any, is left to be carried file by file into the folder, which is there then. Throws when the transfer is
    /// stopped.
    Result carry(TransferNode &folder, const TransferPlace &place);

private:
    /// The files and links that came through, or nothing where the server refuses.
    using Streamed = std::optional<std::vector<TransferNode *>>;

    Streamed stream(TransferNode &folder, const FileItem &part, TransferTally::File &progress);
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
