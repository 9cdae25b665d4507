// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/FileActions.h"

#include "base/Error.h"
#include "files/FileNames.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/LocalFileService.h"

#include <algorithm>

namespace moorix::FileActions {

namespace {

[[noreturn]] void failTaken(const QString &name)
{
    throw Error(QStringLiteral("Files"), QStringLiteral("“%1” already exists.").arg(Format::display(name)));
}

/// The path of a new entry, once its name is known to be usable and free.
QString freePath(FileService &service, const QString &folder, const QString &name, const std::stop_token &stop)
{
    if (const auto problem = FileNames::problem(name))
        throw Error(QStringLiteral("Files"), *problem);
    const QString path = Format::join(folder, name);
    if (service.stat(path, stop))
        failTaken(name);
    return path;
}

/// Where case does not count, asking for a name in another case finds the item itself; the listing tells two apart.
bool isListed(FileService &service, const QString &folder, const QString &name, const std::stop_token &stop)
{
    const QList<FileItem> items = service.list(folder, HiddenFiles::included, stop);
    return std::any_of(items.begin(), items.end(), [&name](const FileItem &item) { return item.name == name; });
}

QString freeCopyName(FileService &service, const FileItem &item, const std::stop_token &stop)
{
    const QString folder = Format::parent(item.path);
    for (int number = 1;; ++number) {
        const QString name =
            item.isDirectory ? FileNames::copyOfFolder(item.name, number) : FileNames::copyOfFile(item.name, number);
        if (!service.stat(Format::join(folder, name), stop))
            return name;
    }
}

template <class Action>
Outcome forEach(const QList<FileItem> &items, Action action)
{
    Outcome outcome;
    for (const FileItem &item : items) {
        try {
            action(item, outcome);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            outcome.failures.append(error.message());
        }
    }
    return outcome;
}

} // namespace

Outcome createFolder(FileService &service, const QString &folder, const QString &name, const std::stop_token &stop)
{
    service.createDirectory(freePath(service, folder, name, stop), stop);
    return {{}, {name}};
}

Outcome createFile(FileService &service, const QString &folder, const QString &name, const std::stop_token &stop)
{
    service.write(QByteArray(), freePath(service, folder, name, stop), stop);
    return {{}, {name}};
}

Outcome rename(FileService &service, const FileItem &item, const QString &newName, const std::stop_token &stop)
{
    if (newName == item.name)
        return {{}, {newName}};
    const QString folder = Format::parent(item.path);
    const bool changesCaseOnly = newName.compare(item.name, Qt::CaseInsensitive) == 0;
    if (!changesCaseOnly)
        freePath(service, folder, newName, stop);
    else if (isListed(service, folder, newName, stop))
        failTaken(newName);
    service.rename(item, newName, stop);
    return {{}, {newName}};
}

Outcome move(FileService &service, const QList<FileItem> &items, const QString &folder, const std::stop_token &stop)
{
    return forEach(items, [&](const FileItem &item, Outcome &) {
        const QString target = Format::join(folder, item.name);
        if (target == item.path)
            return;
        if (service.stat(target, stop))
            failTaken(item.name);
        service.move(item, target, stop);
    });
}

Outcome remove(FileService &service, const QList<FileItem> &items, const std::stop_token &stop)
{
    return forEach(items, [&](const FileItem &item, Outcome &) { service.remove(item, stop); });
}

Outcome moveToTrash(LocalFileService &disk, const QList<FileItem> &items, const std::stop_token &stop)
{
    return forEach(items, [&](const FileItem &item, Outcome &) {
        LocalDisk::throwIfStopped(stop);
        disk.moveToTrash(item.path);
    });
}

Outcome duplicate(FileService &service, const QList<FileItem> &items, const std::stop_token &stop)
{
    return forEach(items, [&](const FileItem &item, Outcome &outcome) {
        const QString name = freeCopyName(service, item, stop);
        service.copy(item, Format::join(Format::parent(item.path), name), stop);
        outcome.created.append(name);
    });
}

Outcome setPermissions(FileService &service, const QList<FileItem> &items, const QString &octal, Recursive recursive,
                       const std::stop_token &stop)
{
    return forEach(items,
                   [&](const FileItem &item, Outcome &) { service.setPermissions(item.path, octal, recursive, stop); });
}

} // namespace moorix::FileActions
