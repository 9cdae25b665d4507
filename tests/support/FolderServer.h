// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileServiceError.h"
#include "files/RemoteFileService.h"
#include "platform/SystemProcessRunner.h"
#include "support/DiskFileService.h"
#include "support/TestTree.h"

#include <QCryptographicHash>
#include <QFile>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <unistd.h>

namespace moorix::test {

/// A server whose files are those of this machine, at the same paths. As plain as a real one: copies are made in
/// place, and it can be told to break them. Faults are set before it is used.
class FolderServer final : public DiskFileService<RemoteFileService>
{
public:
    using Options = const RemoteTransferOptions &;
    using Copies = std::vector<RemoteCopy> &;
    using Sums = QHash<QString, QByteArray>;

    /// Called when half of a file has gone either way; may throw, or change what is being copied.
    std::function<void(const QString &source)> halfway;
    /// Files arrive with half of their bytes, reported as success.
    bool losesHalf = false;
    /// The second half of files arrives as something else of the same size. May be set while a file is halfway.
    std::atomic<bool> garbles = false;
    /// The link breaks when the next steps have been taken, before it can tell.
    std::atomic<bool> losesAnswer = false;
    /// A folder that the account may not read.
    QString unreadable;
    /// What it says its times are worth.
    ListedTimes times;
    /// It can compute checksums.
    bool hasShell = false;
    /// Whether to ask it for a shell.
    bool mayHaveShell = true;
    /// Its disk takes names that differ by case for one.
    bool ignoresCase = false;
    /// Files can travel together.
    bool isTakingMany = false;
    /// What it sends instead of the archive of a folder.
    QByteArray archive;
    /// Files that went up or down one by one.
    std::atomic<int> filesCarried = 0;
    /// What `connect` throws.
    std::function<void(const std::stop_token &)> connecting;
    /// Called before each listing; may throw.
    std::function<void(const std::stop_token &)> listing;
    std::atomic<int> connects = 0;
    /// Counts disconnects, if set; may outlive the server.
    std::shared_ptr<std::atomic<int>> farewells;

    void connect(const std::stop_token &stop) override
    {
        ++connects;
        if (connecting)
            connecting(stop);
        m_isConnected = true;
    }
    void disconnect() noexcept override
    {
        if (farewells)
            ++*farewells;
        m_isConnected = false;
    }
    QList<FileItem> list(Path path, HiddenFiles hidden, Stop stop) override
    {
        if (!m_isConnected)
            throw FileServiceError::notConnected();
        if (listing)
            listing(stop);
        if (path == unreadable)
            throw FileServiceError::operationFailed(QStringLiteral("Permission denied"));
        return DiskFileService::list(path, hidden, stop);
    }
    void remove(Item item, Stop stop) override
    {
        requireThere(item);
        DiskFileService::remove(item, stop);
    }
    FileItem followLink(Item link, Stop stop) override
    {
        requireThere(link);
        return DiskFileService::followLink(link, stop);
    }
    void download(Path from, Path to, Options options, Stop stop) override { carry(from, to, options, stop); }
    void upload(Path from, Path to, Options options, Stop stop) override { carry(from, to, options, stop); }
    ListedTimes listedTimes() const override { return times; }
    bool takesMany() const override { return isTakingMany; }
    void uploadAll(Copies copies, const Advanced &advanced, Stop stop) override { carryAll(copies, advanced, stop); }
    void downloadAll(Copies copies, const Advanced &advanced, Stop stop) override { carryAll(copies, advanced, stop); }
    void takeSteps(std::vector<RemoteStep> &steps, Stop stop) override
    {
        const std::lock_guard lock(m_stepping);
        for (RemoteStep &step : steps) {
            if (step.state != RemoteStep::State::open)
                continue;
            step.state = RemoteStep::State::done;
            try {
                if (step.kind == RemoteStep::Kind::setMode)
                    m_disk.setPermissions(step.path, step.octal, Recursive::no, stop);
                else if (step.kind == RemoteStep::Kind::replace)
                    moveRemote(step.path, step.toPath, stop);
                else if (step.isRename() && !twinOf(step.toPath, stop).isEmpty())
                    throw FileServiceError::operationFailed(QStringLiteral("rename: Failure"));
                else if (step.isRename())
                    m_disk.move(m_disk.stat(step.path, stop).value(), step.toPath, stop);
                else if (step.kind == RemoteStep::Kind::removeFolder)
                    removeFolder(step.path);
                else if (const auto item = m_disk.stat(step.path, stop))
                    m_disk.remove(*item, stop);
            } catch (const std::exception &error) {
                step.state = RemoteStep::State::failed;
                step.failure = QString::fromUtf8(error.what());
            }
        }
        if (losesAnswer.exchange(false)) {
            for (RemoteStep &step : steps)
                step.state = RemoteStep::State::open;
            throw FileServiceError::connectionFailed(QStringLiteral("gone"));
        }
    }
    std::optional<Sums> checksums(const QStringList &paths, Stop stop) override
    {
        if (!hasShell)
            return std::nullopt;
        Sums sums;
        for (const QString &path : paths)
            sums.insert(path, QCryptographicHash::hash(m_disk.read(path, stop), QCryptographicHash::Sha256));
        return sums;
    }
    bool mayTakeArchives() const override { return mayHaveShell; }
    std::optional<Sums> unpackArchive(Path folder, const std::function<QByteArray()> &next, Stop stop) override
    {
        if (!hasShell)
            return std::nullopt;
        m_disk.createDirectory(folder, stop);
        ProcessRequest request;
        request.moreInput = next;
        runTar(request, {QStringLiteral("-xpoC"), folder}, stop);
        if (garbles)
            m_disk.write("*", folder + QStringLiteral("/1"), stop);
        Sums sums;
        const TreeSnapshot tree = snapshotOf(folder);
        for (auto file = tree.cbegin(); file != tree.cend(); ++file)
            sums.insert(file.key(), QCryptographicHash::hash(file.value(), QCryptographicHash::Sha256));
        return sums;
    }
    bool packArchive(Path folder, const std::function<void(QByteArrayView)> &take, Stop stop) override
    {
        if (!hasShell)
            return false;
        if (!archive.isEmpty()) {
            take(archive);
            return true;
        }
        ProcessRequest request;
        request.takeOutput = take;
        runTar(request, {QStringLiteral("-cC"), folder, QStringLiteral(".")}, stop);
        return true;
    }
    void downloadRecursive(Path, Path, Stop) override { Q_UNREACHABLE(); }
    void uploadRecursive(Path, Path, Stop) override { Q_UNREACHABLE(); }
    void copyRemote(Path, Path, Stop) override { Q_UNREACHABLE(); }
    void moveRemote(Path source, Path destination, Stop stop) override
    {
        if (const QString twin = twinOf(destination, stop); !twin.isEmpty())
            QFile::remove(twin);
        if (::rename(QFile::encodeName(source).constData(), QFile::encodeName(destination).constData()) != 0)
            throw FileServiceError::operationFailed(QStringLiteral("rename: Failure"));
    }

private:
    QString twinOf(Path path, Stop stop)
    {
        if (ignoresCase) {
            for (const FileItem &item : m_disk.list(Format::parent(path), HiddenFiles::included, stop)) {
                if (item.path != path && item.path.compare(path, Qt::CaseInsensitive) == 0)
                    return item.path;
            }
        }
        return {};
    }

