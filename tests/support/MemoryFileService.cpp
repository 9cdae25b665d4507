// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/MemoryFileService.h"

#include "base/Error.h"
#include "files/Format.h"
#include "files/LocalDisk.h"

namespace moorix::test {

namespace {

[[noreturn]] void fail(const QString &path, const QString &sentence)
{
    throw Error(QStringLiteral("Memory"), QStringLiteral("“%1” %2.").arg(path, sentence));
}

bool isBelow(const QString &path, const QString &folder)
{
    return path.startsWith(Format::join(folder, QString())) && path != folder;
}

} // namespace

MemoryFileService::MemoryFileService(std::initializer_list<Entry> entries)
{
    for (const Entry &entry : entries)
        put(QString::fromUtf8(entry.path), entry.content);
}

void MemoryFileService::putFoldersAbove(const QString &path)
{
    for (QString folder = Format::parent(path); folder != u'/'; folder = Format::parent(folder))
        m_nodes.insert(folder, {Kind::folder, {}, 0755});
}

void MemoryFileService::put(const QString &path, const QByteArray &content)
{
    const Lock lock(m_mutex);
    putFoldersAbove(path);
    if (path.endsWith(u'/'))
        m_nodes.insert(path.chopped(1), {Kind::folder, {}, 0755});
    else
        m_nodes.insert(path, {Kind::file, content, 0644});
}

void MemoryFileService::putLink(const QString &path, const QString &target)
{
    const Lock lock(m_mutex);
    putFoldersAbove(path);
    m_nodes.insert(path, {Kind::link, target.toUtf8(), 0777});
}

void MemoryFileService::drop(const QString &path)
{
    const Lock lock(m_mutex);
    for (const QString &entry : treeAt(path))
        m_nodes.remove(entry);
}

QMap<QString, QByteArray> MemoryFileService::snapshot() const
{
    const Lock lock(m_mutex);
    QMap<QString, QByteArray> tree;
    for (auto node = m_nodes.cbegin(); node != m_nodes.cend(); ++node) {
        if (node.key() == u'/')
            continue;
        const QString path = node->kind == Kind::folder ? node.key() + u'/' : node.key();
        tree.insert(path, node->kind == Kind::link ? "-> " + node->content : node->content);
    }
    return tree;
}

void MemoryFileService::failOn(const QString &path, const QString &message)
{
    const Lock lock(m_mutex);
    if (message.isEmpty())
        m_failures.remove(path);
    else
        m_failures.insert(path, message);
}

void MemoryFileService::block(const QString &path)
{
    const Lock lock(m_mutex);
    m_blocked.insert(path);
}

void MemoryFileService::release(const QString &path)
{
    const Lock lock(m_mutex);
    m_blocked.remove(path);
    m_released.notify_all();
}

bool MemoryFileService::isWaiting(const QString &path) const
{
    const Lock lock(m_mutex);
    return m_waiting.contains(path);
}

void MemoryFileService::setDotFiles(DotFiles dotFiles)
{
    const Lock lock(m_mutex);
    m_dotFiles = dotFiles;
}

int MemoryFileService::listCount(const QString &path) const
{
    const Lock lock(m_mutex);
    return m_listCounts.value(path);
}

/// Waits and fails as told for this path; the lock it returns is held while the operation works.
MemoryFileService::Lock MemoryFileService::enter(const QString &path, const std::stop_token &stop) const
{
    Lock lock(m_mutex);
    if (m_blocked.contains(path)) {
        m_waiting.insert(path);
        m_released.wait(lock, stop, [&] { return !m_blocked.contains(path); });
        m_waiting.remove(path);
    }
    if (stop.stop_requested())
        throw Cancelled();
    if (m_failures.contains(path))
        throw Error(QStringLiteral("Memory"), m_failures.value(path));
    return lock;
}

const MemoryFileService::Node &MemoryFileService::require(const QString &path) const
{
    const auto node = m_nodes.constFind(path);
    if (node == m_nodes.constEnd())
        fail(path, QStringLiteral("does not exist"));
    return *node;
}

void MemoryFileService::requireFree(const QString &path) const
{
    if (m_nodes.contains(path))
        fail(path, QStringLiteral("already exists"));
    if (require(Format::parent(path)).kind != Kind::folder)
        fail(Format::parent(path), QStringLiteral("is not a folder"));
}

/// The entry and all below it.
QStringList MemoryFileService::treeAt(const QString &path) const
{
    QStringList paths;
    for (auto node = m_nodes.cbegin(); node != m_nodes.cend(); ++node) {
        if (node.key() == path || isBelow(node.key(), path))
            paths.append(node.key());
    }
    return paths;
}

FileItem MemoryFileService::item(const QString &path, const Node &node) const
{
    FileItem item;
    item.name = Format::fileName(path);
    item.path = path;
    item.isDirectory = node.kind == Kind::folder;
    item.isSymlink = node.kind == Kind::link;
    item.size = node.kind == Kind::folder ? 0 : node.content.size();
    item.permissions = LocalDisk::posixString(node.mode);
    return item;
}

void MemoryFileService::connect(const std::stop_token &) {}

void MemoryFileService::disconnect() noexcept {}

QString MemoryFileService::defaultDirectory(const std::stop_token &)
{
    return QStringLiteral("/home");
}

QList<FileItem> MemoryFileService::list(const QString &path, HiddenFiles hidden, const std::stop_token &stop)
{
    {
        const Lock lock(m_mutex);
        ++m_listCounts[path];
    }
    const Lock lock = enter(path, stop);
    const bool isLink = require(path).kind == Kind::link;
    const QString folder = isLink ? QString::fromUtf8(require(path).content) : path;
    if (require(folder).kind != Kind::folder)
        fail(path, QStringLiteral("is not a folder"));
    const bool leavesOut = m_dotFiles == DotFiles::leftOut && hidden == HiddenFiles::asTheSourceDoes;
    QList<FileItem> items;
    for (auto node = m_nodes.cbegin(); node != m_nodes.cend(); ++node) {
        const bool isChild = node.key() != u'/' && Format::parent(node.key()) == folder;
        if (isChild && !(leavesOut && Format::fileName(node.key()).startsWith(u'.')))
            items.append(item(Format::join(path, Format::fileName(node.key())), *node));
    }
    return items;
}

void MemoryFileService::createDirectory(const QString &path, const std::stop_token &stop)
{
    const Lock lock = enter(path, stop);
    requireFree(path);
    m_nodes.insert(path, {Kind::folder, {}, 0755});
}

void MemoryFileService::remove(const FileItem &item, const std::stop_token &stop)
{
    const Lock lock = enter(item.path, stop);
    require(item.path);
    for (const QString &path : treeAt(item.path))
        m_nodes.remove(path);
}

void MemoryFileService::rename(const FileItem &item, const QString &newName, const std::stop_token &stop)
{
    move(item, Format::join(Format::parent(item.path), newName), stop);
}

QByteArray MemoryFileService::read(const QString &path, const std::stop_token &stop)
{
    const Lock lock = enter(path, stop);
    if (require(path).kind != Kind::file)
        fail(path, QStringLiteral("is not a file"));
    return require(path).content;
}

void MemoryFileService::write(const QByteArray &data, const QString &path, const std::stop_token &stop)
{
    const Lock lock = enter(path, stop);
    const auto node = m_nodes.find(path);
    if (node != m_nodes.end() && node->kind == Kind::file) {
        node->content = data;
        return;
    }
    requireFree(path);
    m_nodes.insert(path, {Kind::file, data, 0644});
}

void MemoryFileService::setPermissions(const QString &path, const QString &octal, Recursive recursive,
                                       const std::stop_token &stop)
{
    const Lock lock = enter(path, stop);
    bool isOctal = false;
    const unsigned mode = octal.toUInt(&isOctal, 8);
    if (!isOctal)
        fail(octal, QStringLiteral("is no mode"));
    require(path);
    const QStringList paths = recursive == Recursive::yes ? treeAt(path) : QStringList{path};
    for (const QString &entry : paths)
        m_nodes[entry].mode = mode;
}

std::optional<FileItem> MemoryFileService::stat(const QString &path, const std::stop_token &stop)
{
    const Lock lock = enter(path, stop);
    return m_nodes.contains(path) ? std::optional(item(path, m_nodes.value(path))) : std::nullopt;
}

FileItem MemoryFileService::followLink(const FileItem &link, const std::stop_token &stop)
{
    const Lock lock = enter(link.path, stop);
    const QString target = QString::fromUtf8(require(link.path).content);
    FileItem found = item(target, require(target));
    found.name = link.name;
    found.path = link.path;
    return found;
}

void MemoryFileService::copy(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    const Lock lock = enter(item.path, stop);
    require(item.path);
    requireFree(toPath);
    for (const QString &path : treeAt(item.path))
        m_nodes.insert(toPath + path.sliced(item.path.size()), m_nodes.value(path));
}

void MemoryFileService::move(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    const Lock lock = enter(item.path, stop);
    require(item.path);
    requireFree(toPath);
    for (const QString &path : treeAt(item.path))
        m_nodes.insert(toPath + path.sliced(item.path.size()), m_nodes.take(path));
}

std::optional<qint64> MemoryFileService::freeSpace(const QString &, const std::stop_token &)
{
    return std::nullopt;
}

} // namespace moorix::test
