// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppModel.h"

#include "app/BackupServices.h"
#include "app/CutMove.h"
#include "app/EditedFiles.h"
#include "app/LeftOperations.h"
#include "app/ListColumns.h"
#include "app/Monitoring.h"
#include "app/PaneTabs.h"
#include "app/ServerConnections.h"
#include "app/ServerNames.h"
#include "app/Session.h"
#include "backup/BackupEngine.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupStore.h"
#include "base/Json.h"
#include "editor/RecoveryCopies.h"
#include "endpoints/AppUpdateManager.h"
#include "endpoints/RemoteDiagnosticsService.h"
#include "files/LocalFileService.h"
#include "files/PaneModel.h"
#include "files/RemoteFileService.h"
#include "files/TransferSpeed.h"
#include "platform/AppPaths.h"
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "platform/PrivateLeftovers.h"
#include "platform/ProcessRunner.h"
#include "servers/SecretMigration.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "sync/SyncEngine.h"
#include "sync/SyncPairStore.h"
#include "transfers/TransferEngine.h"

#include <QPointer>

#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t index(Side side)
{
    return static_cast<std::size_t>(side);
}

template <class Records>
QList<QUuid> idsOf(const Records &records)
{
    QList<QUuid> ids;
    ids.reserve(records.size());
    for (const auto &record : records)
        ids.append(record.id);
    return ids;
}

/// Stores what was given; what the keychain does not take is remembered for this run. Returns the keychain's words for
/// that, or nothing.
QString storeSecrets(KeychainStore &keychain, const QUuid &owner, const ConnectionCredentials &secrets)
{
    const std::array given{std::pair{SecretKind::password, secrets.password},
                           std::pair{SecretKind::passphrase, secrets.passphrase},
                           std::pair{SecretKind::privateKey, secrets.privateKeyText}};
    QString problem;
    for (const auto &[kind, value] : given) {
        if (!value || keychain.set(value, owner, kind))
            continue;
        problem = keychain.lastProblem();
        if (!value->isEmpty())
            keychain.rememberForThisRun(*value, owner, kind);
    }
    return problem;
}

} // namespace

AppModel::AppModel(Platform platform, QObject *parent)
    : QObject(parent)
    , m_preferences(std::make_unique<Preferences>(AppPaths::configuration() + u"/preferences.json"_s))
    , m_cloud(std::make_unique<KeyValueStore>(m_preferences->value(u"cloudFolder"_s).toString()))
    , m_settings(std::make_unique<SettingsStore>(*m_preferences, *m_cloud))
    , m_keychain(std::make_shared<KeychainStore>(std::move(platform.keychain)))
    , m_processes(std::move(platform.processes))
    , m_sshProgram(std::move(platform.sshProgram))
    , m_localFiles(std::make_shared<LocalFileService>())
    , m_speed(std::make_shared<TransferSpeed>())
    , m_connections(std::make_unique<ServerConnections>(m_keychain, m_processes, m_speed))
    , m_transfers(std::make_unique<TransferEngine>())
    , m_clipboard(std::make_unique<FileClipboard>())
    , m_cutMove(std::make_unique<CutMove>(*m_clipboard, *m_transfers))
    , m_leftOperations(std::make_unique<LeftOperations>())
    , m_columns(std::make_unique<ListColumns>(*m_settings, *m_preferences))
{
    ServerStore::Options options;
    options.path = AppPaths::applicationSupport() + u"/servers.json"_s;
    options.iCloudSyncEnabled = m_settings->iCloudSyncEnabled.value();
    m_servers = std::make_unique<ServerStore>(std::move(options), *m_cloud);
    for (auto &tabs : m_tabs)
        tabs = std::make_unique<PaneTabs>(
            PaneTabs::Environment{m_localFiles, *m_connections, *m_settings, *m_transfers, *m_leftOperations});

    connect(m_settings.get(), &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key == m_settings->iCloudSyncEnabled.key())
            m_servers->setCloudSyncEnabled(m_settings->iCloudSyncEnabled.value());
    });
    connect(m_leftOperations.get(), &LeftOperations::messageRaised, this, &AppModel::messageRaised);
    connect(m_preferences.get(), &Preferences::saveFailed, this, &AppModel::messageRaised);
    connect(m_cloud.get(), &KeyValueStore::writeFailed, this, &AppModel::messageRaised);
    connect(m_servers.get(), &ServerStore::problemChanged, this, [this] {
        if (!m_servers->problem().isEmpty())
            emit messageRaised(m_servers->problem());
    });
    takeUpTransfers();
    takeUpEditedFiles();
    takeUpBackups();
    takeUpSync();
    m_monitoring = std::make_unique<Monitoring>(
        Monitoring::Environment{*m_preferences, *m_servers, *m_connections, m_keychain, m_processes});
    connect(m_monitoring.get(), &Monitoring::messageRaised, this, &AppModel::messageRaised);
    takeUpEndpoints(std::move(platform.http), std::move(platform.openFile));
    m_sweep =
        runJob([](const std::stop_token &) { return PrivateLeftovers::remove(); }, [](int) {}, [](const Error &) {});
    m_migration =
        migrateSecretsOnce(*m_preferences, m_keychain, idsOf(m_servers->library().servers), idsOf(m_backups->jobs()));
}

