// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/BackupServices.h"

#include "app/ServerConnections.h"
#include "base/Error.h"
#include "base/Job.h"
#include "files/RemoteFileService.h"
#include "servers/ServerStore.h"

#include <QPointer>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

struct Opened
{
    std::shared_ptr<FileService> service;
    std::optional<Error> error;
};

const QString notFound = u"Backup server not found"_s;

} // namespace

std::function<std::optional<QString>(const QUuid &)> backupServerNames(const ServerStore &servers)
{
    return [&servers](const QUuid &id) {
        const auto server = servers.server(id);
        return server ? std::optional(server->displayName()) : std::nullopt;
    };
}

decltype(BackupRun::Environment::openServer) backupServerOpener(ServerStore &servers, ServerConnections &connections)
{
    return [servers = QPointer(&servers), connections = QPointer(&connections)](const QUuid &id,
                                                                                const std::stop_token &stop) {
        const auto open = [servers, connections, id](const std::function<void(Opened)> &answer) {
            const auto record = servers ? servers->server(id) : std::nullopt;
            if (!record || !connections) {
                answer({nullptr, Error(u"Backup"_s, notFound)});
                return;
            }
            // Lives as long as the functions that wait for its outcome.
            const auto job = std::make_shared<Job>();
            *job = connections->open(
                *record, std::nullopt,
                [answer, job](const OpenConnection &opened) {
                    answer({opened.service, {}});
                },
                [answer, job](const Error &error) {
                    answer({nullptr, error});
                });
        };
        Opened opened = askMain<Opened>(stop, open);
        if (opened.error)
            throw Error(*opened.error);
        return opened.service;
    };
}

} // namespace moorix
