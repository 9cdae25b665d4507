// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/RemoteFileService.h"
#include "remote/RemoteTree.h"
#include "remote/SFTPProcessRunner.h"
#include "remote/SSHLanes.h"

#include <mutex>

namespace moorix {

class FindOutput;

/// Files of a server whose protocol is SFTP or SSH. Every operation is one batch of the `sftp` client or one command
/// line for the account's shell; where the account has no shell, the latter become walks with `sftp` commands. All
/// operations before `connect` and after `disconnect` throw notConnected. Safe to use from several threads.
class SFTPService final : public RemoteFileService
{
public:
    SFTPService(ServerConnection server, ConnectionCredentials credentials, std::shared_ptr<ProcessRunner> processes,
                SSHPatience patience = {}, std::shared_ptr<TransferSpeed> speed = nullptr);
    /// Removes the file of a pasted key; the shared connection stays, other programs may use it.
    ~SFTPService() override;
    Q_DISABLE_COPY_MOVE(SFTPService)

    const ServerConnection &server() const { return m_server; }
    bool isConnected() const;

    /// Logs in and learns the home folder. Throws connectionFailed with the client's reason.
    void connect(const std::stop_token &stop) override;
    /// Ends the shared connection unless another service of this program uses it, too.
    void disconnect() noexcept override;
    QString defaultDirectory(const std::stop_token &stop) override;
    QList<FileItem> list(const QString &path, HiddenFiles hidden, const std::stop_token &stop) override;
    void createDirectory(const QString &path, const std::stop_token &stop) override;
    void remove(const FileItem &item, const std::stop_token &stop) override;
    void rename(const FileItem &item, const QString &newName, const std::stop_token &stop) override;
    QByteArray read(const QString &path, const std::stop_token &stop) override;
    void write(const QByteArray &data, const QString &path, const std::stop_token &stop) override;
    void setPermissions(const QString &path, const QString &octal, Recursive recursive,
                        const std::stop_token &stop) override;

    std::optional<FileItem> stat(const QString &path, const std::stop_token &stop) override;
    bool exists(const QString &path, const std::stop_token &stop) override { return followed(path, stop).has_value(); }
    FileItem followLink(const FileItem &link, const std::stop_token &stop) override;
    void copy(const FileItem &item, const QString &toPath, const std::stop_token &stop) override;
    void move(const FileItem &item, const QString &toPath, const std::stop_token &stop) override;
    std::optional<qint64> freeSpace(const QString &path, const std::stop_token &stop) override;

    void download(const QString &remotePath, const QString &toLocal, const RemoteTransferOptions &options,
                  const std::stop_token &stop) override;
    void upload(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                const std::stop_token &stop) override;
    /// Links and special files cannot be copied: when there were any, the rest is copied and operationFailed names
    /// them.
    void downloadRecursive(const QString &remotePath, const QString &toLocal, const std::stop_token &stop) override;
    void uploadRecursive(const QString &localPath, const QString &toRemote, const std::stop_token &stop) override;
    void copyRemote(const QString &source, const QString &destination, const std::stop_token &stop) override;
    void moveRemote(const QString &source, const QString &destination, const std::stop_token &stop) override;
    TransferSpeed *speed() const override { return m_speed.get(); }
    bool takesMany() const override { return true; }
    int lanesForMany() const override;
    void uploadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop) override;
    void downloadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop) override;
    void takeSteps(std::vector<RemoteStep> &steps, const std::stop_token &stop) override;
    std::optional<QHash<QString, QByteArray>> checksums(const QStringList &paths, const std::stop_token &stop) override;
    /// Of `list`. A client or server older than OpenSSH 9.1 has the server's own zone in them.
    ListedTimes listedTimes() const override;
    /// Exact to the second where the account has a shell with GNU find and may read all of it.
    ListedTree listTree(const QString &folder, const TreeProgress &onProgress, const std::stop_token &stop) override;
    bool mayTakeArchives() const override { return !m_lacksShell; }
    std::optional<QHash<QString, QByteArray>>
    unpackArchive(const QString &folder, const std::function<QByteArray()> &next, const std::stop_token &stop) override;
    bool packArchive(const QString &folder, const std::function<void(QByteArrayView)> &take,
                     const std::stop_token &stop) override;
    bool unpackInto(const QString &folder, const std::function<QByteArray()> &next,
                    const std::stop_token &stop) override;
    bool packFiles(const QString &folder, const QStringList &files, const std::function<void(QByteArrayView)> &take,
                   const std::stop_token &stop) override;
    bool renameBeside(const QString &path, const QString &toPath, const std::stop_token &stop) override;
    bool createLink(const QString &target, const QString &path, const std::stop_token &stop) override;
    void requireAddressable(const QString &path) const override;
    std::optional<QString> linkTarget(const QString &path, const std::stop_token &stop) override;

    /// What a command line prints that the account's shell runs. Throws operationFailed when it does not exit with 0,
    /// prints more than 256 KiB, or when the account has no shell.
    QString commandOutput(const QString &command, const std::stop_token &stop);

