// SPDX-License-Identifier: GPL-3.0-or-later
// ls, mkdir, rm, cat, mv and chmod.
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "base/Json.h"
#include "files/FileItemJson.h"
#include "files/FileService.h"
#include "files/FileServiceError.h"
#include "files/Format.h"

#include <QCommandLineParser>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

FileItem existing(const TargetPlace &place, const std::stop_token &stop)
{
    const auto item = place.service->stat(place.path, stop);
    if (!item)
        throw FileServiceError::notFound(place.path);
    return *item;
}

void refuseTaken(const TargetPlace &place, const std::stop_token &stop)
{
    if (place.service->stat(place.path, stop))
        throw Error(u"Files"_s, u"“%1” exists already."_s.arg(place.path));
}

QList<FileItem> entriesOf(const TargetPlace &place, const std::stop_token &stop)
{
    FileItem item = existing(place, stop);
    if (item.isSymlink)
        item = place.service->followLink(item, stop);
    if (!item.isDirectory)
        return {item};
    QList<FileItem> entries = place.service->list(place.path, HiddenFiles::included, stop);
    std::sort(entries.begin(), entries.end(), [](const FileItem &a, const FileItem &b) {
        return a.isDirectory != b.isDirectory ? a.isDirectory : a.name < b.name;
    });
    return entries;
}

QString listingLine(const FileItem &item)
{
    const QString kind = item.isSymlink ? u"l"_s : item.isDirectory ? u"d"_s : u"-"_s;
    const QString size = item.isDirectory ? QString() : QString::number(item.size);
    const QString date = item.modified ? item.modified->toLocalTime().toString(u"yyyy-MM-dd HH:mm"_s) : QString();
    return u"%1%2 %3 %4  %5\n"_s.arg(kind, item.permissions.value_or(u"?????????"_s), size.rightJustified(14),
                                     date.leftJustified(16), Format::display(item.name));
}

ExitCode runLs(const QCommandLineParser &parser, CommandContext &context)
{
    const TargetPlace place = context.place(parser.positionalArguments().constFirst());
    QList<FileItem> entries = entriesOf(place, context.stop());
    if (!parser.isSet(u"all"_s) && entries.size() > 1)
        entries.removeIf([](const FileItem &item) { return item.name.startsWith(u'.'); });
    if (!parser.isSet(u"json"_s)) {
        for (const FileItem &item : std::as_const(entries))
            console::print(listingLine(item));
        return ExitCode::done;
    }
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"items");
    writer.beginArray();
    for (const FileItem &item : std::as_const(entries))
        writeJson(writer, item);
    writer.endArray();
    writer.endObject();
    console::printBytes(writer.bytes());
    return ExitCode::done;
}

/// Runs `action` for each target. One failure does not keep the others from being done.
ExitCode forEachTarget(const QCommandLineParser &parser, const std::function<void(const QString &)> &action)
{
    const QStringList targets = parser.positionalArguments();
    qsizetype failures = 0;
    for (const QString &target : targets) {
        try {
            action(target);
        } catch (const Cancelled &) {
            throw;
        } catch (const UsageError &) {
            throw;
        } catch (const Error &error) {
            console::complain(error.message());
            ++failures;
        }
    }
    if (failures == 0)
        return ExitCode::done;
    return failures == targets.size() ? ExitCode::failed : ExitCode::partly;
}

ExitCode runMkdir(const QCommandLineParser &parser, CommandContext &context)
{
    return forEachTarget(parser, [&context](const QString &target) {
        const TargetPlace place = context.place(target);
        refuseTaken(place, context.stop());
        place.service->createDirectory(place.path, context.stop());
    });
}

/// Before anything is removed: what leads to a folder without naming it is a slip.
void requireName(const QString &target)
{
    const auto remote = splitTarget(target);
    const QString path = remote ? remote->second : target;
    if (remote && path.isEmpty())
        throw UsageError(u"“%1” names no path on the server. Nothing was removed."_s.arg(target));
    if (const QString name = Format::fileName(path); name == u"." || name == u"..")
        throw UsageError(u"“%1” does not name what is to be removed. Nothing was removed."_s.arg(target));
}

ExitCode runRm(const QCommandLineParser &parser, CommandContext &context)
{
    const bool isRecursive = parser.isSet(u"recursive"_s);
    const QStringList targets = parser.positionalArguments();
    std::for_each(targets.cbegin(), targets.cend(), requireName);
    return forEachTarget(parser, [&context, isRecursive](const QString &target) {
        const TargetPlace place = context.place(target);
        if (place.path == u"/")
            throw UsageError(u"The root folder is not removed."_s);
        const FileItem item = existing(place, context.stop());
        if (item.isDirectory && !item.isSymlink && !isRecursive) {
            throw Error(u"Files"_s,
                        u"“%1” is a folder. With --recursive it is removed with all that is in it."_s.arg(place.path));
        }
        place.service->remove(item, context.stop());
    });
}

