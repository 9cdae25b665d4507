// SPDX-License-Identifier: GPL-3.0-or-later
// Single files on their way between the server and this machine.
#include "remote/FTPService.h"

#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"
#include "files/TransferSpeed.h"
#include "platform/PrivateFile.h"
#include "remote/FTPFailureText.h"
#include "remote/TransferProgress.h"

#include <QFile>

#include <algorithm>
#include <sys/stat.h>

namespace moorix {

namespace {

constexpr int quoteRefused = 21;
constexpr int storeRefused = 25;
/// For cleaning up behind something that has failed already.
constexpr std::chrono::seconds cleanUpPatience(10);

QString unable(const QString &path, const QString &done)
{
    return QStringLiteral("“%1” could not be %2").arg(Format::display(path), done);
}

/// Size, time and mode of the file at a local path, all 0 when there is none.
struct ::stat statusOf(const QString &path)
{
    struct ::stat status = {};
    if (::stat(NativePath::bytes(path).constData(), &status) != 0)
        status = {};
    return status;
}

/// The program's own name for a file that is still being written: nobody needs it whole.
bool isPart(const QString &path)
{
    const QString name = Format::fileName(path);
    return name.startsWith(u'.') && name.contains(QStringLiteral(".moorix-")) && name.endsWith(QStringLiteral(".part"));
}

std::function<void(qint64)> both(const std::function<void(qint64)> &first, const std::function<void(qint64)> &second)
{
    if (!second)
        return first;
    return [first, second](qint64 processId) {
        first(processId);
        second(processId);
    };
}

} // namespace

void FTPService::download(const QString &remotePath, const QString &toLocal, const RemoteTransferOptions &options,
                          const std::stop_token &stop)
{
    const FTPLogin current = login();
    CurlRequest request;
    request.longest = std::chrono::seconds(0);
    request.config.set("ftp-method", "nocwd");
    limitSpeed(request.config);
    if (options.resumes)
        request.config.set("continue-at", "-");
    if (options.keepsTimes)
        request.config.flag("remote-time");
    request.config.set("output", NativePath::bytes(toLocal));
    request.config.set("url", urlOf(current, remotePath));
    const auto arrived = [toLocal](qint64) { return qint64(statusOf(toLocal).st_size); };
    const auto giveUp = [this] {
        throw FileServiceError::connectionFailed(QStringLiteral("%1 has sent nothing for %2 seconds.")
                                                     .arg(m_server.host)
                                                     .arg(m_patience.standstill.count()));
    };
    request.whileRunning = both(TransferProgress::endingStandstill(arrived, m_patience.standstill, giveUp),
                                TransferProgress::ofDownload(toLocal, options.progress));
    const auto held = options.resumes ? qint64(statusOf(toLocal).st_size) : 0;
    const auto began = TransferSpeed::Clock::now();
    const CurlTransfer transfer = m_runner.run(current, request, stop).constFirst();
    m_speed->count(qint64(statusOf(toLocal).st_size) - held, began);
    if (transfer.exitCode != 0)
        fail(transfer, remotePath, unable(remotePath, QStringLiteral("downloaded")), stop);
    // curl takes all that has come already before it looks at its limit: on a fast line that may be megabytes.
    m_speed->settle(stop);
}

void FTPService::upload(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                        const std::stop_token &stop)
{
    put(localPath, toRemote, options, stop);
}

QByteArray FTPService::read(const QString &path, const std::stop_token &stop)
{
    const PrivateFile copy(QStringLiteral("moorix-"));
    download(path, copy.path(), {}, stop);
    QFile file(copy.path());
    if (!file.open(QIODevice::ReadOnly))
        throw FileServiceError::operationFailed(unable(path, QStringLiteral("read: %1").arg(file.errorString())));
    return file.readAll();
}

void FTPService::write(const QByteArray &data, const QString &path, const std::stop_token &stop)
{
    const PrivateFile copy(QStringLiteral("moorix-"), data);
    put(copy.path(), path, {}, stop);
}

QList<QByteArray> FTPService::timeCommands(const QString &localPath, const QByteArray &path, TimeCommand known)
{
    const QByteArray stamp = QDateTime::fromSecsSinceEpoch(statusOf(localPath).st_mtime, Qt::UTC)
                                 .toString(QStringLiteral("yyyyMMddHHmmss"))
                                 .toLatin1();
    QList<QByteArray> commands;
    if (known == TimeCommand::mfmt || known == TimeCommand::unknown)
        commands << "MFMT " + stamp + ' ' + path;
    if (known == TimeCommand::mdtm || known == TimeCommand::unknown)
        commands << "MDTM " + stamp + ' ' + path;
    return commands;
}

std::optional<QByteArray> FTPService::modeFor(const QString &localPath, const QByteArray &path)
{
    const struct ::stat status = statusOf(localPath);
    // Some servers cut a blank off the name and would change the entry of that name.
    if (status.st_mode == 0 || path.endsWith(' '))
        return std::nullopt;
    return QByteArray::number(status.st_mode & 0777, 8).rightJustified(3, '0');
}

CurlTransfer FTPService::store(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                               const CurlConfig &afterwards, const std::stop_token &stop)
{
    const FTPLogin current = login();
    const struct ::stat source = statusOf(localPath);
    CurlRequest request;
    request.longest = std::chrono::seconds(0);
    request.config.set("ftp-method", "nocwd");
    limitSpeed(request.config);
    if (options.resumes)
        request.config.set("continue-at", "-");
    request.config.set("upload-file", NativePath::bytes(localPath));
    request.config.set("url", urlOf(current, toRemote));
    if (options.keepsTimes) {
        QList<QByteArray> commands = timeCommands(localPath, native(toRemote), m_timeCommand);
        if (const std::optional<QByteArray> octal = modeFor(localPath, native(toRemote)))
            commands << "SITE CHMOD " + *octal + ' ' + native(toRemote);
        for (const QByteArray &line : std::as_const(commands))
            request.config.set("quote", "-*" + line);
    }
    request.config.append(afterwards);
    // Once curl has read the file to its end and closed it, the system still holds a part, and curl itself waits for
    // the server's word.
    const auto sent = [localPath, size = qint64(source.st_size), last = qint64(0)](qint64 processId) mutable {
        const qint64 position = TransferProgress::positionIn(localPath, processId);
        last = position < last || position >= size ? std::max(last, size) + 1 : position;
        return last;
    };
    const auto giveUp = [this] {
        throw FileServiceError::connectionFailed(QStringLiteral("%1 has taken nothing for %2 seconds.")
                                                     .arg(m_server.host)
                                                     .arg(m_patience.standstill.count()));
    };
    request.whileRunning = both(TransferProgress::endingStandstill(sent, m_patience.standstill, giveUp),
                                TransferProgress::ofUpload(localPath, options.progress, m_speed->limit()));
    const auto began = TransferSpeed::Clock::now();
    CurlTransfer transfer = m_runner.run(current, request, stop).constFirst();
    if (transfer.exitCode == 0 && !options.resumes)
        m_speed->count(qint64(source.st_size), began);
    return transfer;
}

void FTPService::put(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                     const std::stop_token &stop)
{
    const QString sentence = unable(toRemote, QStringLiteral("written"));
    const auto storeInPlace = [&] {
        const CurlTransfer transfer = store(localPath, toRemote, options, {}, stop);
        if (transfer.exitCode != 0)
            fail(transfer, Format::parent(toRemote), sentence, stop);
    };
    if (isPart(toRemote) || options.resumes) {
        storeInPlace();
        return;
    }
    const std::optional<FileItem> existing = stat(toRemote, stop);
    if (existing && existing->isDirectory)
        throw FileServiceError::operationFailed(sentence + QStringLiteral(": it is a folder."));
    // A rename would put the file in the link's place.
    if (existing && existing->isSymlink) {
        storeInPlace();
        return;
    }
    const QString part = LocalDisk::partPath(toRemote);
    CurlConfig afterwards;
    if (existing && !options.keepsTimes) {
        if (const std::optional<QString> octal = Format::octalMode(existing->permissions))
            afterwards.set("quote", "-*SITE CHMOD " + octal->toLatin1() + ' ' + native(part));
    }
    afterwards.set("quote", "-RNFR " + native(part));
    afterwards.set("quote", "-RNTO " + native(toRemote));
    CurlTransfer transfer;
    try {
        transfer = store(localPath, part, options, afterwards, stop);
    } catch (...) {
        removePart(part);
        throw;
    }
    if (transfer.exitCode == 0)
        return;
    if (existing && transfer.exitCode == quoteRefused) {
        try {
            moveRemote(part, toRemote, stop);
            return;
        } catch (...) {
            removePart(part);
            throw;
        }
    }
    removePart(part);
    // The file may be written although its folder takes no new ones.
    if (existing && transfer.exitCode == storeRefused)
        storeInPlace();
    else
        fail(transfer, Format::parent(toRemote), sentence, stop);
}

/// Cleans up even after a stop, hence the token of its own.
void FTPService::removePart(const QString &part) noexcept
{
    try {
        command({"DELE " + native(part)}, cleanUpPatience, std::stop_token());
    } catch (const Error &) {
        // The server cannot be reached any more. Its name tells what the file is.
    }
}

} // namespace moorix
