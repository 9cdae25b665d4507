// SPDX-License-Identifier: GPL-3.0-or-later
// Whole trees: from the account's shell in one command, or from many listings in a run of the client.
#include "files/Format.h"
#include "remote/FindOutput.h"
#include "remote/SFTPQuoting.h"
#include "remote/SFTPService.h"
#include "remote/SSHFailureText.h"
#include "remote/UnixListParser.h"

namespace moorix {

namespace {

constexpr ListedTimes timesOfListings{ListedTimes::Precision::minutesOrDays, Qt::LocalTime};

} // namespace

ListedTimes SFTPService::listedTimes() const
{
    return timesOfListings;
}

ListedTree SFTPService::listTree(const QString &folder, const TreeProgress &onProgress, const std::stop_token &stop)
{
    FolderReader reader;
    reader.list = [this](std::span<ListedFolder> folders, int atOnce, const std::stop_token &ending) {
        listEach(folders, atOnce, ending);
    };
    reader.runsFor = [this](qsizetype folders) { return runsForListing(folders); };
    // A run costs as much as some listings: nearby of the two machines' time, far away of the line's.
    reader.fewestInARun = isFar() ? 3 : 12;
    reader.mostInARun = isFar() ? 32 : 100;
    if (const std::optional<FindOutput> found = find(folder, onProgress, stop)) {
        ListedTree tree = found->tree();
        // Only the client's own words tell why, and whether it cannot read them either.
        RemoteTree::readLevels(found->unread(), reader, tree, onProgress, stop);
        if (tree.folders.size() > found->tree().folders.size())
            tree.times = timesOfListings;
        return tree;
    }
    ListedTree tree;
    tree.times = timesOfListings;
    const QList<FileItem> items = list(folder, HiddenFiles::included, stop);
    if (items.size() == 1 && items.constFirst().path == folder)
        throw FileServiceError::operationFailed(unlisted(folder) + QStringLiteral(": it is no folder."));
    tree.folders.insert(folder, items);
    if (onProgress)
        onProgress(items.size());
    RemoteTree::readLevels(ListedTree::subfolders(items), reader, tree, onProgress, stop);
    return tree;
}

/// Nothing where there is no shell, or anything but GNU find, or where it ends with anything but a tree and the folders
/// in it that it may not read.
std::optional<FindOutput> SFTPService::find(const QString &folder, const TreeProgress &onProgress,
                                            const std::stop_token &stop)
{
    FindOutput found(folder);
    SSHStreams streams;
    streams.takeOutput = [&](QByteArrayView bytes) {
        found.feed(bytes);
        if (onProgress && found.entries() > 0)
            onProgress(found.entries());
    };
    const std::optional<SSHOutput> output = askShell(FindOutput::command(folder), stop, streams);
    if (!output || !found.end(output->exitCode, output->errorText))
        return std::nullopt;
    return found;
}

/// A few go over the connection that is up; only many are worth further ones.
int SFTPService::runsForListing(qsizetype folders) const
{
    constexpr qsizetype few = 32;
    if (!isFar())
        return RemoteFileService::lanesForMany();
    return folders > few ? lanesForMany() : SSHLanes::clientsEach;
}

void SFTPService::listEach(std::span<ListedFolder> folders, int atOnce, const std::stop_token &stop)
{
    QStringList commands;
    std::vector<qsizetype> ends;
    for (ListedFolder &folder : folders) {
        folder.settle([&] {
            const QStringList lines = listCommands(folder.path, QStringLiteral("-la"));
            for (const QString &line : lines)
                SFTPQuoting::rejectLongLine(line);
            commands += lines;
        });
        ends.push_back(commands.size());
    }
    QList<SFTPAnswer> answers;
    try {
        const auto ignoreAnswer = [](qsizetype) {};
        answers = atOnce > SSHLanes::clientsEach ? runEach(commands, ignoreAnswer, stop)
                  : commands.isEmpty()           ? QList<SFTPAnswer>()
                                                 : m_runner.runEach(login(), commands, ignoreAnswer, stop);
    } catch (const FileServiceError &error) {
        if (error.isOfConnection())
            throw;
        // A name with a line end in it can look like the echo of a command; by themselves listings are not mistaken.
        for (ListedFolder &folder : folders) {
            if (folder.isOpen())
                folder.settle([&] { folder.items = list(folder.path, HiddenFiles::included, stop); });
        }
        return;
    }
    for (std::size_t i = 0; i < folders.size(); ++i) {
        const qsizetype start = i == 0 ? 0 : ends.at(i - 1);
        ListedFolder &folder = folders[i];
        if (folder.isOpen())
            folder.settle([&] { judge(folder, answers.mid(start, ends.at(i) - start)); });
    }
}

/// Only the last command prints rows.
void SFTPService::judge(ListedFolder &folder, const QList<SFTPAnswer> &answers)
{
    const QString text = QString::fromUtf8(answers.constLast().text);
    QList<FileItem> items = UnixListParser::parse(text, folder.path);
    const bool wasEntered = answers.size() == 1 || answers.constFirst().outcome().words.isEmpty();
    if (wasEntered && (!items.isEmpty() || UnixListParser::listsTheFolderItself(text, folder.path))) {
        folder.items = std::move(items);
        return;
    }
    const SFTPOutcome outcome = (wasEntered ? answers.constLast() : answers.constFirst()).outcome();
    if (outcome.kind == SFTPOutcome::Kind::missing)
        throw FileServiceError::notFound(folder.path);
    if (outcome.words.isEmpty())
        throw mayNotEnter(folder.path);
    throw FileServiceError::operationFailed(
        SSHFailureText::operation(unlisted(folder.path), outcome.reason, outcome.words));
}

} // namespace moorix
