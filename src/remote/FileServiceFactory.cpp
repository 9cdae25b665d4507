// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FileServiceFactory.h"

#include "files/FileServiceError.h"
#include "remote/FTPService.h"
#include "remote/SFTPService.h"
#include "servers/KeychainStore.h"

namespace moorix::FileServiceFactory {

ConnectionCredentials credentials(const ServerConnection &server, KeychainStore &keychain)
{
    ConnectionCredentials result;
    result.password = keychain.get(server.id, SecretKind::password);
    result.passphrase = keychain.get(server.id, SecretKind::passphrase);
    result.privateKeyText = keychain.get(server.id, SecretKind::privateKey);
    result.privateKeyPath = server.privateKeyPath;
    return result;
}

std::shared_ptr<RemoteFileService> make(const ServerConnection &server, KeychainStore &keychain,
                                        std::shared_ptr<ProcessRunner> runner, std::shared_ptr<TransferSpeed> speed)
{
    return make(server, credentials(server, keychain), std::move(runner), std::move(speed));
}

std::shared_ptr<RemoteFileService> make(const ServerConnection &server, const ConnectionCredentials &credentials,
                                        std::shared_ptr<ProcessRunner> runner, std::shared_ptr<TransferSpeed> speed)
{
    switch (server.networkProtocol) {
    case NetworkProtocol::sftp:
    case NetworkProtocol::ssh:
        return std::make_shared<SFTPService>(server, credentials, std::move(runner), SSHPatience(), std::move(speed));
    case NetworkProtocol::ftp:
    case NetworkProtocol::ftps:
        return std::make_shared<FTPService>(server, credentials, std::move(runner), FTPCertificates::ofThisUser(),
                                            FTPPatience(), std::move(speed));
    }
    throw FileServiceError::notImplemented(rawText(server.networkProtocol));
}

} // namespace moorix::FileServiceFactory
