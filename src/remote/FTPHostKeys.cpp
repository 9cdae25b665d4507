// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FTPHostKeys.h"

#include "base/Error.h"
#include "remote/CurlRunner.h"
#include "remote/FTPCertificates.h"

namespace moorix::FTPHostKeys {

namespace {

QString text(const QByteArray &key)
{
    return QStringLiteral("TLS ") + FTPCertificate::fingerprint(key);
}

QByteArray offered(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop)
{
    // The runner outlives the call.
    const std::shared_ptr<ProcessRunner> borrowed(std::shared_ptr<ProcessRunner>(), &runner);
    return CurlRunner(borrowed).offeredKey({server, {}, std::nullopt}, stop);
}

} // namespace

QStringList knownFingerprints(const ServerConnection &server)
{
    if (!server.useTLS || server.strictHostKeyChecking)
        return {};
    const std::optional<QByteArray> key = FTPCertificates::ofThisUser().known(server);
    return key ? QStringList{text(*key)} : QStringList();
}

QStringList offeredFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop)
{
    return {text(offered(server, runner, stop))};
}

void trust(const ServerConnection &server, const QStringList &confirmed, ProcessRunner &runner,
           const std::stop_token &stop)
{
    const QByteArray key = offered(server, runner, stop);
    if (!confirmed.contains(text(key))) {
        throw Error(QStringLiteral("HostKeys"),
                    QStringLiteral("%1 now shows another key than the one you looked at. Nothing was changed; look at "
                                   "it again.")
                        .arg(server.host));
    }
    FTPCertificates::ofThisUser().remember(server, key);
}

} // namespace moorix::FTPHostKeys