    void requireThere(const FileItem &item)
    {
        if (!m_disk.stat(item.path, {}))
            throw FileServiceError::notFound(item.path);
    }

    static void removeFolder(Path path)
    {
        if (::rmdir(QFile::encodeName(path).constData()) != 0 && errno != ENOENT)
            throw FileServiceError::operationFailed(QStringLiteral("rmdir: Failure"));
    }

    void runTar(ProcessRequest &request, const QStringList &arguments, Stop stop) const
    {
        request.program = QStringLiteral("tar");
        request.arguments = QStringList{QStringLiteral("-f"), QStringLiteral("-")} + arguments;
        const ProcessResult result = SystemProcessRunner().run(request, stop);
        if (halfway)
            halfway(QString());
        if (result.exitCode != 0)
            throw FileServiceError::operationFailed(QString::fromUtf8(result.standardError));
    }

    void carryAll(Copies copies, const Advanced &advanced, Stop stop)
    {
        for (std::size_t i = 0; i < copies.size(); ++i) {
            RemoteCopy &copy = copies.at(i);
            if (copy.state != RemoteCopy::State::open)
                continue;
            try {
                carry(copy.from, copy.to, {true, {}}, stop);
                advanced(i);
                copy.copiedBytes = m_disk.stat(copy.to, stop)->size;
                copy.state = RemoteCopy::State::arrived;
            } catch (const FileServiceError &error) {
                if (error.kind() != FileServiceError::Case::operationFailed)
                    throw;
                copy.state = RemoteCopy::State::failed;
                copy.failure = error.message();
            }
        }
    }

    void carry(Path from, Path to, Options options, Stop stop)
    {
        ++filesCarried;
        QByteArray bytes = LocalFileService().read(from, stop);
        QFile target(to);
        const auto mode = options.resumes ? QIODevice::Append : QIODevice::WriteOnly;
        if (!target.open(mode | QIODevice::Unbuffered))
            throw FileServiceError::operationFailed(QStringLiteral("open: ") + target.errorString());
        const qint64 held = options.resumes ? target.size() : 0;
        bytes.remove(0, held);
        target.write(bytes.left(bytes.size() / 2));
        if (options.progress)
            options.progress(held + bytes.size() / 2);
        if (halfway)
            halfway(from);
        if (stop.stop_requested())
            throw Cancelled();
        const QByteArray rest = bytes.mid(bytes.size() / 2);
        if (!losesHalf)
            target.write(garbles ? QByteArray(rest.size(), '*') : rest);
        if (!options.keepsTimes)
            return;
        const QFile source(from);
        target.setPermissions(source.permissions());
        target.setFileTime(source.fileTime(QFile::FileModificationTime), QFile::FileModificationTime);
    }

    std::mutex m_stepping;
    std::atomic<bool> m_isConnected = true;
};

} // namespace moorix::test