AppModel::~AppModel() = default;

void AppModel::takeUpTransfers()
{
    const auto followLimits = [this] {
        m_transfers->setMostAtOnce(int(m_settings->maxConcurrentTransfers.value()));
        m_speed->setLimit(m_settings->transferBytesPerSecond());
    };
    followLimits();
    connect(m_settings.get(), &SettingsStore::settingChanged, this, followLimits);
    connect(m_transfers.get(), &TransferEngine::queueProblem, this, &AppModel::messageRaised);
    m_serverNames = std::make_unique<ServerNames>(*m_servers, *m_connections);
    connect(m_servers.get(), &ServerStore::libraryChanged, m_transfers.get(), &TransferEngine::noteNewNames);
    TransferPlaces places;
    places.nameOf = [this](const TransferPlaces::Server &server) {
        return server ? m_serverNames->name(*server) : QString();
    };
    places.serverOf = [this](const FileService &service) -> TransferPlaces::Server {
        if (&service == m_localFiles.get())
            return std::nullopt;
        return m_connections->serverOf(service).value_or(QUuid());
    };
    places.open = [this](const TransferPlaces::Server &server, std::function<void(std::shared_ptr<FileService>)> done,
                         const std::function<void(const Error &)> &failed) {
        if (!server)
            return runJob([local = m_localFiles](const std::stop_token &) { return local; }, std::move(done), failed);
        const auto record = m_servers->server(*server);
        if (!record) {
            return runJob(
                [](const std::stop_token &) -> std::shared_ptr<FileService> {
                    throw Error(u"Transfer"_s, u"The server of this transfer is no longer in the library."_s);
                },
                std::move(done), failed);
        }
        return m_connections->open(
            *record, std::nullopt, [done = std::move(done)](const OpenConnection &open) { done(open.service); },
            failed);
    };
    m_transfers->keepQueueIn(AppPaths::applicationSupport() + u"/transfers.json"_s, std::move(places));
}

void AppModel::takeUpEditedFiles()
{
    m_recoveryCopies = std::make_shared<RecoveryCopies>(AppPaths::applicationSupport() + u"/unsaved"_s);
    EditedFiles::Environment environment{AppPaths::applicationSupport() + u"/edited"_s, m_localFiles, *m_connections,
                                         [this](const QUuid &server) { return m_servers->server(server); }};
    environment.hasUnsavedText = [copies = m_recoveryCopies](const QString &path) { return copies->covers(path); };
    m_editedFiles = std::make_unique<EditedFiles>(std::move(environment));
    connect(m_editedFiles.get(), &EditedFiles::messageRaised, this, &AppModel::messageRaised);
    for (const auto &tabs : m_tabs)
        connect(m_editedFiles.get(), &EditedFiles::folderChanged, tabs.get(), &PaneTabs::reload);
}

