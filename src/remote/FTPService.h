// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/RemoteFileService.h"
#include "remote/CurlRunner.h"
#include "remote/FTPCertificates.h"
#include "remote/RemoteCharset.h"
#include "remote/RemoteTree.h"

#include <QHash>
#include <QSet>

#include <atomic>
#include <mutex>

namespace moorix {

struct FTPListing;

/// How long an FTP server may take.
struct FTPPatience
{
    /// For a few commands, logging in included.
    std::chrono::seconds command{90};
    /// Without a single byte of a file moving.
    std::chrono::seconds standstill{60};
};

/// Files of a server whose protocol is FTP or FTPS. Every operation is a run of curl with a login of its own: no
/// session lives between two of them. All operations before `connect` and after `disconnect` throw notConnected. Safe
/// to use from several threads.
///
/// With encryption, the server's key is remembered on first contact and expected from then on, unless the record asks
/// for a certificate that the system's authorities vouch for. Listings are taken to be in UTC until one holds a file by
/// which the server's zone can be found out.
class FTPService final : public RemoteFileService
{
public:
    FTPService(ServerConnection server, ConnectionCredentials credentials, std::shared_ptr<ProcessRunner> processes,
               FTPCertificates certificates = FTPCertificates::ofThisUser(), FTPPatience patience = {},
               std::shared_ptr<TransferSpeed> speed = nullptr);
    ~FTPService() override;
    Q_DISABLE_COPY_MOVE(FTPService)

    const ServerConnection &server() const { return m_server; }
    bool isConnected() const;

    /// Logs in and learns the folder the login opens on. Throws connectionFailed or authFailed with the reason.
    void connect(const std::stop_token &stop) override;
    void disconnect() noexcept override;
    QString defaultDirectory(const std::stop_token &stop) override;
    /// Always with hidden entries, where the server shows them at all. Throws rather than showing a part.
    QList<FileItem> list(const QString &path, HiddenFiles hidden, const std::stop_token &stop) override;
    ListedTimes listedTimes() const override { return {ListedTimes::Precision::minutesOrDays, Qt::UTC}; }
    ListedTree listTree(const QString &folder, const TreeProgress &onProgress, const std::stop_token &stop) override;
    void createDirectory(const QString &path, const std::stop_token &stop) override;
    /// Goes on past entries that cannot be removed; operationFailed then names the first.
    void remove(const FileItem &item, const std::stop_token &stop) override;
    void rename(const FileItem &item, const QString &newName, const std::stop_token &stop) override;
    QByteArray read(const QString &path, const std::stop_token &stop) override;
    /// Replaces the file in one step once all bytes are on the server, where the folder lets it.
    void write(const QByteArray &data, const QString &path, const std::stop_token &stop) override;
    /// Links below a folder are left out, as the change would reach what they lead to.
    void setPermissions(const QString &path, const QString &octal, Recursive recursive,
                        const std::stop_token &stop) override;

    std::optional<FileItem> stat(const QString &path, const std::stop_token &stop) override;
    bool exists(const QString &path, const std::stop_token &stop) override;
    FileItem followLink(const FileItem &link, const std::stop_token &stop) override;
    /// By way of this machine: the protocol has no command for it. Links are left out, and named by operationFailed.
    /// Files keep their times and modes.
    void copy(const FileItem &item, const QString &toPath, const std::stop_token &stop) override;
    void move(const FileItem &item, const QString &toPath, const std::stop_token &stop) override;
    /// Of servers that know the command for it; most do not.
    std::optional<qint64> freeSpace(const QString &path, const std::stop_token &stop) override;

    void download(const QString &remotePath, const QString &toLocal, const RemoteTransferOptions &options,
                  const std::stop_token &stop) override;
    /// Replaces what stands at `toRemote` in one step, as `write` does.
    void upload(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                const std::stop_token &stop) override;
    void downloadRecursive(const QString &remotePath, const QString &toLocal, const std::stop_token &stop) override;
    void uploadRecursive(const QString &localPath, const QString &toRemote, const std::stop_token &stop) override;
    void copyRemote(const QString &source, const QString &destination, const std::stop_token &stop) override;
    void moveRemote(const QString &source, const QString &destination, const std::stop_token &stop) override;
    bool renameBeside(const QString &path, const QString &toPath, const std::stop_token &stop) override;
    bool keepsModes() const override { return false; }
    void requireAddressable(const QString &path) const override;
    TransferSpeed *speed() const override { return m_speed.get(); }
    bool takesMany() const override { return true; }
    int lanesForMany() const override;
    void uploadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop) override;
    void downloadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop) override;
    void takeSteps(std::vector<RemoteStep> &steps, const std::stop_token &stop) override;

