// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <memory>

namespace moorix {

class FileService;
class KeychainStore;
class ProcessRunner;
class RemoteFileService;
class TransferSpeed;

namespace FileServiceFactory {

/// The server's secrets from the keychain. Blocking: worker threads only.
ConnectionCredentials credentials(const ServerConnection &server, KeychainStore &keychain);

/// The service for a saved server: FTP for "FTP" and "FTPS" records, SFTP for the others. Never connects; the caller
/// calls `connect`. Copies keep to the speed; null sets no limit. Blocking (keychain): worker threads only.
std::shared_ptr<RemoteFileService> make(const ServerConnection &server, KeychainStore &keychain,
                                        std::shared_ptr<ProcessRunner> runner, std::shared_ptr<TransferSpeed> speed);

/// The same with secrets that are not in the keychain (quick connect, test of a draft).
std::shared_ptr<RemoteFileService> make(const ServerConnection &server, const ConnectionCredentials &credentials,
                                        std::shared_ptr<ProcessRunner> runner, std::shared_ptr<TransferSpeed> speed);

} // namespace FileServiceFactory

} // namespace moorix
