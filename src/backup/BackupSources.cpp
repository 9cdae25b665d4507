// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupSources.h"

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void fail(const QString &path, const QString &sentence)
{
    throw Error(u"Backup"_s, u"“%1” %2"_s.arg(Format::display(path), sentence));
}

/// One walk over all sources. Folders are open only while their names are read, so that no depth runs out of files.
class Survey final
{
public:
    Survey(BackupSources &sources, BackupSources::Links links, std::stop_token stop)
        : m_sources(sources)
        , m_follows(links == BackupSources::Links::followed)
        , m_stop(std::move(stop))
    {
    }

    void visit(const QString &path)
    {
        LocalDisk::throwIfStopped(m_stop);
        const QByteArray name = NativePath::bytes(path);
        struct stat status = {};
        if (!read(name, path, status))
            return;
        ++m_sources.entries;
        if (S_ISDIR(status.st_mode)) {
            visitFolder(path, name, status);
        } else if (S_ISREG(status.st_mode)) {
            m_sources.bytes += status.st_size;
            if (::faccessat(AT_FDCWD, name.constData(), R_OK, AT_EACCESS) != 0)
                fail(path, u"cannot be read: %1"_s.arg(systemErrorText(errno)));
        } else if (!S_ISLNK(status.st_mode)) {
            leaveOut(path);
        }
    }

private:
    using Identity = std::pair<dev_t, ino_t>;

    /// False when there is nothing (any more), or nothing to archive.
    bool read(const QByteArray &name, const QString &path, struct stat &status)
    {
        if (::lstat(name.constData(), &status) != 0) {
            if (errno == ENOENT)
                return false; // It has gone since its folder was read.
            fail(path, u"cannot be read: %1"_s.arg(systemErrorText(errno)));
        }
        if (!S_ISLNK(status.st_mode) || !m_follows || ::stat(name.constData(), &status) == 0)
            return true;
        leaveOut(path);
        return false;
    }

    void visitFolder(const QString &path, const QByteArray &name, const struct stat &status)
    {
        const Identity identity{status.st_dev, status.st_ino};
        if (std::find(m_above.begin(), m_above.end(), identity) != m_above.end()) {
            fail(path, u"is a link back to a folder above it; zip would follow it again and again. Remove the link, or "
                       "choose sources without it."_s);
        }
        QList<QByteArray> names;
        {
            const FileDescriptor folder(::open(name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!folder.isOpen())
                fail(path, u"cannot be read: %1"_s.arg(systemErrorText(errno)));
            names = LocalDisk::namesIn(folder.value(), path);
        }
        m_above.push_back(identity);
        for (const QByteArray &entry : std::as_const(names))
            visit(Format::join(path, NativePath::text(entry)));
        m_above.pop_back();
    }

    void leaveOut(const QString &path)
    {
        constexpr qsizetype mostNamed = 3;
        if (m_sources.leftOutCount++ < mostNamed)
            m_sources.leftOut.append(path);
    }

    BackupSources &m_sources;
    bool m_follows;
    std::stop_token m_stop;
    std::vector<Identity> m_above;
};

} // namespace

BackupSources BackupSources::survey(const QStringList &paths, Links links, const std::stop_token &stop)
{
    BackupSources sources;
    for (const QString &path : paths) {
        if (!path.startsWith(u'/'))
            throw Error(u"Backup"_s, u"The source “%1” is no absolute path."_s.arg(Format::display(path)));
        struct stat status = {};
        if (::stat(LocalDisk::native(path).constData(), &status) != 0) {
            throw Error(u"Backup"_s, u"The source “%1” cannot be backed up: %2"_s.arg(Format::display(path),
                                                                                      systemErrorText(errno)));
        }
        // A source that is a link stands for what it leads to either way.
        Survey(sources, links, stop).visit(ownPath(path));
    }
    return sources;
}

QString BackupSources::ownPath(const QString &source)
{
    const QString canonical = QFileInfo(source).canonicalFilePath();
    return canonical.isEmpty() ? source : canonical;
}

QString BackupSources::note() const
{
    if (leftOutCount == 0)
        return {};
    QStringList shown;
    for (const QString &path : leftOut)
        shown.append(u"“%1”"_s.arg(Format::display(path)));
    const QString more =
        leftOutCount > leftOut.size() ? u" and %1 more"_s.arg(leftOutCount - leftOut.size()) : QString();
    return u"Left out, being links that lead nowhere or no files: %1%2."_s.arg(shown.join(u", "_s), more);
}

} // namespace moorix