private:
    /// The login in force; throws notConnected.
    FTPLogin login() const;
    void trustOnFirstContact(FTPLogin &login, const std::stop_token &stop);
    RemoteCharset charset() const { return RemoteCharset(m_server.charset); }
    /// A path in the server's bytes; throws operationFailed for one that cannot be sent.
    QByteArray native(const QString &path) const;
    QByteArray urlOf(const FTPLogin &login, const QString &path) const { return CurlRunner::url(login, native(path)); }
    QByteArray urlOfFolder(const FTPLogin &login, const QString &path) const;

    void limitSpeed(CurlConfig &config) const;

    /// Sends the commands one after the other and returns the reply to each, refusals too.
    QList<FTPReply> command(const QList<QByteArray> &commands, const std::stop_token &stop);
    QList<FTPReply> command(const QList<QByteArray> &commands, std::chrono::seconds longest,
                            const std::stop_token &stop);
    /// Throws the failure of something done to `path`; asks the server what is there where its words do not tell.
    [[noreturn]] void fail(const CurlTransfer &failure, const QString &path, const QString &sentence,
                           const std::stop_token &stop);

    /// `before` goes to the server ahead of each listing; refusals of it count for nothing.
    CurlConfig listingConfig(const QStringList &folders, const QByteArray &command,
                             const QList<QByteArray> &before) const;
    QList<CurlTransfer> listings(const QStringList &folders, const QByteArray &command, const std::stop_token &stop,
                                 const QList<QByteArray> &before = {});
    FTPListing readListing(const CurlTransfer &transfer, const QString &folder, const std::stop_token &stop);
    /// Finds out, once, in which zone the server has listed these files.
    void learnZone(const QList<FileItem> &files, const std::stop_token &stop);
    /// The entries of a listing that ended well, or nothing when another command may bring more.
    std::optional<QList<FileItem>> entries(const CurlTransfer &transfer, const QString &folder,
                                           const std::stop_token &stop);
    using TakeListing = std::function<void(ListedFolder &folder, const CurlTransfer &transfer)>;
    /// Has those that are open listed by the command, over one connection as far as it goes.
    void askEach(std::span<ListedFolder> folders, const QByteArray &command, const TakeListing &take,
                 const std::stop_token &stop);
    void listEach(std::span<ListedFolder> folders, const std::stop_token &stop);
    void commandForEach(const QList<QByteArray> &commands, const QStringList &paths, const QString &done,
                        const std::stop_token &stop);

    void refuseExisting(const QString &path, const std::stop_token &stop);
    /// Throws where something else than the source stands at `path`, or what the server takes for it. For a copy there
    /// is nothing else: no source is given.
    void refuseTaken(const QString &source, const QString &path, const std::stop_token &stop);
    /// For servers that rename over nothing: what stands at the destination steps aside first, and comes back when
    /// the source cannot take its place. Returns the reply that counts; an Error tells where it is if it did not.
    FTPReply replaceByDetour(const QString &source, const QString &destination);
    enum class Existing { refuse, replace };
    void renameTo(const QString &source, const QString &destination, Existing existing, const std::stop_token &stop);
    void put(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
             const std::stop_token &stop);
    CurlTransfer store(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                       const CurlConfig &afterwards, const std::stop_token &stop);
    void removePart(const QString &part) noexcept;
    /// Servers know one of two commands for a file's time, or none.
    enum class TimeCommand { unknown, mfmt, mdtm, none };
    /// Give the file at `path` the time of the local one. What the server refuses is left as it is.
    static QList<QByteArray> timeCommands(const QString &localPath, const QByteArray &path, TimeCommand known);
    /// The mode of a local file for its copy at `path`, in three octal digits; nothing where none can be given.
    static std::optional<QByteArray> modeFor(const QString &localPath, const QByteArray &path);

    /// Whether a round trip was short enough, at the login, for the stalls that copyAll avoids.
    bool isNear() const;

    using AddCopy = std::function<void(CurlConfig &config, const FTPLogin &login, const RemoteCopy &copy)>;
    /// What ends a run that has carried these, if anything.
    using EndOfRun = std::function<std::optional<CurlConfig>(const std::vector<const RemoteCopy *> &carried)>;
    /// Returns how the end of the run went, where all copies went in one.
    std::optional<CurlTransfer> copyAll(std::vector<RemoteCopy> &copies, CurlConfig common, const AddCopy &add,
                                        const EndOfRun &endOfRun, const Advanced &advanced,
                                        const std::stop_token &stop);
    /// The bytes alone; what came through stays `open`. Returns a listing made after all have got their times, where
    /// the same run could do that, too.
    std::optional<CurlTransfer> storeAll(std::vector<RemoteCopy> &copies, const Advanced &advanced,
                                         const std::stop_token &stop);
    void fetchAll(std::vector<RemoteCopy> &copies, const CurlConfig &common, const Advanced &advanced,
                  const std::stop_token &stop);
    using Carry = std::function<void(std::vector<RemoteCopy> &portion, const Advanced &advanced)>;
    /// All at once, unless the speed is limited.
    void carryInPortions(std::vector<RemoteCopy> &copies, const Carry &carry, const Advanced &advanced,
                         const std::stop_token &stop);
    void uploadPortion(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop);
    void downloadPortion(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop);
    bool takesOlderTLS(const std::stop_token &stop);
    void completeStored(const std::vector<RemoteCopy *> &stored, const std::optional<CurlTransfer> &listing,
                        const std::stop_token &stop);
    QHash<QString, FileItem> listedWithTimes(const std::vector<RemoteCopy *> &stored, const std::stop_token &stop);
    void addListed(const CurlTransfer &listing, const QString &folder, QHash<QString, FileItem> &found,
                   const std::stop_token &stop);
    void learnTimeCommand(const RemoteCopy &copy, const std::stop_token &stop);
    /// Names by folder.
    using Standing = QHash<QString, QSet<QString>>;
    /// Lists the folder at most once.
    bool isThere(const QString &path, Standing &known, const std::stop_token &stop);
    void takeAtOnce(const std::vector<RemoteStep *> &steps, const std::stop_token &stop);
    void settle(RemoteStep &step, const FTPReply &reply, Standing &after, const std::stop_token &stop);
    std::chrono::seconds patienceFor(const QList<QByteArray> &commands) const;

    /// A copy of a whole folder, and the links left out of it.
    struct TreeCopy
    {
        bool keepsTimes = false;
        QStringList skipped = {};
    };
    void downloadFolder(const QString &remotePath, const QString &localPath, TreeCopy &copy,
                        const std::stop_token &stop);
    void uploadFolder(const QString &localPath, const QString &remotePath, TreeCopy &copy, const std::stop_token &stop);
    /// `item` is what any links lead to.
    void copyThroughThisMachine(const FileItem &item, const QString &destination, bool keepsTimes,
                                const std::stop_token &stop);

    const ServerConnection m_server;
    const ConnectionCredentials m_credentials;
    const FTPCertificates m_certificates;
    const FTPPatience m_patience;
    CurlRunner m_runner;
    /// Never null.
    const std::shared_ptr<TransferSpeed> m_speed;
    /// Held while something is found out about the server, so that others wait for it instead of asking, too.
    std::mutex m_learning;
    std::atomic<bool> m_tellsNoFreeSpace = false;
    /// What listings are ahead of UTC, as far as it is known.
    std::atomic<std::chrono::seconds> m_aheadOfUTC = std::chrono::seconds(0);
    /// How often it may still be asked for.
    std::atomic<int> m_zoneTriesLeft = 3;
    std::atomic<TimeCommand> m_timeCommand = TimeCommand::unknown;
    enum class OlderTLS { unknown, taken, refused };
    OlderTLS m_olderTLS = OlderTLS::unknown;

    mutable std::mutex m_mutex;
    bool m_isConnected = false;
    QString m_home;
    std::optional<QByteArray> m_pinnedKey;
    bool m_isNear = false;
};

} // namespace moorix
