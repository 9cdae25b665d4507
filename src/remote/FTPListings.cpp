// SPDX-License-Identifier: GPL-3.0-or-later
// What stands on the server: listings, single entries, whole trees.
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "remote/FTPFailureText.h"
#include "remote/FTPListParser.h"
#include "remote/FTPService.h"

#include <algorithm>

namespace moorix {

namespace {

constexpr int listRefused = 19;
constexpr qsizetype mostListingsAtOnce = 100;
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

QList<CurlTransfer> FTPService::listings(const QStringList &folders, const QByteArray &command,
                                         const std::stop_token &stop, const QList<QByteArray> &before)
{
    const FTPLogin current = login();
    CurlRequest request;
    request.longest = longestListing;
    for (const QByteArray &line : before)
        request.config.set("quote", '*' + line);
    // Some servers answer the listing of a missing folder with an empty one; changing to the folder first does not lie.
    request.config.set("ftp-method", "singlecwd");
    request.config.set("request", command);
    request.config.set("speed-limit", "1");
    request.config.set("speed-time", QByteArray::number(qlonglong(m_patience.standstill.count())));
    for (const QString &folder : folders)
        request.config.set("url", urlOfFolder(current, folder));
    return m_runner.run(current, request, stop);
}

std::optional<QList<FileItem>> FTPService::entries(const CurlTransfer &transfer, const QString &folder) const
{
    if (transfer.exitCode != 0)
        return std::nullopt;
    throwUnlessWhole(folder, transfer);
    FTPListing listing = FTPListParser::parse(transfer.body, folder, charset());
    return listing.understood > 0 ? std::optional(std::move(listing.items)) : std::nullopt;
}

QList<FileItem> FTPService::list(const QString &path, HiddenFiles /*hidden*/, const std::stop_token &stop)
{
    const CurlTransfer transfer = listings({path}, "LIST -a", stop).constFirst();
    if (std::optional<QList<FileItem>> items = entries(transfer, path))
        return *std::move(items);
    if (transfer.exitCode != 0 && transfer.exitCode != listRefused)
        fail(transfer, path, unlisted(path), stop);
    return listedOtherwise(path, stop);
}

QList<FileItem> FTPService::listedOtherwise(const QString &path, const std::stop_token &stop)
{
    const CurlTransfer plain = listings({path}, "LIST", stop).constFirst();
    if (plain.exitCode != 0 && plain.exitCode != listRefused)
        fail(plain, path, unlisted(path), stop);
    throwUnlessWhole(path, plain);
    const FTPListing listing = FTPListParser::parse(plain.body, path, charset());
    if (plain.exitCode == 0 && !listing.isForeign())
        return listing.items;
    const CurlTransfer facts = listings({path}, "MLSD", stop).constFirst();
    if (std::optional<QList<FileItem>> items = entries(facts, path))
        return *std::move(items);
    if (plain.exitCode != 0)
        fail(plain, path, unlisted(path), stop);
    throw FileServiceError::operationFailed(
        unlisted(path) + QStringLiteral(": the server's form of listing is not understood.\n") + firstLine(plain.body));
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

QList<FileItem> FTPService::deepestFirst(const QString &folder, const std::stop_token &stop)
{
    QList<FileItem> found;
    QStringList level{folder};
    while (!level.isEmpty()) {
        QStringList next;
        for (qsizetype start = 0; start < level.size(); start += mostListingsAtOnce) {
            const QStringList folders = level.mid(start, mostListingsAtOnce);
            const QList<CurlTransfer> transfers = listings(folders, "LIST -a", stop);
            for (qsizetype i = 0; i < folders.size(); ++i) {
                // Whatever one run leaves open, or does not reach, is asked for on its own.
                std::optional<QList<FileItem>> items;
                if (i < transfers.size())
                    items = entries(transfers.at(i), folders.at(i));
                for (const FileItem &item : items ? *items : list(folders.at(i), HiddenFiles::included, stop)) {
                    found << item;
                    if (item.isDirectory && !item.isSymlink)
                        next << item.path;
                }
            }
        }
        level = next;
    }
    // Folders were found before what they hold.
    std::reverse(found.begin(), found.end());
    return found;
}

} // namespace moorix
