// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferRoute.h"

#include "base/Error.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"
#include "files/RemoteFileService.h"
#include "platform/PrivateFolder.h"
#include "transfers/TransferNames.h"

#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

namespace moorix {

using namespace Qt::StringLiterals;
using localTransfer::Start;

TransferRoute::TransferRoute(std::shared_ptr<FileService> source, std::shared_ptr<FileService> destination)
    : m_source(std::move(source))
    , m_destination(std::move(destination))
    , m_sourceServer(dynamic_cast<RemoteFileService *>(m_source.get()))
    , m_destinationServer(dynamic_cast<RemoteFileService *>(m_destination.get()))
{
}

bool TransferRoute::isWithinOnePlace() const
{
    return m_sourceServer == m_destinationServer;
}

QList<const void *> TransferRoute::servers() const
{
    QList<const void *> all;
    if (m_sourceServer)
        all << m_sourceServer;
    if (m_destinationServer && m_destinationServer != m_sourceServer)
        all << m_destinationServer;
    return all;
}

TransferSpeed *TransferRoute::speed() const
{
    const RemoteFileService *server = m_sourceServer ? m_sourceServer : m_destinationServer;
    // The commands of a shell that copy there are at hand together with those for archives.
    const bool copiesByItself = isWithinOneServer() && server->mayTakeArchives();
    return server && !copiesByItself ? server->speed() : nullptr;
}

void TransferRoute::requireAddressable(const QString &sourcePath, const QString &destinationPath) const
{
    if (m_sourceServer)
        m_sourceServer->requireAddressable(sourcePath);
    if (m_destinationServer)
        m_destinationServer->requireAddressable(destinationPath);
}

std::chrono::seconds TransferRoute::slack(const RemoteFileService *server, const FileItem &item)
{
    return server && item.modified ? server->listedTimes().slack(*item.modified) : std::chrono::seconds(0);
}

TransferRoute::Way TransferRoute::copyFile(const TransferCopy &copy, const std::stop_token &stop) const
{
    if (copy.file.isSymlink) {
        copyLink(copy, stop);
        return Way::whole;
    }
    if (m_sourceServer && !m_destinationServer)
        return download(copy, stop);
    if (m_destinationServer && !m_sourceServer)
        return upload(copy, stop);
    if (isWithinOneServer())
        copyOnServer(copy, stop);
    else if (m_sourceServer)
        copyThroughThisMachine(copy, stop);
    else
        return copyOnDisk(copy, stop);
    return Way::whole;
}

void TransferRoute::copyLink(const TransferCopy &copy, const std::stop_token &stop) const
{
    const QString &path = copy.file.path;
    const auto target = m_sourceServer ? m_sourceServer->linkTarget(path, stop) : localTransfer::linkTarget(path);
    if (!target)
        throw Error(u"Transfer"_s, u"it is a symbolic link, and the server does not tell where it leads"_s);
    if (!m_destinationServer) {
        localTransfer::makeLink(*target, copy.toPath);
        // By which another run knows that it has arrived.
        if (copy.file.modified)
            localTransfer::setModified(copy.toPath, *copy.file.modified);
    } else if (!m_destinationServer->createLink(*target, copy.toPath, stop)) {
        throw Error(u"Transfer"_s, u"it is a symbolic link, which the server does not take"_s);
    }
}

TransferRoute::Way TransferRoute::copyOnDisk(const TransferCopy &copy, const std::stop_token &stop) const
{
    const qint64 held = copy.start == Start::resumed ? QFileInfo(copy.toPath).size() : 0;
    if (held > copy.file.size)
        QFile::resize(copy.toPath, 0);
    localTransfer::copyFile(copy.file.path, copy.toPath, copy.start, copy.flush, copy.progress, stop);
    return held > 0 && held <= copy.file.size ? Way::continued : Way::whole;
}

TransferRoute::Way TransferRoute::download(const TransferCopy &copy, const std::stop_token &stop) const
{
    RemoteTransferOptions options{true, copy.progress};
    // Blocks that were on their way when the link broke may have arrived out of order, with gaps before them.
    constexpr qint64 doubtfulBytes = 4 * 1024 * 1024;
    QFile part(copy.toPath);
    const qint64 sure = copy.start == Start::resumed ? part.size() - doubtfulBytes : 0;
    options.resumes = sure > 0 && sure < copy.file.size && part.resize(sure);
    m_sourceServer->download(copy.file.path, copy.toPath, options, stop);
    applyListedMode(copy.file, copy.toPath);
    return options.resumes ? Way::continued : Way::whole;
}

void TransferRoute::applyListedMode(const FileItem &original, const QString &copy) const
{
    const std::optional<QString> octal = Format::octalMode(original.permissions);
    if (!m_sourceServer || m_sourceServer->keepsModes() || !octal)
        return;
    // Never more than access: a server has no say in whose rights a program runs with.
    if (::chmod(NativePath::bytes(copy).constData(), octal->toUInt(nullptr, 8) & 0777) != 0)
        throw Error(u"Transfer"_s, u"its access rights could not be set: %1"_s.arg(qt_error_string()));
}

std::optional<ListedTree> TransferRoute::sourceTree(const QString &path, const std::stop_token &stop) const
{
    return m_sourceServer ? std::optional(m_sourceServer->listTree(path, {}, stop)) : std::nullopt;
}

TransferRoute::Way TransferRoute::upload(const TransferCopy &copy, const std::stop_token &stop) const
{
    LocalDisk::requireFile(copy.file.path);
    RemoteTransferOptions options{true, copy.progress};
    if (copy.start == Start::resumed) {
        const qint64 held = sizeOfPart(transferNames::itemAt(copy.toPath), stop).value_or(0);
        options.resumes = held > 0 && held < copy.file.size;
    }
    m_destinationServer->upload(copy.file.path, copy.toPath, options, stop);
    return options.resumes ? Way::continued : Way::whole;
}

void TransferRoute::copyOnServer(const TransferCopy &copy, const std::stop_token &stop) const
{
    const FileItem part = transferNames::itemAt(copy.toPath);
    if (copy.start == Start::resumed && sizeOfPart(part, stop))
        m_source->remove(part, stop);
    m_source->copy(copy.file, copy.toPath, stop);
}

void TransferRoute::copyThroughThisMachine(const TransferCopy &copy, const std::stop_token &stop) const
{
    const PrivateFolder between(u"moorix-"_s);
    const QString path = between.path() + u"/copy"_s;
    // Each half of the way counts for half of the bytes.
    const auto &progress = copy.progress;
    m_sourceServer->download(copy.file.path, path, {true, [&progress](qint64 bytes) { progress(bytes / 2); }}, stop);
    applyListedMode(copy.file, path);
    const qint64 half = copy.file.size / 2;
    m_destinationServer->upload(path, copy.toPath,
                                {true, [&progress, half](qint64 bytes) { progress(half + bytes / 2); }}, stop);
}

std::optional<qint64> TransferRoute::sizeOfPart(const FileItem &part, const std::stop_token &stop) const
{
    if (!m_destinationServer) {
        const auto item = m_destination->stat(part.path, stop);
        return item ? std::optional(item->size) : std::nullopt;
    }
    try {
        return sizeAtDestination(part, stop);
    } catch (const FileServiceError &error) {
        if (error.kind() == FileServiceError::Case::notFound)
            return std::nullopt;
        throw;
    }
}

qint64 TransferRoute::sizeAtSource(const FileItem &file, const std::stop_token &stop) const
{
    return m_source->followLink(file, stop).size;
}

qint64 TransferRoute::sizeAtDestination(const FileItem &file, const std::stop_token &stop) const
{
    return m_destination->followLink(file, stop).size;
}

bool TransferRoute::isBesideOriginal(const QString &path, const QString &original, const std::stop_token &stop) const
{
    const QString there = Format::join(Format::parent(original), Format::fileName(path));
    return m_sourceServer ? m_sourceServer->exists(there, stop) : m_source->stat(there, stop).has_value();
}

bool TransferRoute::rename(const FileItem &item, const QString &toPath, localTransfer::Existing existing,
                           const std::stop_token &stop) const
{
    if (!m_destinationServer)
        return localTransfer::rename(item.path, toPath, existing);
    if (existing == localTransfer::Existing::replace)
        m_destinationServer->moveRemote(item.path, toPath, stop);
    else
        moveOnServer(item, toPath, stop);
    return true;
}

void TransferRoute::moveOnServer(const FileItem &item, const QString &toPath, const std::stop_token &stop) const
{
    const bool isFolder = item.isDirectory && !item.isSymlink;
    const bool isBeside = Format::parent(item.path) == Format::parent(toPath);
    if (isFolder && isBeside && m_destinationServer->renameBeside(item.path, toPath, stop))
        return;
    if (!m_destinationServer->takesMany()) {
        m_destinationServer->move(item, toPath, stop);
        return;
    }
    // In one step, without asking first what stands there.
    std::vector<RemoteStep> steps{{RemoteStep::Kind::rename, item.path, toPath}};
    m_destinationServer->takeSteps(steps, stop);
    if (steps.front().state == RemoteStep::State::failed)
        throw FileServiceError::operationFailed(
            u"“%1” could not take its name: %2"_s.arg(Format::display(toPath), steps.front().failure));
}

QString TransferRoute::place(const QString &path) const
{
    return m_sourceServer ? QDir::cleanPath(path) : localTransfer::resolved(QDir::cleanPath(path));
}

bool TransferRoute::isSame(const QString &sourcePath, const QString &destinationPath) const
{
    return isWithinOnePlace() && place(sourcePath) == place(destinationPath);
}

bool TransferRoute::isInside(const QString &path, const QString &folder) const
{
    if (!isWithinOnePlace())
        return false;
    const QString inner = place(path + u"/x"_s);
    const QString outer = place(folder + u"/x"_s).chopped(1);
    return inner.startsWith(outer);
}

} // namespace moorix
