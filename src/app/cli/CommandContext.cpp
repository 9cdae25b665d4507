// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/CommandContext.h"

#include "app/BackupServices.h"
#include "app/FirstContact.h"
#include "app/cli/Command.h"
#include "app/cli/Console.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupStore.h"
#include "base/Json.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/RemoteFileService.h"
#include "files/TransferSpeed.h"
#include "platform/AppPaths.h"
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "remote/FileServiceFactory.h"
#include "servers/KeychainStore.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "sync/SyncPairStore.h"

#include <QDir>

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

template <class Record>
QList<Record> matching(const QList<Record> &records, const std::function<bool(const Record &)> &fits)
{
    QList<Record> found;
    std::copy_if(records.cbegin(), records.cend(), std::back_inserter(found), fits);
    return found;
}

QString ambiguity(const QString &reference, const QList<ServerConnection> &found)
{
    QStringList lines;
    for (const ServerConnection &server : found)
        lines.append(u"  %1  %2 (%3)"_s.arg(uuidText(server.id), server.displayName(), server.host));
    return u"“%1” fits %2 servers; name one by its id:\n%3"_s.arg(reference).arg(found.size()).arg(lines.join(u'\n'));
}

QString withoutTrailingSlashes(QString path)
{
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

} // namespace

std::optional<std::pair<QString, QString>> splitTarget(const QString &target)
{
    if (target.startsWith(u'[')) {
        const qsizetype end = target.indexOf(u"]:"_s);
        if (end > 0)
            return std::pair{target.mid(1, end - 1), target.mid(end + 2)};
    }
    const qsizetype colon = target.indexOf(u':');
    const qsizetype slash = target.indexOf(u'/');
    if (colon <= 0 || (slash >= 0 && slash < colon))
        return std::nullopt;
    return std::pair{target.left(colon), target.mid(colon + 1)};
}

CommandContext::CommandContext(const CommandLine::Platform &platform, std::stop_token stop)
    : m_stop(std::move(stop))
    , m_processes(platform.processes)
    , m_keychain(std::make_shared<KeychainStore>(platform.keychain))
    , m_localFiles(std::make_shared<LocalFileService>())
{
}

CommandContext::~CommandContext() = default;

KeychainStore &CommandContext::keychain()
{
    return *m_keychain;
}

ServerStore &CommandContext::servers()
{
    if (m_servers)
        return *m_servers;
    m_preferences = std::make_unique<Preferences>(AppPaths::configuration() + u"/preferences.json"_s);
    m_cloud = std::make_unique<KeyValueStore>(m_preferences->value(u"cloudFolder"_s).toString());
    ServerStore::Options options;
    options.path = AppPaths::applicationSupport() + u"/servers.json"_s;
    options.iCloudSyncEnabled = m_preferences->value(u"iCloudSyncEnabled"_s).toBool(true);
    m_servers = std::make_unique<ServerStore>(std::move(options), *m_cloud);
    if (!m_servers->problem().isEmpty())
        console::complain(m_servers->problem());
    return *m_servers;
}

BackupStore &CommandContext::backups()
{
    if (m_backups)
        return *m_backups;
    servers();
    BackupStore::Options options;
    options.path = AppPaths::applicationSupport() + u"/backups.json"_s;
    options.isCloudOn = m_preferences->value(u"iCloudSyncEnabled"_s).toBool(true);
    m_backups = std::make_unique<BackupStore>(std::move(options), *m_cloud);
    if (!m_backups->problem().isEmpty())
        console::complain(m_backups->problem());
    return *m_backups;
}

SettingsStore &CommandContext::settings()
{
    servers();
    if (!m_settings)
        m_settings = std::make_unique<SettingsStore>(*m_preferences, *m_cloud);
    return *m_settings;
}

Exchange CommandContext::exchange()
{
    settings();
    if (!m_syncPairs) {
        m_syncPairs = std::make_unique<SyncPairStore>(AppPaths::applicationSupport() + u"/sync/pairs.json"_s, *m_cloud);
        if (!m_syncPairs->problem().isEmpty())
            console::complain(m_syncPairs->problem());
    }
    return Exchange({*m_settings, *m_preferences, servers(), backups(), *m_syncPairs});
}

BackupHistoryStore &CommandContext::backupHistory()
{
    if (!m_backupHistory)
        m_backupHistory = std::make_unique<BackupHistoryStore>(AppPaths::applicationSupport() + u"/backup-runs.json"_s);
    return *m_backupHistory;
}

BackupLedger &CommandContext::backupLedger()
{
    if (!m_backupLedger) {
        m_backupLedger =
            std::make_unique<BackupLedger>(backups(), backupHistory(),
                                           BackupLedger::Options{AppPaths::applicationSupport() + u"/backup-run.lock"_s,
                                                                 backupServerNames(servers())});
    }
    return *m_backupLedger;
}

