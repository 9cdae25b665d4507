// SPDX-License-Identifier: GPL-3.0-or-later
// Many files or steps in one run of the client.
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"
#include "files/TransferSpeed.h"
#include "remote/SFTPQuoting.h"
#include "remote/SFTPService.h"
#include "remote/UnixListParser.h"

#include <algorithm>
#include <sys/stat.h>

namespace moorix {

namespace {

using SFTPQuoting::sftpPath;

/// The commands of one run, and what each of them is about.
struct Batch
{
    QStringList commands = {};
    std::vector<std::size_t> indices = {};

    /// What cannot be sent fails alone.
    template <class Task>
    void add(std::vector<Task> &tasks, std::size_t index, const std::function<QString()> &command)
    {
        try {
            const QString line = command();
            SFTPQuoting::rejectLongLine(line);
            commands << line;
            indices.push_back(index);
        } catch (const Error &error) {
            tasks.at(index).state = Task::State::failed;
            tasks.at(index).failure = error.message();
        }
    }
};

Batch commandsFor(std::vector<RemoteCopy> &copies, const std::function<QString(const RemoteCopy &)> &command)
{
    Batch batch;
    for (std::size_t i = 0; i < copies.size(); ++i) {
        if (copies.at(i).state == RemoteCopy::State::open)
            batch.add(copies, i, [&] { return command(copies.at(i)); });
    }
    return batch;
}

/// The folder that all copies go into under the names of their originals, if the client may begin there: it then asks
/// the server one thing less about each of them.
QString uploadFolder(const std::vector<RemoteCopy> &copies)
{
    constexpr std::size_t fewestFiles = 4;
    const QString folder = copies.empty() ? QString() : Format::parent(copies.front().to);
    const bool isCommon = std::all_of(copies.begin(), copies.end(), [&folder](const RemoteCopy &copy) {
        return Format::parent(copy.to) == folder && Format::fileName(copy.to) == Format::fileName(copy.from);
    });
    return isCommon && copies.size() >= fewestFiles && SFTPProcessRunner::mayStartIn(folder) ? folder : QString();
}

Batch putCommands(std::vector<RemoteCopy> &copies, const QString &folder)
{
    return commandsFor(copies, [&folder](const RemoteCopy &copy) {
        LocalDisk::requireFile(copy.from);
        const QString put = QStringLiteral("put -p ") + sftpPath(copy.from);
        // It must be one that can be sent, even where it goes without saying.
        const QString target = sftpPath(copy.to);
        return folder.isEmpty() ? put + u' ' + target : put;
    });
}

/// Marks what failed. The rest stays open until its size is known.
void noteFailures(std::vector<RemoteCopy> &copies, const Batch &batch, const QList<SFTPAnswer> &answers)
{
    for (std::size_t i = 0; i < batch.indices.size(); ++i) {
        RemoteCopy &copy = copies.at(batch.indices.at(i));
        copy.failure = answers.at(qsizetype(i)).outcome().words;
        if (!copy.failure.isEmpty())
            copy.state = RemoteCopy::State::failed;
    }
}

void arrive(RemoteCopy &copy, std::optional<qint64> size)
{
    copy.state = size ? RemoteCopy::State::arrived : RemoteCopy::State::failed;
    copy.copiedBytes = size.value_or(0);
    if (!size)
        copy.failure = QStringLiteral("The copy is not where it was written to.");
}

qint64 copiedBytes(const std::vector<RemoteCopy> &copies, const std::vector<std::size_t> &indices)
{
    qint64 bytes = 0;
    for (const std::size_t index : indices)
        bytes += copies.at(index).copiedBytes;
    return bytes;
}

QString stepCommand(const RemoteStep &step)
{
    switch (step.kind) {
    case RemoteStep::Kind::remove:
        return QStringLiteral("rm ") + sftpPath(step.path);
    case RemoteStep::Kind::removeFolder:
        return QStringLiteral("rmdir ") + sftpPath(step.path);
    case RemoteStep::Kind::replace:
        return QStringLiteral("rename ") + sftpPath(step.path) + u' ' + sftpPath(step.toPath);
    case RemoteStep::Kind::setMode:
        return QStringLiteral("chmod %1 ").arg(step.octal) + sftpPath(step.path);
    case RemoteStep::Kind::rename:
    case RemoteStep::Kind::renameFolder:
        break;
    }
    // The protocol's own renaming refuses what stands there; without the flag the client prefers one that replaces it.
    return QStringLiteral("rename -l ") + sftpPath(step.path) + u' ' + sftpPath(step.toPath);
}

Batch stepCommands(std::vector<RemoteStep> &steps)
{
    Batch batch;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps.at(i).state == RemoteStep::State::open)
            batch.add(steps, i, [&] { return stepCommand(steps.at(i)); });
    }
    return batch;
}

} // namespace

