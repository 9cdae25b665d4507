// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/CommandLine.h"
#include "app/exchange/Exchange.h"
#include "backup/BackupRun.h"
#include "servers/ServerConnection.h"

#include <QHash>
#include <QStringList>
#include <QUuid>

#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

namespace moorix {

class BackupHistoryStore;
class BackupLedger;
class BackupStore;
class FileService;
class KeyValueStore;
class KeychainStore;
class Preferences;
class ProcessRunner;
class RemoteFileService;
class ServerStore;
class SettingsStore;
class SyncPairStore;
class TransferSpeed;

/// A TARGET of the command line, ready for use.
struct TargetPlace
{
    std::shared_ptr<FileService> service;
    /// Absolute.
    QString path;
    bool isLocal = true;
};

/// What a command works with: the same documents, keychain and services as the window's, opened when first asked for.
class CommandContext final
{
public:
    CommandContext(const CommandLine::Platform &platform, std::stop_token stop);
    Q_DISABLE_COPY_MOVE(CommandContext)
    ~CommandContext();

    const std::stop_token &stop() const { return m_stop; }
    ServerStore &servers();
    KeychainStore &keychain();
    const std::shared_ptr<ProcessRunner> &processes() const { return m_processes; }
    BackupStore &backups();
    /// Takes part in the exchange with the cloud.
    SettingsStore &settings();
    /// All that is exported and imported into.
    Exchange exchange();
    BackupHistoryStore &backupHistory();
    BackupLedger &backupLedger();
    /// The backup job of this id or name. Throws like `server`.
    BackupJob backup(const QString &reference);
    /// What a run is carried out with; for one that runs on the calling thread.
    BackupRun::Environment backupEnvironment();
    /// How many files a copy takes on at once.
    int filesAtOnce();
    /// What copies to and from servers keep to: as the preferences say until somebody sets another limit.
    TransferSpeed &speed();
    /// The saved server of this id, name or host. Throws a UsageError that tells what is wrong when none or more than
    /// one fits.
    ServerConnection server(const QString &reference);
    /// Resolves TARGET and connects to its server. What a first contact has to tell goes to standard error.
    TargetPlace place(const QString &target);
    /// The server's service, connected. What a first contact has to tell goes to standard error.
    std::shared_ptr<RemoteFileService> connected(const ServerConnection &server);
    /// What the saved folder pair of this key leaves out. Throws when the list of pairs cannot be read.
    QStringList savedIgnorePatterns(const QString &pairKey);

private:
    std::stop_token m_stop;
    std::shared_ptr<ProcessRunner> m_processes;
    std::shared_ptr<KeychainStore> m_keychain;
    std::shared_ptr<FileService> m_localFiles;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<KeyValueStore> m_cloud;
    std::unique_ptr<ServerStore> m_servers;
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<BackupStore> m_backups;
    std::unique_ptr<SyncPairStore> m_syncPairs;
    std::unique_ptr<BackupHistoryStore> m_backupHistory;
    std::unique_ptr<BackupLedger> m_backupLedger;
    std::shared_ptr<TransferSpeed> m_speed;
    QHash<QUuid, std::shared_ptr<RemoteFileService>> m_services;
};

/// The SERVER and PATH of a target, or nothing when it is a local path.
std::optional<std::pair<QString, QString>> splitTarget(const QString &target);

} // namespace moorix
