// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/FileClipboard.h"
#include "base/Job.h"
#include "servers/KeychainStore.h"
#include "servers/ServerConnection.h"
#include "sync/SyncPair.h"

#include <QObject>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace moorix {

class AppUpdateManager;
class BackupEngine;
class BackupHistoryStore;
class BackupStore;
struct BackupJob;
class CutMove;
struct DiagnosticsApp;
class EditedFiles;
class FileService;
class HttpClient;
class KeyValueStore;
class Keychain;
class LeftOperations;
class ListColumns;
class Monitoring;
class PaneTabs;
class Preferences;
class ProcessRunner;
class RemoteDiagnosticsService;
class RecoveryCopies;
class ServerConnections;
class ServerStore;
class SettingsStore;
class ServerNames;
class SyncEngine;
class SyncPairStore;
enum class TransferConflictPolicy;
class TransferEngine;
struct TransferRequest;
class TransferSpeed;

enum class Side { left, right };
constexpr Side otherSide(Side side)
{
    return side == Side::left ? Side::right : Side::left;
}

/// Created once at start-up; owns, for the life of the process, every store, engine and pane. The window observes
/// these objects and calls their operations. Main thread.
class AppModel final : public QObject
{
    Q_OBJECT

public:
    struct Platform
    {
        std::shared_ptr<ProcessRunner> processes;
        std::shared_ptr<Keychain> keychain;
        /// The client that terminals run.
        QString sshProgram = QStringLiteral("/usr/bin/ssh");
        /// Absent: the real one.
        std::shared_ptr<HttpClient> http = nullptr;
        /// Has the desktop open a file; false where nothing took it.
        std::function<bool(const QString &path)> openFile = {};
    };

    /// Reads the documents of this user (AppPaths) and opens a local tab on each side.
    explicit AppModel(Platform platform, QObject *parent = nullptr);
    ~AppModel() override;

    Preferences &preferences() const { return *m_preferences; }
    KeyValueStore &cloud() const { return *m_cloud; }
    SettingsStore &settings() const { return *m_settings; }
    ServerStore &servers() const { return *m_servers; }
    const std::shared_ptr<KeychainStore> &keychain() const { return m_keychain; }
    ServerConnections &connections() const { return *m_connections; }
    TransferEngine &transfers() const { return *m_transfers; }
    FileClipboard &clipboard() const { return *m_clipboard; }
    LeftOperations &leftOperations() const { return *m_leftOperations; }
    ListColumns &columns() const { return *m_columns; }
    EditedFiles &editedFiles() const { return *m_editedFiles; }
    const std::shared_ptr<RecoveryCopies> &recoveryCopies() const { return m_recoveryCopies; }
    BackupStore &backups() const { return *m_backups; }
    BackupHistoryStore &backupHistory() const { return *m_backupHistory; }
    BackupEngine &backupEngine() const { return *m_backupEngine; }
    SyncPairStore &syncPairs() const { return *m_syncPairs; }
    SyncEngine &sync() const { return *m_sync; }
    Monitoring &monitoring() const { return *m_monitoring; }
    AppUpdateManager &updates() const { return *m_updates; }
    RemoteDiagnosticsService &diagnostics() const { return *m_diagnostics; }
    PaneTabs &tabs(Side side) const;
    const std::shared_ptr<FileService> &localFiles() const { return m_localFiles; }
    const std::shared_ptr<ProcessRunner> &processes() const { return m_processes; }
    const QString &sshProgram() const { return m_sshProgram; }

    Side activeSide() const { return m_activeSide; }
    void setActiveSide(Side side);

    /// Copies or moves the selection of a side's file list into the folder shown on the other side. Returns why that
    /// is not possible, or nothing.
    std::optional<QString> transferSelection(Side from, bool isMove);
    /// Pastes the clipboard into the folder shown on `side`. Returns why that is not possible, or nothing.
    std::optional<QString> paste(Side side);
    /// A drop, or files of another program: as the user has set for what exists already, and with names of their own
    /// for copies in the folder of their originals. What the clipboard holds as cut leaves it once it is moved.
    void transfer(TransferRequest request);
    /// The same into the start folder of a saved server, which is connected where it is not. A failure is told.
    void transferTo(const QUuid &server, TransferRequest request);
    /// The folders that both sides show, to be kept alike: one must be of this computer, the other of a server. Throws
    /// an Error that says why they cannot.
    std::pair<SyncPair, ServerConnection> shownPair() const;

    /// Saves a server and its secrets; an absent secret is left as it is, an empty one is deleted. `done` gets an
    /// empty text, or why the keychain did not take the secrets (they are then kept for this run).
    [[nodiscard]] Job saveServer(const ServerConnection &server, const ConnectionCredentials &secrets,
                                 std::function<void(const QString &problem)> done);
    /// Removes a server with its secrets.
    void removeServer(const QUuid &id);
    /// Saves a backup job and, unless absent, its passphrase; an empty one is deleted. `done` is as for a server.
    [[nodiscard]] Job saveBackup(const BackupJob &job, const std::optional<QString> &passphrase,
                                 std::function<void(const QString &problem)> done);
    /// Removes a backup job with its passphrase. Its archives stay.
    void removeBackup(const QUuid &id);

signals:
    void activeSideChanged();
    /// A sentence for the status bar.
    void messageRaised(const QString &message);

private:
    /// Nothing where the side shows no folder.
    std::optional<TransferRequest> requestTo(Side side, const FileClipboard::Content &content) const;
    TransferConflictPolicy conflictPolicy() const;
    void takeUpTransfers();
    void takeUpEditedFiles();
    void takeUpBackups();
    void removeSecrets(const QUuid &owner, const QString &whose);
    void takeUpSync();
    void takeUpEndpoints(std::shared_ptr<HttpClient> http, std::function<bool(const QString &path)> openFile);
    DiagnosticsApp diagnosticsView() const;

    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<KeyValueStore> m_cloud;
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<ServerStore> m_servers;
    std::shared_ptr<KeychainStore> m_keychain;
    std::shared_ptr<ProcessRunner> m_processes;
    QString m_sshProgram;
    std::shared_ptr<FileService> m_localFiles;
    std::shared_ptr<TransferSpeed> m_speed;
    std::unique_ptr<ServerConnections> m_connections;
    std::unique_ptr<TransferEngine> m_transfers;
    std::unique_ptr<ServerNames> m_serverNames;
    std::unique_ptr<FileClipboard> m_clipboard;
    std::unique_ptr<CutMove> m_cutMove;
    std::unique_ptr<LeftOperations> m_leftOperations;
    std::unique_ptr<ListColumns> m_columns;
    std::shared_ptr<RecoveryCopies> m_recoveryCopies;
    std::unique_ptr<EditedFiles> m_editedFiles;
    std::unique_ptr<BackupStore> m_backups;
    std::unique_ptr<BackupHistoryStore> m_backupHistory;
    std::unique_ptr<BackupEngine> m_backupEngine;
    std::unique_ptr<SyncPairStore> m_syncPairs;
    std::unique_ptr<SyncEngine> m_sync;
    std::unique_ptr<Monitoring> m_monitoring;
    std::array<std::unique_ptr<PaneTabs>, 2> m_tabs;
    std::unique_ptr<AppUpdateManager> m_updates;
    std::unique_ptr<RemoteDiagnosticsService> m_diagnostics;
    Side m_activeSide = Side::left;
    Job m_migration;
    Job m_sweep;
};

} // namespace moorix