ExitCode runCat(const QCommandLineParser &parser, CommandContext &context)
{
    return forEachTarget(parser, [&context](const QString &target) {
        const TargetPlace place = context.place(target);
        FileItem item = existing(place, context.stop());
        if (item.isSymlink)
            item = place.service->followLink(item, context.stop());
        if (item.isDirectory)
            throw Error(u"Files"_s, u"“%1” is a folder."_s.arg(place.path));
        console::printBytes(place.service->read(place.path, context.stop()));
    });
}

ExitCode runMv(const QCommandLineParser &parser, CommandContext &context)
{
    const QString newName = parser.positionalArguments().at(1);
    if (newName.isEmpty() || newName.contains(u'/') || newName == u"." || newName == u"..")
        throw UsageError(u"“%1” is no name. mv gives a new name in the same folder."_s.arg(newName));
    TargetPlace place = context.place(parser.positionalArguments().constFirst());
    const FileItem item = existing(place, context.stop());
    place.path = Format::join(Format::parent(place.path), newName);
    refuseTaken(place, context.stop());
    place.service->rename(item, newName, context.stop());
    return ExitCode::done;
}

ExitCode runChmod(const QCommandLineParser &parser, CommandContext &context)
{
    QStringList arguments = parser.positionalArguments();
    const QString mode = arguments.takeFirst();
    const bool isOctal =
        (mode.size() == 3 || mode.size() == 4) &&
        std::all_of(mode.cbegin(), mode.cend(), [](QChar digit) { return digit >= u'0' && digit <= u'7'; });
    if (!isOctal)
        throw UsageError(u"“%1” is no mode. A mode is three or four octal digits, such as 644 or 755."_s.arg(mode));
    const TargetPlace place = context.place(arguments.constFirst());
    const Recursive recursive = parser.isSet(u"R"_s) ? Recursive::yes : Recursive::no;
    place.service->setPermissions(existing(place, context.stop()).path, mode, recursive, context.stop());
    return ExitCode::done;
}

} // namespace

QList<Command> fileCommands()
{
    const QCommandLineOption json(u"json"_s, u"Print one JSON object."_s);
    Command ls{u"ls"_s, u"TARGET [--all] [--json]"_s, u"List a folder."_s, {}, {}, {}, 1, 1, runLs};
    ls.details = u"--json prints {\"items\":[{\"name\",\"path\",\"isDirectory\",\"isSymlink\",\"size\",\"modified\","
                 "\"permissions\",\n\"ownerName\"}…]}: sizes in bytes, dates in UTC, null for what is unknown."_s;
    ls.examples = {u"ls /var/www --all"_s, u"ls web-01:/etc --json"_s, u"ls web-01:"_s};
    ls.options = {{{u"a"_s, u"all"_s}, u"Include names that begin with a dot."_s}, json};

    Command mkdir{u"mkdir"_s, u"TARGET…"_s, u"Make a folder."_s, {}, {u"mkdir web-01:/srv/new"_s}, {}, 1, -1, runMkdir};

    Command rm{u"rm"_s, u"TARGET… [--recursive]"_s, u"Remove files, or whole folders."_s, {}, {}, {}, 1, -1, runRm};
    rm.details = u"What is removed does not go to the bin. A link is removed itself, never what it points to."_s;
    rm.examples = {u"rm web-01:/tmp/old.log"_s, u"rm --recursive ./build"_s};
    rm.options = {{{u"r"_s, u"recursive"_s}, u"Remove folders with all that is in them."_s}};

    Command cat{u"cat"_s, u"TARGET…"_s, u"Print files."_s, {}, {u"cat web-01:/etc/hosts"_s}, {}, 1, -1, runCat};

    Command mv{u"mv"_s, u"TARGET NEWNAME"_s, u"Give a new name in the same folder."_s, {}, {}, {}, 2, 2, runMv};
    mv.examples = {u"mv web-01:/srv/a.txt b.txt"_s};

    Command chmod{u"chmod"_s, u"[-R] MODE TARGET"_s, u"Set permissions."_s, {}, {}, {}, 2, 2, runChmod};
    chmod.examples = {u"chmod 644 web-01:/srv/index.html"_s, u"chmod -R 750 ./private"_s};
    chmod.options = {{u"R"_s, u"Set the same mode on everything in the folder."_s}};
    return {ls, mkdir, rm, cat, mv, chmod};
}

} // namespace moorix
