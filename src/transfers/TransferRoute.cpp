// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferRoute.h"

#include "base/Error.h"
#include "files/RemoteFileService.h"

#include <QDir>
#include <QTemporaryFile>

namespace moorix {

using namespace Qt::StringLiterals;

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

void TransferRoute::copyFile(const FileItem &file, const QString &toPath, localTransfer::Flush flush,
                             const std::function<void(qint64)> &progress, const std::stop_token &stop) const
{
    if (file.isSymlink && (m_sourceServer || m_destinationServer))
        throw Error(u"Transfer"_s, u"Symbolic links are not copied from or to servers."_s);
    const RemoteTransferOptions options{true, progress};
    if (isWithinOneServer())
        m_source->copy(file, toPath, stop);
    else if (m_sourceServer && m_destinationServer)
        copyThroughThisMachine(file, toPath, progress, stop);
    else if (m_sourceServer)
        m_sourceServer->download(file.path, toPath, options, stop);
    else if (m_destinationServer)
        m_destinationServer->upload(file.path, toPath, options, stop);
    else if (file.isSymlink)
        localTransfer::copyLink(file.path, toPath);
    else
        localTransfer::copyFile(file.path, toPath, flush, progress, stop);
}

void TransferRoute::copyThroughThisMachine(const FileItem &file, const QString &toPath,
                                           const std::function<void(qint64)> &progress,
                                           const std::stop_token &stop) const
{
    // Created readable by this user alone, and gone with the object.
    QTemporaryFile between(QDir::tempPath() + u"/moorix-XXXXXX"_s);
    if (!between.open()) {
        throw Error(u"Transfer"_s, u"A temporary file for the way between the servers could not be created: %1"_s.arg(
                                       between.errorString()));
    }
    // Each half of the way counts for half of the bytes.
    m_sourceServer->download(file.path, between.fileName(), {true, [&progress](qint64 bytes) { progress(bytes / 2); }},
                             stop);
    const qint64 half = file.size / 2;
    m_destinationServer->upload(between.fileName(), toPath,
                                {true, [&progress, half](qint64 bytes) { progress(half + bytes / 2); }}, stop);
}

qint64 TransferRoute::sizeAtSource(const FileItem &file, const std::stop_token &stop) const
{
    return m_source->followLink(file, stop).size;
}

qint64 TransferRoute::sizeAtDestination(const FileItem &file, const std::stop_token &stop) const
{
    return m_destination->followLink(file, stop).size;
}

bool TransferRoute::rename(const FileItem &item, const QString &toPath, localTransfer::Existing existing,
                           const std::stop_token &stop) const
{
    if (!m_destinationServer)
        return localTransfer::rename(item.path, toPath, existing);
    if (existing == localTransfer::Existing::replace)
        m_destinationServer->moveRemote(item.path, toPath, stop);
    else
        m_destinationServer->move(item, toPath, stop);
    return true;
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
