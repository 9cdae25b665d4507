// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/EditedCopy.h"
#include "files/FileItem.h"
#include "transfers/TransferLink.h"

#include <functional>
#include <stop_token>

namespace moorix {

class FileService;
class RemoteFileService;

/// How copies of a server's files travel: down to be edited, and up again, never over what somebody else has written
/// meanwhile. Blocking; worker threads.
namespace editedVersion {

using Progress = std::function<void(qint64 bytes)>;

/// Fetches a file into a new folder below `root`. Nothing stays of it when that fails.
std::shared_ptr<EditedCopy> fetch(RemoteFileService &server, const FileItem &file, EditedRecord record,
                                  const QString &root, const Progress &progress, const std::stop_token &stop);

/// The file that a link leads to, as far as the server tells; other items as they are.
FileItem resolved(RemoteFileService &server, FileItem item, const std::stop_token &stop);

/// Whether the server's file is still what the record says.
bool isUnchanged(RemoteFileService &server, const EditedCopy &copy, const EditedRecord &record,
                 const std::stop_token &stop);

/// What may be written over.
enum class Guard {
    /// The file as it was when the two were last alike.
    known,
    /// Whatever stands there.
    anything,
    /// Nothing: the copy gets a name of its own beside it.
    nothing
};
enum class Outcome { sent, changedThere, goneThere };

struct Sending
{
    std::shared_ptr<FileService> disk;
    std::shared_ptr<FileService> server;
    Guard guard = Guard::known;
    /// An earlier try may have left a part of the file on the server.
    bool mayHaveLeftovers = false;
    TransferLink::Delays reconnectDelays = {};
    /// How many bytes of how many have been uploaded. Called on any thread.
    std::function<void(qint64 bytes, qint64 of)> progress = {};
};

/// Uploads the copy as it is at this moment: whole or not at all, with the mode of the file that it replaces. `record`
/// then says what the server holds. Throws an Error when the upload fails; the copy stays as it is whatever happens.
Outcome send(const Sending &sending, const EditedCopy &copy, EditedRecord &record, const std::stop_token &stop);

/// Copies the copy to another place on this machine, over what stands there.
void saveAs(const std::shared_ptr<FileService> &disk, const EditedCopy &copy, const EditedRecord &record,
            const QString &toPath, const std::stop_token &stop);

/// SHA-256 of the copy as it is now; nothing when it is not there, as between the two steps of a save.
std::optional<QByteArray> checksum(const EditedCopy &copy, const EditedRecord &record, const std::stop_token &stop);

} // namespace editedVersion

} // namespace moorix
