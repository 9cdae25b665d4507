// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FirstContact.h"

#include "files/RemoteFileService.h"
#include "remote/HostKeys.h"

#include <QStringList>

namespace moorix {

using namespace Qt::StringLiterals;

QString connectNotingFirstContact(RemoteFileService &service, const ServerConnection &server, ProcessRunner &runner,
                                  const std::stop_token &stop)
{
    const bool wasKnown = !HostKeys::knownFingerprints(server, runner, stop).isEmpty();
    service.connect(stop);
    if (wasKnown)
        return {};
    const QStringList fingerprints = HostKeys::knownFingerprints(server, runner, stop);
    if (fingerprints.isEmpty())
        return {};
    return u"First contact with %1. Its key was accepted and will be expected from now on: %2"_s.arg(
        server.host, fingerprints.join(u", "_s));
}

} // namespace moorix
