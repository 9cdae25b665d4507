// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TarPacker.h"

#include "files/LocalDisk.h"
#include "files/NativePath.h"
#include "transfers/LocalTransfer.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

void collect(TransferNode &folder, const QString &prefix, std::vector<TreeEntry> &entries)
{
    for (TransferNode &child : folder.children) {
        const QString relative = prefix + child.item.name;
        entries.push_back({&child, relative});
        if (child.isFolder())
            collect(child, relative + u'/', entries);
    }
}

} // namespace

std::vector<TreeEntry> entriesOf(TransferNode &folder)
{
    std::vector<TreeEntry> entries;
    collect(folder, {}, entries);
    return entries;
}

TarPacker::TarPacker(TransferNode &folder, std::function<void(qint64, qint64)> advanced)
    : m_entries(entriesOf(folder))
    , m_advanced(std::move(advanced))
{
}

QByteArray TarPacker::next()
{
    constexpr qsizetype pieceBytes = 256 * 1024;
    QByteArray piece;
    while (piece.size() < pieceBytes && !m_hasEnded) {
        if (m_file.isOpen()) {
            piece += continueFile();
        } else if (m_next < m_entries.size()) {
            piece += begin(m_entries.at(m_next++));
        } else {
            piece += tarFormat::end();
            m_hasEnded = true;
        }
    }
    m_advanced(m_bytes, m_files);
    return piece;
}

QByteArray TarPacker::begin(const TreeEntry &entry)
{
    const FileItem &item = entry.node->item;
    if (!entry.node->isFolder() && !item.isSymlink)
        return beginFile(entry);
    struct stat status = {};
    if (::lstat(LocalDisk::native(item.path).constData(), &status) != 0)
        return {};
    TarEntry header;
    header.kind = item.isSymlink ? TarEntry::Kind::symbolicLink : TarEntry::Kind::folder;
    header.path = NativePath::bytes(entry.relative);
    if (item.isSymlink)
        header.linkTarget = NativePath::bytes(localTransfer::linkTarget(item.path).value_or(QString()));
    header.mode = status.st_mode & 0777;
    header.modified = status.st_mtim.tv_sec;
    m_packed.push_back({entry.node, entry.relative, 0, {}});
    if (item.isSymlink)
        ++m_files;
    return tarFormat::header(header);
}

QByteArray TarPacker::beginFile(const TreeEntry &entry)
{
    // Without O_NONBLOCK, opening a fifo would wait for somebody to write into it.
    const QByteArray path = LocalDisk::native(entry.node->item.path);
    FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.value(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    TarEntry header;
    header.path = NativePath::bytes(entry.relative);
    header.size = status.st_size;
    header.mode = status.st_mode & 0777;
    header.modified = status.st_mtim.tv_sec;
    m_packed.push_back({entry.node, entry.relative, header.size, {}});
    m_file = std::move(file);
    m_fileLeft = header.size;
    m_sum.reset();
    return tarFormat::header(header);
}

QByteArray TarPacker::continueFile()
{
    constexpr qint64 chunkBytes = 128 * 1024;
    QByteArray chunk(qsizetype(std::min(m_fileLeft, chunkBytes)), Qt::Uninitialized);
    const ssize_t count = ::read(m_file.value(), chunk.data(), size_t(chunk.size()));
    Packed &packed = m_packed.back();
    if (count < 0 && errno == EINTR)
        return {};
    if (count < 0)
        LocalDisk::fail(packed.node->item.path, u"could not be read"_s, errno);
    if (count == 0 && m_fileLeft > 0)
        LocalDisk::fail(packed.node->item.path, u"became shorter while it was read."_s);
    chunk.truncate(count);
    m_sum.addData(chunk);
    m_bytes += count;
    m_fileLeft -= count;
    if (m_fileLeft > 0)
        return chunk;
    packed.sum = m_sum.result();
    ++m_files;
    m_file.close();
    return chunk + tarFormat::padding(packed.size);
}

} // namespace moorix
