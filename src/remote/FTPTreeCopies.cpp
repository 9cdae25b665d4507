// SPDX-License-Identifier: GPL-3.0-or-later
// Whole folders on their way between the server and this machine, many files on one connection.
#include "remote/FTPService.h"

#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/NativePath.h"
#include "platform/PrivateFolder.h"

#include <QDir>

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>

namespace moorix {

namespace {

const RemoteFileService::Advanced nobodyWatches = [](std::size_t) {};

QString unable(const QString &path, const QString &done)
{
    return QStringLiteral("“%1” could not be %2").arg(Format::display(path), done);
}

void makeLocalFolder(const QString &path)
{
    if (::mkdir(NativePath::bytes(path).constData(), 0777) != 0 && errno != EEXIST) {
        throw FileServiceError::operationFailed(
            unable(path, QStringLiteral("created: %1").arg(systemErrorText(errno))));
    }
}

void throwIfSkipped(const QStringList &skipped)
{
    if (!skipped.isEmpty()) {
        throw FileServiceError::operationFailed(QStringLiteral("Copied without these links, which cannot be sent:\n") +
                                                skipped.join(u'\n'));
    }
}

void throwIfFailed(const std::vector<RemoteCopy> &copies)
{
    const auto failed = std::find_if(copies.begin(), copies.end(),
                                     [](const RemoteCopy &copy) { return copy.state == RemoteCopy::State::failed; });
    if (failed != copies.end())
        throw FileServiceError::operationFailed(failed->failure);
}

} // namespace

void FTPService::downloadRecursive(const QString &remotePath, const QString &toLocal, const std::stop_token &stop)
{
    struct ::stat status = {};
    const bool isThere = ::stat(NativePath::bytes(toLocal).constData(), &status) == 0 && S_ISDIR(status.st_mode);
    QStringList skipped;
    downloadFolder(remotePath, isThere ? Format::join(toLocal, Format::fileName(remotePath)) : toLocal, skipped, stop);
    throwIfSkipped(skipped);
}

void FTPService::downloadFolder(const QString &remotePath, const QString &localPath, QStringList &skipped,
                                const std::stop_token &stop)
{
    const QList<FileItem> items = list(remotePath, HiddenFiles::included, stop);
    makeLocalFolder(localPath);
    std::vector<RemoteCopy> files;
    for (const FileItem &item : items) {
        const QString local = Format::join(localPath, item.name);
        if (item.isSymlink)
            skipped << item.path;
        else if (item.isDirectory)
            downloadFolder(item.path, local, skipped, stop);
        else
            files.push_back({item.path, local});
    }
    fetchAll(files, {}, nobodyWatches, stop);
    throwIfFailed(files);
}

void FTPService::uploadRecursive(const QString &localPath, const QString &toRemote, const std::stop_token &stop)
{
    const std::optional<FileItem> existing = stat(toRemote, stop);
    QStringList skipped;
    uploadFolder(localPath, existing ? Format::join(toRemote, Format::fileName(localPath)) : toRemote, skipped, stop);
    throwIfSkipped(skipped);
}

void FTPService::uploadFolder(const QString &localPath, const QString &remotePath, QStringList &skipped,
                              const std::stop_token &stop)
{
    const QList<FileItem> items = LocalFileService().list(localPath, HiddenFiles::included, stop);
    const FTPReply made = command({"MKD " + native(remotePath)}, stop).constFirst();
    if (made.isRefusal() && !stat(remotePath, stop))
        createDirectory(remotePath, stop);
    std::vector<RemoteCopy> files;
    for (const FileItem &item : items) {
        const QString remote = Format::join(remotePath, item.name);
        if (item.isSymlink)
            skipped << item.path;
        else if (item.isDirectory)
            uploadFolder(item.path, remote, skipped, stop);
        else
            files.push_back({item.path, remote});
    }
    storeAll(files, nobodyWatches, stop);
    throwIfFailed(files);
}

void FTPService::copy(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    refuseExisting(toPath, stop);
    copyRemote(item.path, toPath, stop);
}

void FTPService::copyRemote(const QString &source, const QString &destination, const std::stop_token &stop)
{
    const PrivateFolder folder(QStringLiteral("moorix-copy-"));
    const QString local = folder.path() + QStringLiteral("/copy");
    FileItem item;
    item.path = source;
    if (followLink(item, stop).isDirectory) {
        QStringList skipped;
        downloadFolder(source, local, skipped, stop);
        uploadFolder(local, destination, skipped, stop);
        throwIfSkipped(skipped);
    } else {
        download(source, local, {}, stop);
        put(local, destination, {}, stop);
    }
}

} // namespace moorix
