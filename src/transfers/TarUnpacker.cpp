// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TarUnpacker.h"

#include "files/Format.h"
#include "files/LocalCopy.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"
#include "transfers/LocalTransfer.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace moorix {

using namespace Qt::StringLiterals;
using LocalDisk::fail;
using LocalDisk::native;

namespace {

/// "./folder/" and "folder" are the same entry.
QByteArray withoutDots(QByteArray path)
{
    while (path.startsWith("./"))
        path.remove(0, 2);
    while (path.endsWith('/'))
        path.chop(1);
    return path;
}

void makeFolder(const QString &path)
{
    if (::mkdir(native(path).constData(), 0700) != 0)
        fail(path, u"could not be made"_s, errno);
}

} // namespace

TarUnpacker::TarUnpacker(const std::vector<File> &files, std::function<void(qint64, qint64)> advanced)
    : m_advanced(std::move(advanced))
    , m_reader({[this](const TarEntry &entry) { begin(entry); }, [this](QByteArrayView bytes) { write(bytes); },
                [this] { end(); }})
{
    for (const File &file : files)
        m_plan.insert(NativePath::bytes(file.relative), {file.node, file.path});
}

TarUnpacker::TarUnpacker(TransferNode &folder, const QString &target, std::function<void(qint64, qint64)> advanced)
    : TarUnpacker({}, std::move(advanced))
{
    makeFolder(target);
    m_folders.push_back({&folder, target});
    for (const TreeEntry &entry : entriesOf(folder)) {
        const Planned planned{entry.node, Format::join(target, entry.relative)};
        if (entry.node->isFolder()) {
            makeFolder(planned.path);
            m_folders.push_back(planned);
        } else {
            m_plan.insert(NativePath::bytes(entry.relative), planned);
        }
    }
}

void TarUnpacker::begin(const TarEntry &entry)
{
    m_current = nullptr;
    const auto planned = m_plan.find(withoutDots(entry.path));
    if (planned == m_plan.end() || planned->isThere)
        return;
    const FileItem &item = planned->node->item;
    const QByteArray path = native(planned->path);
    if (item.isSymlink && entry.kind == TarEntry::Kind::symbolicLink) {
        if (::symlink(entry.linkTarget.constData(), path.constData()) != 0)
            fail(planned->path, u"could not be made"_s, errno);
        m_current = &*planned;
    } else if (!item.isSymlink && entry.kind == TarEntry::Kind::file && entry.size == item.size) {
        m_file = FileDescriptor(::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!m_file.isOpen())
            fail(planned->path, u"could not be made"_s, errno);
        m_current = &*planned;
        m_entry = entry;
    }
}

void TarUnpacker::write(QByteArrayView bytes)
{
    if (!m_file.isOpen())
        return;
    if (const int problem = LocalDisk::writeAll(m_file.value(), bytes.data(), bytes.size()))
        fail(m_current->path, u"could not be written"_s, problem);
    m_bytes += bytes.size();
    m_advanced(m_bytes, qint64(m_unpacked.size()));
}

void TarUnpacker::end()
{
    if (!m_current)
        return;
    if (m_file.isOpen()) {
        // File systems without modes or times refuse these; the bytes are what must not be lost.
        ::fchmod(m_file.value(), m_entry.mode);
        const timespec times[] = {{0, UTIME_OMIT}, {m_entry.modified, 0}};
        ::futimens(m_file.value(), times);
        if (m_file.close() != 0)
            fail(m_current->path, u"could not be written to its end"_s, errno);
    }
    m_current->isThere = true;
    m_unpacked.push_back(m_current->node);
    m_advanced(m_bytes, qint64(m_unpacked.size()));
}

void TarUnpacker::finishFolders() const
{
    for (auto folder = m_folders.crbegin(); folder != m_folders.crend(); ++folder) {
        const FileItem &item = folder->node->item;
        if (const auto octal = Format::octalMode(item.permissions))
            ::chmod(native(folder->path).constData(), octal->toUInt(nullptr, 8));
        if (item.modified)
            localTransfer::setModified(folder->path, *item.modified);
    }
}

} // namespace moorix
