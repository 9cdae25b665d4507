// SPDX-License-Identifier: GPL-3.0-or-later
// Whole folders on their way between the server and this machine, many files on one connection.
#include "remote/FTPService.h"

#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/NativePath.h"
#include "platform/AppPaths.h"

#include <QDir>
#include <QTemporaryDir>

#include <cerrno>
#include <sys/stat.h>

namespace moorix {

namespace {

/// Files that share one run, and so one connection.
constexpr qsizetype mostFilesAtOnce = 100;

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

} // namespace

void FTPService::runPairs(const QList<Pair> &files, const QString &done,
                          const std::function<void(CurlConfig &, const Pair &)> &add, const std::stop_token &stop)
{
    const FTPLogin current = login();
    for (qsizetype start = 0; start < files.size(); start += mostFilesAtOnce) {
        const QList<Pair> some = files.mid(start, mostFilesAtOnce);
        CurlRequest request;
        request.longest = std::chrono::seconds(0);
        request.config.set("ftp-method", "nocwd");
        request.config.set("speed-limit", "1");
        request.config.set("speed-time", QByteArray::number(qlonglong(m_patience.standstill.count())));
        for (const auto &file : some)
            add(request.config, file);
        const QList<CurlTransfer> transfers = m_runner.run(current, request, stop);
        for (qsizetype i = 0; i < transfers.size(); ++i) {
            if (transfers.at(i).exitCode != 0)
                fail(transfers.at(i), some.at(i).first, unable(some.at(i).first, done), stop);
        }
        if (transfers.size() < some.size()) {
            throw FileServiceError::operationFailed(
                unable(some.at(transfers.size()).first, done + QStringLiteral(": curl ended before.")));
        }
    }
}

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
    QList<Pair> files;
    for (const FileItem &item : items) {
        const QString local = Format::join(localPath, item.name);
        if (item.isSymlink)
            skipped << item.path;
        else if (item.isDirectory)
            downloadFolder(item.path, local, skipped, stop);
        else
            files.append({item.path, local});
    }
    const FTPLogin current = login();
    const auto add = [&](CurlConfig &config, const Pair &file) {
        config.set("output", NativePath::bytes(file.second));
        config.set("url", urlOf(current, file.first));
    };
    runPairs(files, QStringLiteral("downloaded"), add, stop);
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
    QList<Pair> files;
    for (const FileItem &item : items) {
        const QString remote = Format::join(remotePath, item.name);
        if (item.isSymlink)
            skipped << item.path;
        else if (item.isDirectory)
            uploadFolder(item.path, remote, skipped, stop);
        else
            files.append({item.path, remote});
    }
    const FTPLogin current = login();
    const auto add = [&](CurlConfig &config, const Pair &file) {
        config.set("upload-file", NativePath::bytes(file.first));
        config.set("url", urlOf(current, file.second));
    };
    runPairs(files, QStringLiteral("uploaded"), add, stop);
}

void FTPService::copy(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    refuseExisting(toPath, stop);
    copyRemote(item.path, toPath, stop);
}

void FTPService::copyRemote(const QString &source, const QString &destination, const std::stop_token &stop)
{
    const QTemporaryDir folder(QDir(AppPaths::temporaryFolder()).filePath(QStringLiteral("moorix-copy-XXXXXX")));
    if (!folder.isValid())
        throw FileServiceError::operationFailed(unable(source, QStringLiteral("copied: ")) + folder.errorString());
    const QString local = folder.filePath(QStringLiteral("copy"));
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
