// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/RemoteFileService.h"

/// Many small files between the local disk and a server as one archive, each to a place of its own: one round trip
/// instead of several for each file. Worker threads.
namespace moorix::bundleArchive {

/// Carry those copies that are still open and mark the ones whose contents came through, or are known not to have.
/// What stays open has left nothing behind. False, with nothing done, where the server has no shell or no tar. Throw
/// when the archive breaks off; all that was open may be there in part then.
bool upload(RemoteFileService &server, std::vector<RemoteCopy> &copies, const RemoteFileService::Advanced &advanced,
            const std::stop_token &stop);
bool download(RemoteFileService &server, std::vector<RemoteCopy> &copies, const RemoteFileService::Advanced &advanced,
              const std::stop_token &stop);

} // namespace moorix::bundleArchive