void AppModel::takeUpBackups()
{
    BackupStore::Options options;
    options.path = AppPaths::applicationSupport() + u"/backups.json"_s;
    options.isCloudOn = m_settings->iCloudSyncEnabled.value();
    m_backups = std::make_unique<BackupStore>(std::move(options), *m_cloud);
    m_backupHistory = std::make_unique<BackupHistoryStore>(AppPaths::applicationSupport() + u"/backup-runs.json"_s);
    m_backupEngine = std::make_unique<BackupEngine>(
        *m_backups, *m_backupHistory,
        BackupEngine::Options{{m_processes, m_keychain, backupServerOpener(*m_servers, *m_connections)},
                              {AppPaths::applicationSupport() + u"/backup-run.lock"_s, backupServerNames(*m_servers)}});
    connect(m_settings.get(), &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key == m_settings->iCloudSyncEnabled.key())
            m_backups->setCloudSyncEnabled(m_settings->iCloudSyncEnabled.value());
    });
    connect(m_backups.get(), &BackupStore::problemChanged, this, [this] {
        if (!m_backups->problem().isEmpty())
            emit messageRaised(m_backups->problem());
    });
    connect(m_backupHistory.get(), &BackupHistoryStore::problemChanged, this, [this] {
        if (!m_backupHistory->problem().isEmpty())
            emit messageRaised(m_backupHistory->problem());
    });
    connect(m_backupEngine.get(), &BackupEngine::failureRaised, this,
            [this](const QUuid &, const QString &name, const QString &sentence) {
                emit messageRaised(u"Backup “%1”: %2"_s.arg(name, sentence));
            });
    m_backupEngine->start();
}

void AppModel::takeUpSync()
{
    m_syncPairs = std::make_unique<SyncPairStore>(AppPaths::applicationSupport() + u"/sync/pairs.json"_s, *m_cloud);
    SyncPlaces places;
    places.local = m_localFiles;
    places.stateFolder = AppPaths::applicationSupport() + u"/sync"_s;
    places.filesAtOnce = [this] { return int(m_settings->maxConcurrentTransfers.value()); };
    places.open = [this](const ServerConnection &server, SyncPlaces::Opened done, SyncPlaces::Failed failed) {
        return m_connections->open(
            server, std::nullopt, [done = std::move(done)](const OpenConnection &open) { done(open.service); },
            std::move(failed));
    };
    m_sync = std::make_unique<SyncEngine>(std::move(places), *m_syncPairs,
                                          [this](const QUuid &server) { return m_servers->server(server); });
    connect(m_syncPairs.get(), &SyncPairStore::problemChanged, this, [this] {
        if (!m_syncPairs->problem().isEmpty())
            emit messageRaised(m_syncPairs->problem());
    });
    connect(m_sync.get(), &SyncEngine::messageRaised, this, &AppModel::messageRaised);
    connect(m_connections.get(), &ServerConnections::disconnected, m_sync.get(), &SyncEngine::stopFor);
    for (const auto &tabs : m_tabs)
        connect(m_sync.get(), &SyncEngine::foldersChanged, tabs.get(), &PaneTabs::reload);
}

PaneTabs &AppModel::tabs(Side side) const
{
    return *m_tabs[index(side)];
}

void AppModel::setActiveSide(Side side)
{
    if (side == m_activeSide)
        return;
    m_activeSide = side;
    emit activeSideChanged();
}

std::optional<QString> AppModel::transferSelection(Side from, bool isMove)
{
    // What goes out of sight is looked for in vain.
    if (!m_settings->dualPaneEnabled.value())
        return u"Only one side is shown. Ctrl+2 brings back the other, where this would go."_s;
    const PaneModel *source = tabs(from).current().pane();
    if (!source)
        return u"There is no file list on this side to copy from."_s;
    const QList<FileItem> items = source->selectedItems();
    if (items.isEmpty())
        return u"Nothing is selected."_s;
    auto request = requestTo(otherSide(from), {source->service(), items, isMove});
    if (!request)
        return u"Open a folder on the other side first."_s;
    request->policy = conflictPolicy();
    m_transfers->enqueue(std::move(*request));
    return std::nullopt;
}

std::optional<QString> AppModel::paste(Side side)
{
    const auto content = m_clipboard->content();
    if (!content)
        return u"Nothing was cut or copied."_s;
    if (m_cutMove->isUnderWay())
        return u"The files that were cut are being moved already."_s;
    auto request = requestTo(side, *content);
    if (!request)
        return u"This side shows no folder."_s;
    transfer(std::move(*request));
    return std::nullopt;
}

