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

/// What was downloaded carries no mode; the listing of its original does.
void applyMode(const FileItem &original, const QString &local)
{
    const std::optional<QString> octal = Format::octalMode(original.permissions);
    if (octal && ::chmod(NativePath::bytes(local).constData(), octal->toUInt(nullptr, 8) & 0777) != 0) {
        throw FileServiceError::operationFailed(
            unable(local, QStringLiteral("given its mode: %1").arg(systemErrorText(errno))));
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
    TreeCopy copy;
    downloadFolder(remotePath, isThere ? Format::join(toLocal, Format::fileName(remotePath)) : toLocal, copy, stop);
    throwIfSkipped(copy.skipped);
}

void FTPService::downloadFolder(const QString &remotePath, const QString &localPath, TreeCopy &copy,
                                const std::stop_token &stop)
{
    const QList<FileItem> items = list(remotePath, HiddenFiles::included, stop);
    makeLocalFolder(localPath);
    std::vector<RemoteCopy> files;
    for (const FileItem &item : items) {
        const QString local = Format::join(localPath, item.name);
        if (item.isSymlink)
            copy.skipped << item.path;
        else if (item.isDirectory)
            downloadFolder(item.path, local, copy, stop);
        else
            files.push_back({item.path, local});
    }
    CurlConfig options;
    if (copy.keepsTimes)
        options.flag("remote-time");
    fetchAll(files, options, nobodyWatches, stop);
    throwIfFailed(files);
    for (const FileItem &item : items) {
        if (copy.keepsTimes && !item.isSymlink && !item.isDirectory)
            applyMode(item, Format::join(localPath, item.name));
    }
}

void FTPService::uploadRecursive(const QString &localPath, const QString &toRemote, const std::stop_token &stop)
{
    const std::optional<FileItem> existing = stat(toRemote, stop);
    TreeCopy copy;
    uploadFolder(localPath, existing ? Format::join(toRemote, Format::fileName(localPath)) : toRemote, copy, stop);
    throwIfSkipped(copy.skipped);
}

void FTPService::uploadFolder(const QString &localPath, const QString &remotePath, TreeCopy &copy,
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
            copy.skipped << item.path;
        else if (item.isDirectory)
            uploadFolder(item.path, remote, copy, stop);
        else
            files.push_back({item.path, remote});
    }
    if (copy.keepsTimes)
        uploadAll(files, nobodyWatches, stop);
    else
        storeAll(files, nobodyWatches, stop);
    throwIfFailed(files);
}

void FTPService::copy(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    refuseTaken({}, toPath, stop);
    copyThroughThisMachine(followLink(item, stop), toPath, true, stop);
}

void FTPService::copyRemote(const QString &source, const QString &destination, const std::stop_token &stop)
{
    FileItem item;
    item.path = source;
    copyThroughThisMachine(followLink(item, stop), destination, false, stop);
}

void FTPService::copyThroughThisMachine(const FileItem &item, const QString &destination, bool keepsTimes,
                                        const std::stop_token &stop)
{
    const PrivateFolder folder(QStringLiteral("moorix-copy-"));
    const QString local = folder.path() + QStringLiteral("/copy");
    if (item.isDirectory) {
        TreeCopy copy{keepsTimes};
        downloadFolder(item.path, local, copy, stop);
        uploadFolder(local, destination, copy, stop);
        throwIfSkipped(copy.skipped);
        return;
    }
    RemoteTransferOptions options;
    options.keepsTimes = keepsTimes;
    download(item.path, local, options, stop);
    if (keepsTimes)
        applyMode(item, local);
    put(local, destination, options, stop);
}

} // namespace moorix
