// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LocalFileService.h"

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "files/FileNames.h"
#include "files/Format.h"
#include "files/LocalCopy.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace moorix {

using namespace LocalDisk;

namespace {

void makeFolder(const QString &path, const std::stop_token &stop)
{
    throwIfStopped(stop);
    const QByteArray bytes = native(path);
    if (::mkdir(bytes.constData(), 0777) == 0)
        return;
    int problem = errno;
    if (problem == ENOENT && path != u'/') {
        makeFolder(Format::parent(path), stop);
        if (::mkdir(bytes.constData(), 0777) == 0)
            return;
        problem = errno;
    }
    struct stat status = {};
    if (problem != EEXIST || ::stat(bytes.constData(), &status) != 0 || !S_ISDIR(status.st_mode))
        fail(path, QStringLiteral("could not be made"), problem);
}

/// The octal digits as mode bits; throws on anything else, also on what QString would let pass ("+7", " 7").
unsigned modeFrom(const QString &path, const QString &octal)
{
    const bool isOctal = !octal.isEmpty() && std::all_of(octal.begin(), octal.end(),
                                                         [](QChar digit) { return digit >= u'0' && digit <= u'7'; });
    bool fits = false;
    const unsigned mode = octal.toUInt(&fits, 8);
    if (!isOctal || !fits || mode > 07777) {
        fail(path, QStringLiteral("kept its permissions: “%1” is no permission number such as 755.")
                       .arg(Format::display(octal)));
    }
    return mode;
}

} // namespace

void LocalFileService::connect(const std::stop_token &) {}

void LocalFileService::disconnect() noexcept {}

QString LocalFileService::defaultDirectory(const std::stop_token &)
{
    return QDir::homePath();
}

QList<FileItem> LocalFileService::list(const QString &path, HiddenFiles, const std::stop_token &stop)
{
    return LocalDisk::list(path, stop);
}

void LocalFileService::createDirectory(const QString &path, const std::stop_token &stop)
{
    makeFolder(path, stop);
}

void LocalFileService::remove(const FileItem &item, const std::stop_token &stop)
{
    removeTree(item.path, stop);
}

void LocalFileService::rename(const FileItem &item, const QString &newName, const std::stop_token &stop)
{
    if (const auto problem = FileNames::problem(newName))
        fail(item.path, QStringLiteral("could not be renamed: %1").arg(*problem));
    move(item, Format::join(Format::parent(item.path), newName), stop);
}

QByteArray LocalFileService::read(const QString &path, const std::stop_token &stop)
{
    return readHead(path, std::numeric_limits<qint64>::max(), stop);
}

QByteArray LocalFileService::readHead(const QString &path, qint64 maxBytes, const std::stop_token &stop)
{
    const QByteArray bytes = native(path);
    struct stat status = {};
    // Looked at before it is opened: opening some devices already does something.
    if (::stat(bytes.constData(), &status) != 0)
        fail(path, QStringLiteral("could not be read"), errno);
    requireOrdinaryFile(path, status.st_mode);
    const FileDescriptor file(::open(bytes.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen() || ::fstat(file.value(), &status) != 0)
        fail(path, QStringLiteral("could not be read"), errno);
    requireOrdinaryFile(path, status.st_mode);
    QByteArray data;
    data.reserve(std::min(qint64(status.st_size), maxBytes));
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    for (;;) {
        throwIfStopped(stop);
        const qint64 wanted = std::min(qint64(chunk.size()), maxBytes - data.size());
        const ssize_t count = ::read(file.value(), chunk.data(), size_t(wanted));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(path, QStringLiteral("could not be read"), errno);
        if (count == 0)
            return data;
        data.append(chunk.constData(), count);
    }
}

void LocalFileService::write(const QByteArray &data, const QString &path, const std::stop_token &stop)
{
    writeFile(data, path, stop);
}

void LocalFileService::setPermissions(const QString &path, const QString &octal, Recursive recursive,
                                      const std::stop_token &stop)
{
    const unsigned mode = modeFrom(path, octal);
    if (recursive == Recursive::yes)
        setModeRecursively(path, mode, stop);
    else
        setMode(path, mode);
}

std::optional<FileItem> LocalFileService::stat(const QString &path, const std::stop_token &)
{
    const auto status = statusOf(path);
    if (!status)
        return std::nullopt;
    FileItem item = LocalDisk::item(Format::fileName(path), path, *status);
    item.leadsToFolder = item.isSymlink && leadsToFolder(AT_FDCWD, native(path).constData());
    return item;
}

FileItem LocalFileService::followLink(const FileItem &link, const std::stop_token &)
{
    return LocalDisk::item(link.name, link.path, *targetStatusOf(link.path));
}

void LocalFileService::copy(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    LocalCopy(item.path, toPath, stop).run();
}

void LocalFileService::move(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    if (item.path == toPath)
        return;
    if (toPath.startsWith(item.path + u'/'))
        fail(item.path, QStringLiteral("cannot be placed inside itself."));
    const int problem = renameWithoutReplacing(native(item.path), native(toPath));
    if (problem == 0)
        return;
    if (problem == EEXIST)
        fail(toPath, QStringLiteral("already exists."));
    if (problem != EXDEV) {
        fail(item.path, QStringLiteral("could not be moved to “%1”").arg(Format::display(toPath)), problem);
    }
    LocalCopy copy(item.path, toPath, stop);
    copy.run();
    copy.verify();
    copy.flush();
    try {
        // From here on there are two whole copies; stopping now would leave a source with holes in it.
        removeTree(item.path, std::stop_token());
    } catch (const Error &error) {
        fail(item.path, QStringLiteral("was copied to “%1”, but the original is still there: %2")
                            .arg(Format::display(toPath), error.message()));
    }
}

std::optional<qint64> LocalFileService::freeSpace(const QString &path, const std::stop_token &)
{
    struct statvfs status = {};
    if (::statvfs(native(path).constData(), &status) != 0)
        return std::nullopt;
    return qint64(status.f_bavail) * qint64(status.f_frsize);
}

void LocalFileService::moveToTrash(const QString &path)
{
    native(path);
    if (!NativePath::isUnicode(path))
        fail(path, QStringLiteral("cannot go to the bin: its name is no UTF-8 text. It can be deleted."));
    // Where the user's data folder is missing, Qt 6.4 moves the file into the working folder and calls that a success.
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (!QDir().mkpath(data))
        fail(path, QStringLiteral("could not be moved to the bin: the folder “%1” could not be made.").arg(data));
    QFile file(path);
    if (!file.moveToTrash())
        fail(path, QStringLiteral("could not be moved to the bin: %1.").arg(file.errorString()));
}

} // namespace moorix