QList<SFTPAnswer> SFTPService::runEach(const QStringList &commands, const std::function<void(qsizetype)> &onAnswer,
                                       const std::stop_token &stop, const SFTPRunOptions &options)
{
    if (commands.isEmpty())
        return {};
    const SSHLogin first = login();
    if (!isFar())
        return m_runner.runEach(first, commands, onAnswer, stop, options);
    QList<SFTPAnswer> answers;
    m_lanes.carry(
        first, [&](const SSHLogin &lane) { answers = m_runner.runEach(lane, commands, onAnswer, stop, options); },
        stop);
    return answers;
}

/// Whether the way there takes most of a run's time, rather than the two machines.
bool SFTPService::isFar() const
{
    constexpr std::chrono::milliseconds longestNearby(80);
    return m_runner.quickestRun().value_or(longestNearby) > longestNearby;
}

int SFTPService::lanesForMany() const
{
    const int usual = RemoteFileService::lanesForMany();
    return isFar() ? std::max(usual, m_lanes.room(login(), {})) : usual;
}

void SFTPService::uploadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    const QString folder = uploadFolder(copies);
    const Batch batch = putCommands(copies, folder);
    QStringList commands = batch.commands;
    // One listing of each folder tells the sizes of all that is in it.
    QStringList folders;
    for (const std::size_t index : batch.indices) {
        if (const QString parent = Format::parent(copies.at(index).to); !folders.contains(parent))
            folders << parent;
    }
    std::vector<qsizetype> listings;
    for (const QString &listed : std::as_const(folders)) {
        commands +=
            listed == folder ? QStringList{QStringLiteral("ls -la")} : listCommands(listed, QStringLiteral("-la"));
        listings.push_back(commands.size() - 1);
    }
    const auto onAnswer = [&](qsizetype answered) {
        if (answered > 0 && std::size_t(answered) <= batch.indices.size())
            advanced(batch.indices.at(std::size_t(answered) - 1));
    };
    const auto began = TransferSpeed::Clock::now();
    const QList<SFTPAnswer> answers = runEach(commands, onAnswer, stop, {folder, m_speed->limit()});
    noteFailures(copies, batch, answers);
    QHash<QString, qint64> sizes;
    for (qsizetype i = 0; i < folders.size(); ++i) {
        const QString text = QString::fromUtf8(answers.at(listings.at(std::size_t(i))).text);
        for (const FileItem &item : UnixListParser::parse(text, folders.at(i)))
            sizes.insert(item.path, item.size);
    }
    for (const std::size_t index : batch.indices) {
        RemoteCopy &copy = copies.at(index);
        if (copy.state == RemoteCopy::State::open)
            arrive(copy, sizes.contains(copy.to) ? std::optional(sizes.value(copy.to)) : std::nullopt);
    }
    m_speed->count(copiedBytes(copies, batch.indices), began);
}

void SFTPService::downloadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    const Batch batch = commandsFor(copies, [](const RemoteCopy &copy) {
        return QStringLiteral("get -p ") + sftpPath(copy.from) + u' ' + sftpPath(copy.to);
    });
    const auto onAnswer = [&](qsizetype answered) { advanced(batch.indices.at(std::size_t(answered) - 1)); };
    const auto began = TransferSpeed::Clock::now();
    noteFailures(copies, batch, runEach(batch.commands, onAnswer, stop, {{}, m_speed->limit()}));
    for (const std::size_t index : batch.indices) {
        RemoteCopy &copy = copies.at(index);
        struct ::stat status = {};
        const bool isThere = ::stat(NativePath::bytes(copy.to).constData(), &status) == 0;
        if (copy.state == RemoteCopy::State::open)
            arrive(copy, isThere ? std::optional(qint64(status.st_size)) : std::nullopt);
    }
    m_speed->count(copiedBytes(copies, batch.indices), began);
}

/// Far away the client's round trip for each of them takes longer than a shell's commands.
void SFTPService::takeSteps(std::vector<RemoteStep> &steps, const std::stop_token &stop)
{
    constexpr std::size_t fewestForShell = 4;
    Batch batch = stepCommands(steps);
    if (batch.indices.size() >= fewestForShell && isFar()) {
        takeStepsByShell(steps, stop);
        batch = stepCommands(steps);
    }
    const QList<SFTPAnswer> answers = runEach(
        batch.commands, [](qsizetype) {}, stop);
    for (std::size_t i = 0; i < batch.indices.size(); ++i) {
        RemoteStep &step = steps.at(batch.indices.at(i));
        const SFTPOutcome outcome = answers.at(qsizetype(i)).outcome();
        const bool isGone = step.isRemoval() && outcome.kind == SFTPOutcome::Kind::missing;
        step.failure = isGone ? QString() : outcome.words;
        if (step.kind == RemoteStep::Kind::replace && outcome.kind == SFTPOutcome::Kind::failed)
            step.failure = failureOfReplacing(step, stop);
        step.state = step.failure.isEmpty() ? RemoteStep::State::done : RemoteStep::State::failed;
    }
}

/// Some servers rename over nothing.
QString SFTPService::failureOfReplacing(const RemoteStep &step, const std::stop_token &stop)
{
    try {
        moveRemote(step.path, step.toPath, stop);
        return {};
    } catch (const FileServiceError &error) {
        if (error.isOfConnection())
            throw;
        return error.message();
    }
}

} // namespace moorix
