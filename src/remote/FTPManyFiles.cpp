// SPDX-License-Identifier: GPL-3.0-or-later
// Many files or steps over one connection.
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"
#include "remote/FTPFailureText.h"
#include "remote/FTPService.h"

#include <QHash>
#include <QSet>

#include <sys/stat.h>

namespace moorix {

namespace {

QString words(const FTPReply &reply)
{
    return QStringLiteral("%1 %2").arg(reply.code).arg(Format::display(QString::fromUtf8(reply.text).trimmed()));
}

template <class Task>
void fail(Task &task, const QString &why)
{
    task.state = Task::State::failed;
    task.failure = why;
}

} // namespace

/// curl ends with the first that fails; another one goes on behind it.
///
/// When a server answers before curl looks for the answer, curl may sleep for a second before the next file; with a
/// command before each file it does not. Over a longer way there is no such sleep, and the command would cost a round
/// trip.
void FTPService::copyAll(std::vector<RemoteCopy> &copies, CurlConfig common, const AddCopy &add,
                         const Advanced &advanced, const std::stop_token &stop)
{
    const FTPLogin current = login();
    common.set("ftp-method", "nocwd");
    if (isNear())
        common.set("quote", "*NOOP");
    common.set("speed-limit", "1");
    common.set("speed-time", QByteArray::number(qlonglong(m_patience.standstill.count())));
    for (std::size_t next = 0; next < copies.size();) {
        CurlRequest request;
        request.longest = std::chrono::seconds(0);
        request.config = common;
        std::vector<std::size_t> indices;
        for (std::size_t i = next; i < copies.size(); ++i) {
            if (copies.at(i).state != RemoteCopy::State::open)
                continue;
            try {
                add(request.config, current, copies.at(i));
                indices.push_back(i);
            } catch (const Error &error) {
                moorix::fail(copies.at(i), error.message());
            }
        }
        if (indices.empty())
            return;
        const QList<CurlTransfer> transfers = m_runner.run(current, request, stop);
        for (qsizetype i = 0; i < transfers.size(); ++i) {
            RemoteCopy &copy = copies.at(indices.at(std::size_t(i)));
            if (transfers.at(i).exitCode != 0) {
                moorix::fail(copy, FTPFailureText::operation(
                                       QStringLiteral("“%1” could not be copied").arg(Format::display(copy.from)),
                                       transfers.at(i)));
            }
            advanced(indices.at(std::size_t(i)));
        }
        next = indices.at(std::size_t(transfers.size()) - 1) + 1;
    }
}

void FTPService::uploadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    const auto add = [this](CurlConfig &config, const FTPLogin &current, const RemoteCopy &copy) {
        LocalDisk::requireFile(copy.from);
        const QByteArray url = urlOf(current, copy.to);
        config.set("upload-file", NativePath::bytes(copy.from));
        config.set("url", url);
    };
    copyAll(copies, {}, add, advanced, stop);
    QList<QByteArray> commands{"TYPE I"};
    const TimeCommand timeCommand = m_timeCommand;
    std::vector<RemoteCopy *> stored;
    for (RemoteCopy &copy : copies) {
        if (copy.state != RemoteCopy::State::open)
            continue;
        stored.push_back(&copy);
        commands += attributeCommands(copy.from, native(copy.to), timeCommand);
        commands << "SIZE " + native(copy.to);
    }
    if (stored.empty())
        return;
    const QList<FTPReply> replies = command(commands, patienceFor(commands), stop);
    if (timeCommand == TimeCommand::unknown && !replies.at(1).isRefusal())
        m_timeCommand = TimeCommand::mfmt;
    else if (timeCommand == TimeCommand::unknown && !replies.at(2).isRefusal())
        m_timeCommand = TimeCommand::mdtm;
    const qsizetype each = (replies.size() - 1) / qsizetype(stored.size());
    for (std::size_t i = 0; i < stored.size(); ++i) {
        const FTPReply &size = replies.at(qsizetype(i + 1) * each);
        if (size.isRefusal()) {
            moorix::fail(*stored.at(i),
                         QStringLiteral("The server does not tell the size of the copy.\n") + words(size));
            continue;
        }
        stored.at(i)->copiedBytes = size.text.trimmed().toLongLong();
        stored.at(i)->state = RemoteCopy::State::arrived;
    }
}

void FTPService::downloadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    const auto add = [this](CurlConfig &config, const FTPLogin &current, const RemoteCopy &copy) {
        const QByteArray url = urlOf(current, copy.from);
        config.set("output", NativePath::bytes(copy.to));
        config.set("url", url);
    };
    CurlConfig keepsTimes;
    keepsTimes.flag("remote-time");
    copyAll(copies, keepsTimes, add, advanced, stop);
    for (RemoteCopy &copy : copies) {
        struct ::stat status = {};
        if (copy.state != RemoteCopy::State::open)
            continue;
        if (::stat(NativePath::bytes(copy.to).constData(), &status) != 0) {
            moorix::fail(copy, QStringLiteral("The copy is not where it was written to."));
            continue;
        }
        copy.copiedBytes = status.st_size;
        copy.state = RemoteCopy::State::arrived;
    }
}

bool FTPService::isThere(const QString &path, Standing &known, const std::stop_token &stop)
{
    const QString folder = Format::parent(path);
    if (!known.contains(folder)) {
        QSet<QString> &names = known[folder];
        for (const FileItem &item : list(folder, HiddenFiles::included, stop))
            names.insert(item.name);
    }
    return known[folder].contains(Format::fileName(path));
}

void FTPService::takeSteps(std::vector<RemoteStep> &steps, const std::stop_token &stop)
{
    QList<QByteArray> commands;
    std::vector<RemoteStep *> sent;
    Standing before;
    for (RemoteStep &step : steps) {
        // Servers rename over whatever stands there.
        if (step.state == RemoteStep::State::open && step.kind == RemoteStep::Kind::rename &&
            isThere(step.toPath, before, stop))
            moorix::fail(step, QStringLiteral("something of this name is there."));
        if (step.state != RemoteStep::State::open)
            continue;
        sent.push_back(&step);
        if (step.kind == RemoteStep::Kind::remove)
            commands << "DELE " + native(step.path) << "NOOP";
        else
            commands << "RNFR " + native(step.path) << "RNTO " + native(step.toPath);
    }
    if (sent.empty())
        return;
    const QList<FTPReply> replies = command(commands, patienceFor(commands), stop);
    Standing after;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        const FTPReply &first = replies.at(qsizetype(2 * i));
        settle(*sent.at(i), first.isRefusal() ? first : replies.at(qsizetype(2 * i + 1)), after, stop);
    }
}

void FTPService::settle(RemoteStep &step, const FTPReply &reply, Standing &after, const std::stop_token &stop)
{
    step.state = RemoteStep::State::done;
    if (!reply.isRefusal())
        return;
    try {
        // Some servers rename over nothing; and their words do not tell what is missing.
        if (step.kind == RemoteStep::Kind::replace)
            moveRemote(step.path, step.toPath, stop);
        else if (step.kind == RemoteStep::Kind::rename || isThere(step.path, after, stop))
            moorix::fail(step, words(reply));
    } catch (const FileServiceError &error) {
        if (error.kind() == FileServiceError::Case::connectionFailed)
            throw;
        moorix::fail(step, error.message());
    }
}

std::chrono::seconds FTPService::patienceFor(const QList<QByteArray> &commands) const
{
    return m_patience.command + std::chrono::seconds(commands.size());
}

} // namespace moorix
