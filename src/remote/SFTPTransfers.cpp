// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPService.h"

#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/TransferSpeed.h"
#include "platform/PrivateFolder.h"
#include "remote/SFTPQuoting.h"
#include "remote/TransferProgress.h"

#include <QDir>
#include <QFileInfo>

namespace moorix {

using SFTPQuoting::sftpPath;

namespace {

QString pair(const QString &from, const QString &to)
{
    return sftpPath(from) + u' ' + sftpPath(to);
}

/// "get -ap " and the like.
QString copyCommand(const QString &name, const RemoteTransferOptions &options)
{
    QString flags;
    if (options.resumes)
        flags += u'a';
    if (options.keepsTimes)
        flags += u'p';
    return flags.isEmpty() ? name + u' ' : QStringLiteral("%1 -%2 ").arg(name, flags);
}

QString action(const QString &from, const QString &done)
{
    return QStringLiteral("“%1” could not be %2").arg(Format::display(from), done);
}

} // namespace

void SFTPService::download(const QString &remotePath, const QString &toLocal, const RemoteTransferOptions &options,
                           const std::stop_token &stop)
{
    SFTPBatch batch;
    batch.commands = {copyCommand(QStringLiteral("get"), options) + pair(remotePath, toLocal)};
    batch.subject = remotePath;
    batch.action = action(remotePath, QStringLiteral("downloaded"));
    batch.whileRunning = TransferProgress::ofDownload(toLocal, options.progress);
    const qint64 held = options.resumes ? QFileInfo(toLocal).size() : 0;
    const auto began = TransferSpeed::Clock::now();
    runCopy(std::move(batch), stop);
    m_speed->count(QFileInfo(toLocal).size() - held, began);
}

SFTPOutput SFTPService::runCopy(SFTPBatch batch, const std::stop_token &stop)
{
    batch.bytesPerSecond = m_speed->limit();
    return run(batch, stop);
}

void SFTPService::upload(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                         const std::stop_token &stop)
{
    if (const std::optional<QString> inside = put(localPath, toRemote, options, stop)) {
        throw FileServiceError::operationFailed(
            QStringLiteral("“%1” is a folder; the file was copied into it.").arg(Format::display(toRemote)));
    }
}

std::optional<QString> SFTPService::put(const QString &localPath, const QString &toRemote,
                                        const RemoteTransferOptions &options, const std::stop_token &stop)
{
    const qint64 sizeBefore = QFileInfo(localPath).size();
    SFTPBatch batch;
    batch.commands = {copyCommand(QStringLiteral("put"), options) + pair(localPath, toRemote)};
    batch.subject = Format::parent(toRemote);
    batch.action = action(localPath, QStringLiteral("uploaded"));
    batch.whileRunning = TransferProgress::ofUpload(localPath, options.progress, m_speed->limit());
    const auto began = TransferSpeed::Clock::now();
    const QString said = runCopy(std::move(batch), stop).text;
    if (!options.resumes)
        m_speed->count(sizeBefore, began);
    // The client says nothing about a file that shrinks under its hands.
    if (QFileInfo(localPath).size() < sizeBefore) {
        throw FileServiceError::operationFailed(
            action(localPath, QStringLiteral("uploaded whole: it became smaller while it was sent.")));
    }
    const QString inside = Format::join(toRemote, Format::fileName(localPath));
    const bool wentInside = said.contains(QStringLiteral(" to %1\n").arg(inside));
    return wentInside ? std::optional(inside) : std::nullopt;
}

void SFTPService::downloadRecursive(const QString &remotePath, const QString &toLocal, const std::stop_token &stop)
{
    downloadTree(remotePath, toLocal, Times::ofTheCopy, stop);
}

void SFTPService::downloadTree(const QString &remotePath, const QString &toLocal, Times times,
                               const std::stop_token &stop)
{
    SFTPBatch batch;
    const QString command = times == Times::kept ? QStringLiteral("get -rp ") : QStringLiteral("get -r ");
    batch.commands = {command + pair(remotePath, toLocal)};
    batch.subject = remotePath;
    batch.action = action(remotePath, QStringLiteral("downloaded"));
    runRecursiveCopy(std::move(batch), stop);
}

void SFTPService::uploadRecursive(const QString &localPath, const QString &toRemote, const std::stop_token &stop)
{
    uploadTree(localPath, toRemote, Times::ofTheCopy, stop);
}

void SFTPService::uploadTree(const QString &localPath, const QString &toRemote, Times times,
                             const std::stop_token &stop)
{
    SFTPBatch batch;
    const QString command = times == Times::kept ? QStringLiteral("put -rp ") : QStringLiteral("put -r ");
    batch.commands = {command + pair(localPath, toRemote)};
    batch.action = action(localPath, QStringLiteral("uploaded"));
    runRecursiveCopy(std::move(batch), stop);
}

void SFTPService::copyRemote(const QString &source, const QString &destination, const std::stop_token &stop)
{
    copyOnServer(source, destination, Times::ofTheCopy, stop);
}

void SFTPService::copyOnServer(const QString &source, const QString &destination, Times times,
                               const std::stop_token &stop)
{
    const QString command = times == Times::kept ? QStringLiteral("cp -rp") : QStringLiteral("cp -r");
    if (!changeByShell(command, {source, destination}, action(source, QStringLiteral("copied")), stop))
        copyThroughThisMachine(source, destination, times, stop);
}

void SFTPService::moveRemote(const QString &source, const QString &destination, const std::stop_token &stop)
{
    SFTPBatch batch;
    batch.commands = {QStringLiteral("rename ") + pair(source, destination)};
    // Between two folders either of them may be what is missing.
    if (Format::parent(source) == Format::parent(destination))
        batch.subject = source;
    batch.action = action(source, QStringLiteral("moved to “%1”").arg(Format::display(destination)));
    try {
        run(batch, stop);
    } catch (const FileServiceError &error) {
        // Between two folders it is more likely something else that is in the way.
        const bool mayBeInTheWay = error.kind() == FileServiceError::Case::operationFailed &&
                                   Format::parent(source) == Format::parent(destination);
        if (!mayBeInTheWay || !replaceByDetour(source, destination, stop))
            throw;
    }
}

bool SFTPService::replaceByDetour(const QString &source, const QString &destination, const std::stop_token &stop)
{
    const std::optional<FileItem> standing = stat(destination, stop);
    if (!standing || (standing->isDirectory && !standing->isSymlink))
        return false;
    const QString aside = LocalDisk::partPath(destination);
    const QString whereItIs = QStringLiteral("\nIf “%1” is missing, what it held is “%2” beside it.")
                                  .arg(Format::display(destination), Format::display(Format::fileName(aside)));
    // Whatever happens in between, something must stand at the destination in the end: hence no stop.
    const auto isDone = [this](const QString &command) {
        SFTPBatch step;
        step.commands = {command};
        try {
            run(step, {});
            return true;
        } catch (const FileServiceError &error) {
            if (error.isOfConnection())
                throw;
            return false;
        }
    };
    try {
        if (!isDone(QStringLiteral("rename ") + pair(destination, aside)))
            return false;
        if (isDone(QStringLiteral("rename ") + pair(source, destination))) {
            isDone(QStringLiteral("rm ") + sftpPath(aside));
            return true;
        }
        if (isDone(QStringLiteral("rename ") + pair(aside, destination)))
            return false;
    } catch (const FileServiceError &error) {
        throw FileServiceError::connectionFailed(error.text() + whereItIs);
    }
    throw FileServiceError::operationFailed(action(source, QStringLiteral("moved.")) + whereItIs);
}

void SFTPService::runRecursiveCopy(SFTPBatch batch, const std::stop_token &stop)
{
    batch.oddItems = SFTPOutcome::OddItems::areSkipped;
    const QStringList skipped = runCopy(std::move(batch), stop).skipped;
    if (!skipped.isEmpty()) {
        throw FileServiceError::operationFailed(
            QStringLiteral("Copied without these links and special files, which cannot be sent:\n") +
            skipped.join(u'\n'));
    }
}

void SFTPService::copyThroughThisMachine(const QString &source, const QString &destination, Times times,
                                         const std::stop_token &stop)
{
    const PrivateFolder folder(QStringLiteral("moorix-copy-"));
    const QString local = folder.path() + QStringLiteral("/copy");
    if (followed(source, stop).value_or(FileItem()).isDirectory) {
        downloadTree(source, local, times, stop);
        uploadTree(local, destination, times, stop);
    } else {
        RemoteTransferOptions options;
        options.keepsTimes = times == Times::kept;
        download(source, local, options, stop);
        upload(local, destination, options, stop);
    }
}

} // namespace moorix