private:
    /// The login in force; throws notConnected.
    SSHLogin login() const;
    SFTPOutput run(const SFTPBatch &batch, const std::stop_token &stop);
    /// The same for a batch that moves files, within the limit of speed.
    SFTPOutput runCopy(SFTPBatch batch, const std::stop_token &stop);
    QList<SFTPAnswer> runEach(const QStringList &commands, const std::function<void(qsizetype answered)> &onAnswer,
                              const std::stop_token &stop, const SFTPRunOptions &options = {});
    /// Leaves open what comes after the first that the shell cannot take, or does not say that it has.
    void takeStepsByShell(std::vector<RemoteStep> &steps, const std::stop_token &stop);
    /// Empty when it has worked in the end.
    QString failureOfReplacing(const RemoteStep &step, const std::stop_token &stop);
    bool isFar() const;
    /// What lists a folder; the last of them prints the rows.
    static QStringList listCommands(const QString &path, const QString &flags);
    /// The beginning of the sentence for a folder whose listing failed.
    static QString unlisted(const QString &path);
    /// For a folder that may be read but not entered.
    static FileServiceError mayNotEnter(const QString &path);
    /// Settles a folder by what the client says to its `listCommands`.
    static void judge(ListedFolder &folder, const QList<SFTPAnswer> &answers);
    std::optional<FindOutput> find(const QString &folder, const TreeProgress &onProgress, const std::stop_token &stop);
    int runsForListing(qsizetype folders) const;
    void listEach(std::span<ListedFolder> folders, int atOnce, const std::stop_token &stop);
    /// How a command of the account's shell ended; nothing once the account has turned out to have none.
    std::optional<SSHOutput> askShell(const QString &command, const std::stop_token &stop,
                                      const SSHStreams &streams = {});
    std::function<QByteArray()> paced(const std::function<QByteArray()> &next, const std::stop_token &stop);
    bool pack(const QString &command, const QString &folder, SSHStreams streams, const std::stop_token &stop);
    /// Runs a command that changes what is at the paths; false when the account has no shell to run it. It is ended
    /// when this is stopped: by itself it goes on when its client is gone.
    bool changeByShell(const QString &command, const QStringList &paths, const QString &action,
                       const std::stop_token &stop);
    void endOnServer(const QString &commandLine);
    /// What a shell command prints; nothing when the account has no shell to run it.
    std::optional<QString> runShell(const QString &command, const QString &action, const std::stop_token &stop,
                                    const SSHStreams &streams = {});
    /// The row of what `path` leads to, links followed; nothing when there is nothing.
    std::optional<FileItem> followed(const QString &path, const std::stop_token &stop);
    /// Uploads; returns where the file went instead when `toRemote` is a folder.
    std::optional<QString> put(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                               const std::stop_token &stop);
    void refuseExisting(const QString &path, const std::stop_token &stop);
    enum class Times { ofTheCopy, kept };
    void downloadTree(const QString &remotePath, const QString &toLocal, Times times, const std::stop_token &stop);
    void uploadTree(const QString &localPath, const QString &toRemote, Times times, const std::stop_token &stop);
    void runRecursiveCopy(SFTPBatch batch, const std::stop_token &stop);
    void copyOnServer(const QString &source, const QString &destination, Times times, const std::stop_token &stop);
    void copyThroughThisMachine(const QString &source, const QString &destination, Times times,
                                const std::stop_token &stop);
    /// For servers that rename over nothing: what stands at the destination steps aside first, and comes back when
    /// the source cannot take its place. False, with nothing changed, where that does not help.
    bool replaceByDetour(const QString &source, const QString &destination, const std::stop_token &stop);

    ServerConnection m_server;
    ConnectionCredentials m_credentials;
    SFTPProcessRunner m_runner;
    /// Never null.
    std::shared_ptr<TransferSpeed> m_speed;
    mutable SSHLanes m_lanes{m_runner};
    /// Found out by the first command; each one would cost a connection's worth of answers for nothing.
    std::atomic<bool> m_lacksShell = false;
    /// Found out by the first steps: its commands are of another kind.
    std::atomic<bool> m_lacksStepCommands = false;

    mutable std::mutex m_mutex;
    bool m_isConnected = false;
    /// Whether this is one of the users of the shared connection.
    bool m_hasJoined = false;
    std::shared_ptr<std::atomic<bool>> m_isEnded;
    QString m_home;
    std::optional<QString> m_tempIdentityPath;
};

} // namespace moorix