std::pair<SyncPair, ServerConnection> AppModel::shownPair() const
{
    const Session *sessions[] = {&tabs(Side::left).current(), &tabs(Side::right).current()};
    const Session *local = nullptr;
    const Session *remote = nullptr;
    for (const Session *session : sessions) {
        if (!session->pane() || session->pane()->currentPath().isEmpty())
            throw Error(u"Sync"_s, u"Both sides have to show a folder: one of this computer, and one of a server."_s);
        (session->server() ? remote : local) = session;
    }
    if (!local)
        throw Error(u"Sync"_s,
                    u"Both sides show folders of servers. One of them has to be a folder of this computer."_s);
    if (!remote)
        throw Error(u"Sync"_s,
                    u"Both sides show folders of this computer. One of them has to be a folder of a server."_s);
    SyncPair pair;
    pair.id = newUuid();
    pair.localPath = local->pane()->currentPath();
    pair.serverID = remote->server()->id;
    pair.remotePath = remote->pane()->currentPath();
    return {pair, *remote->server()};
}

std::optional<TransferRequest> AppModel::requestTo(Side side, const FileClipboard::Content &content) const
{
    const PaneModel *target = tabs(side).current().pane();
    if (!target || target->currentPath().isEmpty())
        return std::nullopt;
    return TransferRequest{content.service, target->service(), content.items, target->currentPath(), content.isCut};
}

TransferConflictPolicy AppModel::conflictPolicy() const
{
    return transferConflictPolicyFromRaw(m_settings->conflictPolicyRaw.value()).value_or(TransferConflictPolicy::ask);
}

void AppModel::transfer(TransferRequest request)
{
    request.policy = request.isCopyInPlace() ? TransferConflictPolicy::rename : conflictPolicy();
    const bool isCut = request.isMove && m_clipboard->holdsCut(request.items);
    const QUuid id = m_transfers->enqueue(std::move(request));
    if (isCut)
        m_cutMove->follow(id);
}

void AppModel::transferTo(const QUuid &server, TransferRequest request)
{
    const auto record = m_servers->server(server);
    if (!record)
        return;
    if (!m_connections->isConnected(server))
        emit messageRaised(u"Connecting to %1…"_s.arg(record->displayName()));
    const auto opened = [self = QPointer(this), request](const OpenConnection &open) mutable {
        if (!self)
            return;
        request.destination = open.service;
        request.targetFolder = open.startPath;
        if (!open.notice.isEmpty())
            emit self->messageRaised(open.notice);
        if (request.isMoveInPlace())
            emit self->messageRaised(u"That is in %1 already."_s.arg(open.startPath));
        else
            self->transfer(std::move(request));
    };
    const auto failed = [self = QPointer(this), name = record->displayName()](const Error &error) {
        if (self)
            emit self->messageRaised(u"Nothing was sent to %1: %2"_s.arg(name, error.message()));
    };
    m_connections->open(*record, std::nullopt, opened, failed).detach();
}

Job AppModel::saveServer(const ServerConnection &server, const ConnectionCredentials &secrets,
                         std::function<void(const QString &)> done)
{
    m_servers->upsert(server);
    return runJob([keychain = m_keychain, id = server.id,
                   secrets](const std::stop_token &) { return storeSecrets(*keychain, id, secrets); },
                  done, [done](const Error &error) { done(error.message()); });
}

void AppModel::removeServer(const QUuid &id)
{
    m_connections->disconnect(id);
    m_servers->remove(id);
    removeSecrets(id, u"server"_s);
}

Job AppModel::saveBackup(const BackupJob &job, const std::optional<QString> &passphrase,
                         std::function<void(const QString &)> done)
{
    m_backups->upsert(job);
    return runJob(
        [keychain = m_keychain, id = job.id, passphrase](const std::stop_token &) {
            ConnectionCredentials secrets;
            secrets.passphrase = passphrase;
            return storeSecrets(*keychain, id, secrets);
        },
        done, [done](const Error &error) { done(error.message()); });
}

void AppModel::removeBackup(const QUuid &id)
{
    if (m_backupEngine->runningJobID() == id)
        m_backupEngine->cancel();
    m_backups->remove(id);
    removeSecrets(id, u"backup"_s);
}

void AppModel::removeSecrets(const QUuid &owner, const QString &whose)
{
    runJob(
        [keychain = m_keychain, owner](const std::stop_token &) {
            QString problem;
            for (const SecretKind kind : allSecretKinds) {
                if (!keychain->remove(owner, kind))
                    problem = keychain->lastProblem();
            }
            return problem;
        },
        [self = QPointer(this), whose](const QString &problem) {
            if (self && !problem.isEmpty())
                emit self->messageRaised(u"The %1's secrets stay in the keychain: %2"_s.arg(whose, problem));
        },
        [](const Error &) {})
        .detach();
}

} // namespace moorix