BackupJob CommandContext::backup(const QString &reference)
{
    if (const auto job = backups().job(QUuid::fromString(reference)))
        return *job;
    for (const Qt::CaseSensitivity sensitivity : {Qt::CaseSensitive, Qt::CaseInsensitive}) {
        const auto found = matching<BackupJob>(
            backups().jobs(), [&](const BackupJob &job) { return job.name.compare(reference, sensitivity) == 0; });
        if (found.size() == 1)
            return found.constFirst();
        if (found.size() > 1)
            throw UsageError(u"“%1” fits %2 backups; name one by its id."_s.arg(reference).arg(found.size()));
    }
    throw UsageError(u"No backup has the id or the name “%1”."_s.arg(reference));
}

BackupRun::Environment CommandContext::backupEnvironment()
{
    return {m_processes, m_keychain, [this](const QUuid &id, const std::stop_token &) {
                return std::static_pointer_cast<FileService>(connected(server(uuidText(id))));
            }};
}

int CommandContext::filesAtOnce()
{
    servers();
    // Not through the settings' store, which would take part in the exchange with the cloud.
    return int(std::clamp<qint64>(m_preferences->value(u"maxConcurrentTransfers"_s).toInteger(3), 1, 8));
}

TransferSpeed &CommandContext::speed()
{
    servers();
    if (!m_speed) {
        const bool isLimited = m_preferences->value(u"limitTransferSpeed"_s).toBool(false);
        const qint64 kilobytes = std::clamp(m_preferences->value(u"transferSpeedLimit"_s).toInteger(1000),
                                            TransferSpeed::least / 1000, TransferSpeed::most / 1000);
        m_speed = std::make_shared<TransferSpeed>(isLimited ? kilobytes * 1000 : 0);
    }
    return *m_speed;
}

ServerConnection CommandContext::server(const QString &reference)
{
    const QList<ServerConnection> all = servers().library().servers;
    if (const QUuid id = QUuid::fromString(reference); !id.isNull()) {
        if (const auto found = servers().server(id))
            return *found;
    }
    const std::array<std::function<bool(const ServerConnection &)>, 3> rules{
        [&reference](const ServerConnection &server) { return server.name == reference; },
        [&reference](const ServerConnection &server) {
            return server.name.compare(reference, Qt::CaseInsensitive) == 0;
        },
        [&reference](const ServerConnection &server) {
            return server.host.compare(reference, Qt::CaseInsensitive) == 0;
        }};
    for (const auto &rule : rules) {
        const QList<ServerConnection> found = matching<ServerConnection>(all, rule);
        if (found.size() == 1)
            return found.constFirst();
        if (found.size() > 1)
            throw UsageError(ambiguity(reference, found));
    }
    throw UsageError(
        u"No saved server has the id, the name or the host “%1”. A local path with a colon is written “./%1:…”."_s.arg(
            reference));
}

TargetPlace CommandContext::place(const QString &target)
{
    if (target.isEmpty())
        throw UsageError(u"An empty text is no path."_s);
    const auto remote = splitTarget(target);
    if (!remote) {
        const QString absolute = target.startsWith(u'/') ? target : Format::join(QDir::currentPath(), target);
        return {m_localFiles, QDir::cleanPath(absolute), true};
    }
    const ServerConnection record = server(remote->first);
    const std::shared_ptr<RemoteFileService> service = connected(record);
    QString path = remote->second;
    if (path.isEmpty())
        path = record.remotePath;
    if (!path.startsWith(u'/')) {
        const QString home = service->defaultDirectory(m_stop);
        path = path.isEmpty() ? home : Format::join(home, path);
    }
    return {service, withoutTrailingSlashes(path), false};
}

QStringList CommandContext::savedIgnorePatterns(const QString &pairKey)
{
    servers();
    const SyncPairStore pairs(AppPaths::applicationSupport() + u"/sync/pairs.json"_s, *m_cloud);
    // Going on would sync what the user wants left out.
    if (!pairs.problem().isEmpty())
        throw Error(u"Sync"_s, pairs.problem());
    const auto pair = pairs.pairOfKey(pairKey, [this](const QUuid &id) { return m_servers->server(id); });
    return pair ? pair->ignorePatterns : QStringList();
}

/// The connection is left to end by itself a while later: the next command, or a window that is open, goes on with it.
std::shared_ptr<RemoteFileService> CommandContext::connected(const ServerConnection &server)
{
    std::shared_ptr<RemoteFileService> &service = m_services[server.id];
    if (!service) {
        speed();
        auto fresh = FileServiceFactory::make(server, *m_keychain, m_processes, m_speed);
        const QString notice = connectNotingFirstContact(*fresh, server, *m_processes, m_stop);
        if (!notice.isEmpty())
            console::complain(notice);
        service = std::move(fresh);
    }
    return service;
}

} // namespace moorix
