// SPDX-License-Identifier: GPL-3.0-or-later
// What stands on the server: listings, single entries, whole trees.
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "remote/FTPFailureText.h"
#include "remote/FTPListParser.h"
#include "remote/FTPListedZone.h"
#include "remote/FTPService.h"

#include <algorithm>

namespace moorix {

namespace {

constexpr int listRefused = 19;
/// Or a folder that may not be entered.
constexpr int noSuchFile = 550;
/// Listings may be long, so that only their standstill tells that something is wrong.
constexpr auto longestListing = std::chrono::minutes(15);

QString unlisted(const QString &path)
{
    return QStringLiteral("“%1” could not be listed").arg(Format::display(path));
}

[[noreturn]] void failListing(const QString &path, const QString &why, const FTPReply &reply)
{
    throw FileServiceError::operationFailed(QStringLiteral("%1: %2.\n%3 %4")
                                                .arg(unlisted(path), why, QString::number(reply.code),
                                                     Format::display(QString::fromUtf8(reply.text).trimmed())));
}

/// Some servers report success for a listing that is none, or only a part.
void throwUnlessWhole(const QString &path, const CurlTransfer &transfer)
{
    for (const FTPReply &reply : transfer.replies) {
        if (reply.text.contains("failed to open"))
            failListing(path, QStringLiteral("the account may not read this folder"), reply);
        if (reply.code == 226 && reply.text.toLower().contains("truncated"))
            failListing(path, QStringLiteral("it holds more entries than the server shows"), reply);
    }
}

QString firstLine(const QByteArray &text)
{
    return Format::display(QString::fromLatin1(text.trimmed().split('\n').constFirst().left(200)));
}

} // namespace

QByteArray FTPService::urlOfFolder(const FTPLogin &login, const QString &path) const
{
    return urlOf(login, path.endsWith(u'/') ? path : path + u'/');
}

CurlConfig FTPService::listingConfig(const QStringList &folders, const QByteArray &command,
                                     const QList<QByteArray> &before) const
{
    const FTPLogin current = login();
    CurlConfig config;
    for (const QByteArray &line : before)
        config.set("quote", '*' + line);
    // Some servers answer the listing of a missing folder with an empty one; changing to the folder first does not lie.
    config.set("ftp-method", "singlecwd");
    config.set("request", command);
    config.set("speed-limit", "1");
    config.set("speed-time", QByteArray::number(qlonglong(m_patience.standstill.count())));
    for (const QString &folder : folders)
        config.set("url", urlOfFolder(current, folder));
    return config;
}

QList<CurlTransfer> FTPService::listings(const QStringList &folders, const QByteArray &command,
                                         const std::stop_token &stop, const QList<QByteArray> &before)
{
    CurlRequest request;
    request.longest = longestListing;
    request.config = listingConfig(folders, command, before);
    return m_runner.run(login(), request, stop);
}

FTPListing FTPService::readListing(const CurlTransfer &transfer, const QString &folder, const std::stop_token &stop)
{
    const auto readAs = [&](std::chrono::seconds ahead) {
        return FTPListParser::parse(transfer.body, folder, charset(), QDateTime::currentDateTimeUtc(), ahead);
    };
    const std::chrono::seconds assumed = m_aheadOfUTC;
    FTPListing listing = readAs(assumed);
    learnZone(listing.timed, stop);
    const std::chrono::seconds known = m_aheadOfUTC;
    return known == assumed ? listing : readAs(known);
}

/// Costs a login, but only where there are files that tell; what else happens to it counts for nothing.
void FTPService::learnZone(const QList<FileItem> &files, const std::stop_token &stop)
{
    if (files.isEmpty() || m_zoneTriesLeft == 0)
        return;
    const std::lock_guard lock(m_learning);
    if (m_zoneTriesLeft == 0)
        return;
    --m_zoneTriesLeft;
    try {
        QList<QByteArray> commands;
        for (const FileItem &file : files)
            commands << "MDTM " + native(file.path);
        const QList<FTPReply> replies = command(commands, stop);
        const auto ahead = FTPListedZone::aheadOfUTC(files, replies);
        m_aheadOfUTC = ahead.value_or(std::chrono::seconds(0));
        if (ahead || FTPListedZone::isUnknown(replies.constFirst()))
            m_zoneTriesLeft = 0;
    } catch (const FileServiceError &) {
        return;
    }
}

std::optional<QList<FileItem>> FTPService::entries(const CurlTransfer &transfer, const QString &folder,
                                                   const std::stop_token &stop)
{
    if (transfer.exitCode != 0)
        return std::nullopt;
    throwUnlessWhole(folder, transfer);
    FTPListing listing = readListing(transfer, folder, stop);
    return listing.understood > 0 ? std::optional(std::move(listing.items)) : std::nullopt;
}

QList<FileItem> FTPService::list(const QString &path, HiddenFiles /*hidden*/, const std::stop_token &stop)
{
    ListedFolder only{path};
    listEach({&only, 1}, stop);
    if (only.failure)
        throw *only.failure;
    return only.items.value_or(QList<FileItem>());
}

/// curl ends with the first that fails. Another run goes on behind it, or with it where it may have failed for what
/// came before it on the connection.
void FTPService::askEach(std::span<ListedFolder> folders, const QByteArray &command, const TakeListing &take,
                         const std::stop_token &stop)
{
    std::vector<ListedFolder *> open;
    QStringList paths;
    for (ListedFolder &folder : folders) {
        if (!folder.isOpen())
            continue;
        open.push_back(&folder);
        paths << folder.path;
    }
    for (std::size_t next = 0; next < open.size();) {
        const QList<CurlTransfer> transfers = listings(paths.mid(qsizetype(next)), command, stop);
        for (qsizetype i = 0; i < transfers.size() && next < open.size(); ++i) {
            const CurlTransfer &transfer = transfers.at(i);
            if (i > 0 && transfer.exitCode != 0 && transfer.refusal().code != noSuchFile)
                break;
            ListedFolder &folder = *open.at(next++);
            folder.settle([&] { take(folder, transfer); });
        }
    }
}

/// Some servers do not know the flag, and some say nothing at all of an empty folder. What the plain listing does not
/// tell in a known form, facts may.
void FTPService::listEach(std::span<ListedFolder> folders, const std::stop_token &stop)
{
    login();
    for (ListedFolder &folder : folders)
        folder.settle([&] { native(folder.path); });
    const auto throwIfNoListing = [&](const ListedFolder &folder, const CurlTransfer &transfer) {
        if (transfer.exitCode != 0 && transfer.exitCode != listRefused)
            fail(transfer, folder.path, unlisted(folder.path), stop);
    };
    const auto takeAll = [&](ListedFolder &folder, const CurlTransfer &transfer) {
        folder.items = entries(transfer, folder.path, stop);
        if (!folder.items)
            throwIfNoListing(folder, transfer);
    };
    QHash<QString, CurlTransfer> plain;
    const auto takePlain = [&](ListedFolder &folder, const CurlTransfer &transfer) {
        throwIfNoListing(folder, transfer);
        throwUnlessWhole(folder.path, transfer);
        const FTPListing listing = readListing(transfer, folder.path, stop);
        if (transfer.exitCode == 0 && !listing.isForeign())
            folder.items = listing.items;
        else
            plain.insert(folder.path, transfer);
    };
    const auto takeFacts = [&](ListedFolder &folder, const CurlTransfer &transfer) {
        folder.items = entries(transfer, folder.path, stop);
        if (folder.items)
            return;
        const CurlTransfer asked = plain.value(folder.path);
        if (asked.exitCode != 0)
            fail(asked, folder.path, unlisted(folder.path), stop);
        throw FileServiceError::operationFailed(unlisted(folder.path) +
                                                QStringLiteral(": the server's form of listing is not understood.\n") +
                                                firstLine(asked.body));
    };
    askEach(folders, "LIST -a", takeAll, stop);
    askEach(folders, "LIST", takePlain, stop);
    askEach(folders, "MLSD", takeFacts, stop);
}

ListedTree FTPService::listTree(const QString &folder, const TreeProgress &onProgress, const std::stop_token &stop)
{
    FolderReader reader;
    reader.list = [this](std::span<ListedFolder> folders, int /*atOnce*/, const std::stop_token &ending) {
        listEach(folders, ending);
    };
    // A login costs as much as some listings.
    reader.runsFor = [this](qsizetype) { return lanesForMany(); };
    reader.fewestInARun = isNear() ? 30 : 4;
    reader.mostInARun = isNear() ? 100 : 32;
    ListedTree tree;
    tree.times = listedTimes();
    const QList<FileItem> items = list(folder, HiddenFiles::included, stop);
    tree.folders.insert(folder, items);
    if (onProgress)
        onProgress(items.size());
    RemoteTree::readLevels(ListedTree::subfolders(items), reader, tree, onProgress, stop);
    return tree;
}

std::optional<FileItem> FTPService::stat(const QString &path, const std::stop_token &stop)
{
    native(path);
    FileItem root;
    root.name = root.path = QStringLiteral("/");
    root.isDirectory = true;
    if (path == root.path)
        return root;
    try {
        const QList<FileItem> siblings = list(Format::parent(path), HiddenFiles::included, stop);
        const auto self =
            std::find_if(siblings.begin(), siblings.end(),
                         [name = Format::fileName(path)](const FileItem &sibling) { return sibling.name == name; });
        return self == siblings.end() ? std::nullopt : std::optional(*self);
    } catch (const FileServiceError &error) {
        if (error.kind() == FileServiceError::Case::notFound)
            return std::nullopt;
        throw;
    }
}

/// Servers that hide names from listings answer for them all the same.
bool FTPService::exists(const QString &path, const std::stop_token &stop)
{
    const QByteArray name = native(path);
    const QList<FTPReply> replies = command({"TYPE I", "SIZE " + name, "MDTM " + name, "CWD " + name}, stop);
    const bool isAnswered =
        std::any_of(replies.begin() + 1, replies.end(), [](const FTPReply &reply) { return !reply.isRefusal(); });
    return isAnswered || stat(path, stop).has_value();
}

FileItem FTPService::followLink(const FileItem &link, const std::stop_token &stop)
{
    const QByteArray path = native(link.path);
    const QList<FTPReply> replies = command({"TYPE I", "CWD " + path, "SIZE " + path, "MDTM " + path}, stop);
    FileItem target = link;
    // Those shown are the link's own.
    if (target.isSymlink)
        target.permissions.reset();
    target.isSymlink = false;
    target.isDirectory = !replies.at(1).isRefusal();
    target.modified = FTPListParser::parseStamp(replies.at(3).text);
    if (target.isDirectory)
        return target;
    if (!replies.at(2).isRefusal()) {
        target.size = replies.at(2).text.trimmed().toLongLong();
        return target;
    }
    const std::optional<FileItem> listed = stat(link.path, stop);
    if (!listed)
        throw FileServiceError::notFound(link.path);
    if (!listed->isSymlink)
        return *listed;
    throw FileServiceError::operationFailed(
        QStringLiteral("The link “%1” leads to nothing.").arg(Format::display(link.path)));
}

} // namespace moorix
