// SPDX-License-Identifier: GPL-3.0-or-later
// Many files or steps in one run of the client.
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"
#include "remote/SFTPQuoting.h"
#include "remote/SFTPService.h"
#include "remote/UnixListParser.h"

#include <QSet>

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

Batch copyCommands(std::vector<RemoteCopy> &copies, const QString &name,
                   const std::function<void(const QString &)> &require)
{
    Batch batch;
    for (std::size_t i = 0; i < copies.size(); ++i) {
        const RemoteCopy &copy = copies.at(i);
        if (copy.state != RemoteCopy::State::open)
            continue;
        batch.add(copies, i, [&] {
            require(copy.from);
            return name + sftpPath(copy.from) + u' ' + sftpPath(copy.to);
        });
    }
    return batch;
}

/// Marks what failed. The rest stays open until its size is known.
void noteFailures(std::vector<RemoteCopy> &copies, const Batch &batch, const QList<SFTPAnswer> &answers)
{
    for (std::size_t i = 0; i < batch.indices.size(); ++i) {
        RemoteCopy &copy = copies.at(batch.indices.at(i));
        copy.failure = answers.at(qsizetype(i)).failure;
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

QString stepCommand(const RemoteStep &step)
{
    switch (step.kind) {
    case RemoteStep::Kind::remove:
        return QStringLiteral("rm ") + sftpPath(step.path);
    case RemoteStep::Kind::replace:
        return QStringLiteral("rename ") + sftpPath(step.path) + u' ' + sftpPath(step.toPath);
    case RemoteStep::Kind::rename:
        break;
    }
    // The protocol's own renaming refuses what stands there; without the flag the client prefers one that replaces it.
    return QStringLiteral("rename -l ") + sftpPath(step.path) + u' ' + sftpPath(step.toPath);
}

} // namespace

QList<SFTPAnswer> SFTPService::runEach(const QStringList &commands, const std::function<void(qsizetype)> &onAnswer,
                                       const std::stop_token &stop)
{
    if (commands.isEmpty())
        return {};
    return m_runner.runEach(login(), commands, onAnswer, stop);
}

void SFTPService::uploadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    const Batch batch = copyCommands(copies, QStringLiteral("put -p "), LocalDisk::requireFile);
    QStringList commands = batch.commands;
    // One listing of each folder tells the sizes of all that is in it.
    QStringList folders;
    for (const std::size_t index : batch.indices) {
        if (const QString folder = Format::parent(copies.at(index).to); !folders.contains(folder))
            folders << folder;
    }
    std::vector<qsizetype> listings;
    for (const QString &folder : std::as_const(folders)) {
        commands += listCommands(folder, QStringLiteral("-la"));
        listings.push_back(commands.size() - 1);
    }
    const auto onAnswer = [&](qsizetype answered) {
        if (answered > 0 && std::size_t(answered) <= batch.indices.size())
            advanced(batch.indices.at(std::size_t(answered) - 1));
    };
    const QList<SFTPAnswer> answers = runEach(commands, onAnswer, stop);
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
}

void SFTPService::downloadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    const Batch batch = copyCommands(copies, QStringLiteral("get -p "), [](const QString &) {});
    const auto onAnswer = [&](qsizetype answered) { advanced(batch.indices.at(std::size_t(answered) - 1)); };
    noteFailures(copies, batch, runEach(batch.commands, onAnswer, stop));
    for (const std::size_t index : batch.indices) {
        RemoteCopy &copy = copies.at(index);
        struct ::stat status = {};
        const bool isThere = ::stat(NativePath::bytes(copy.to).constData(), &status) == 0;
        if (copy.state == RemoteCopy::State::open)
            arrive(copy, isThere ? std::optional(qint64(status.st_size)) : std::nullopt);
    }
}

void SFTPService::takeSteps(std::vector<RemoteStep> &steps, const std::stop_token &stop)
{
    Batch batch;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps.at(i).state == RemoteStep::State::open)
            batch.add(steps, i, [&] { return stepCommand(steps.at(i)); });
    }
    const QList<SFTPAnswer> answers = runEach(
        batch.commands, [](qsizetype) {}, stop);
    for (std::size_t i = 0; i < batch.indices.size(); ++i) {
        RemoteStep &step = steps.at(batch.indices.at(i));
        const SFTPAnswer &answer = answers.at(qsizetype(i));
        const bool isGone = step.kind == RemoteStep::Kind::remove && answer.isMissing;
        step.failure = isGone ? QString() : answer.failure;
        step.state = step.failure.isEmpty() ? RemoteStep::State::done : RemoteStep::State::failed;
    }
}

} // namespace moorix
