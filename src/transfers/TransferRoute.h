// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"
#include "files/ListedTree.h"
#include "transfers/LocalTransfer.h"

#include <QList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace moorix {

class FileService;
class RemoteFileService;
class TransferSpeed;

/// One file on its way.
struct TransferCopy
{
    FileItem file;
    QString toPath;
    localTransfer::Flush flush = localTransfer::Flush::no;
    /// `resumed` where nothing is to go on with, or the route cannot, copies the whole file.
    localTransfer::Start start = localTransfer::Start::fresh;
    std::function<void(qint64 bytes)> progress = {};
};

/// How files get from one service to another: which of the two lies on the local disk, and whether they are one.
/// Knows nothing of conflicts, part names or checks. Worker threads.
class TransferRoute final
{
public:
    TransferRoute(std::shared_ptr<FileService> source, std::shared_ptr<FileService> destination);

    FileService &source() const { return *m_source; }
    FileService &destination() const { return *m_destination; }
    /// Both ends are the local disk, or one server.
    bool isWithinOnePlace() const;
    bool isWithinOneServer() const { return m_sourceServer && isWithinOnePlace(); }
    bool isServerSource() const { return m_sourceServer; }
    bool isLocalDestination() const { return !m_destinationServer; }

    bool isServerDestination() const { return m_destinationServer; }
    /// The servers at the ends, for TransferGate.
    QList<const void *> servers() const;
    /// The limit that files on this way keep to; null where they stay on this machine, or the server copies by itself.
    TransferSpeed *speed() const;

    /// Throws where no command of a server can carry one of the two names. Asks nobody.
    void requireAddressable(const QString &sourcePath, const QString &destinationPath) const;

    /// How much later than shown an entry of one of the ends may really have been modified.
    std::chrono::seconds sourceSlack(const FileItem &item) const { return slack(m_sourceServer, item); }
    std::chrono::seconds destinationSlack(const FileItem &item) const { return slack(m_destinationServer, item); }

    /// What RemoteFileService::listTree tells; nothing for the local disk.
    std::optional<ListedTree> sourceTree(const QString &path, const std::stop_token &stop) const;

    enum class Way { whole, continued };
    /// Copies one file, or a link on the local disk. What it wrote stays when it fails. Throws for links and special
    /// files that this route cannot carry.
    Way copyFile(const TransferCopy &copy, const std::stop_token &stop) const;
    /// Gives what was downloaded the mode that the listing shows of its original, where downloads do not carry it.
    void applyListedMode(const FileItem &original, const QString &copy) const;
    /// The size of what stands at the destination, if anything.
    std::optional<qint64> sizeOfPart(const FileItem &part, const std::stop_token &stop) const;
    /// The size of a file at this moment; throws when it is gone. Cheaper than a stat, for which servers read a folder.
    qint64 sizeAtSource(const FileItem &file, const std::stop_token &stop) const;
    qint64 sizeAtDestination(const FileItem &file, const std::stop_token &stop) const;
    /// Renames within the destination. Returns false, having done nothing, between two local file systems.
    [[nodiscard]] bool rename(const FileItem &item, const QString &toPath, localTransfer::Existing existing,
                              const std::stop_token &stop) const;
    /// Whether what the destination holds at `path` can be seen at the source, in the folder of `original`: the two
    /// folders are one then, reached in two ways. `path` must have a name that nothing else bears.
    bool isBesideOriginal(const QString &path, const QString &original, const std::stop_token &stop) const;
    /// Whether the two paths are one place, or `path` lies inside `folder`.
    bool isInside(const QString &path, const QString &folder) const;
    bool isSame(const QString &sourcePath, const QString &destinationPath) const;

private:
    static std::chrono::seconds slack(const RemoteFileService *server, const FileItem &item);
    void copyLink(const TransferCopy &copy, const std::stop_token &stop) const;
    Way copyOnDisk(const TransferCopy &copy, const std::stop_token &stop) const;
    Way download(const TransferCopy &copy, const std::stop_token &stop) const;
    Way upload(const TransferCopy &copy, const std::stop_token &stop) const;
    void copyThroughThisMachine(const TransferCopy &copy, const std::stop_token &stop) const;
    void copyOnServer(const TransferCopy &copy, const std::stop_token &stop) const;
    void moveOnServer(const FileItem &item, const QString &toPath, const std::stop_token &stop) const;
    QString place(const QString &path) const;

    std::shared_ptr<FileService> m_source;
    std::shared_ptr<FileService> m_destination;
    /// Null for the local disk.
    RemoteFileService *m_sourceServer;
    RemoteFileService *m_destinationServer;
};

} // namespace moorix
