// SPDX-License-Identifier: GPL-3.0-or-later
// Many files or steps over one connection.
#include "files/FileNames.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"
#include "files/TransferSpeed.h"
#include "remote/FTPFailureText.h"
#include "remote/FTPService.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <numeric>
#include <sys/stat.h>

namespace moorix {

namespace {

QString words(const FTPReply &reply)
{
    return QStringLiteral("%1 %2").arg(reply.code).arg(Format::display(QString::fromUtf8(reply.text).trimmed()));
}

const QByteArray olderTLS("1.2");

/// Rather than the file.
bool isDataConnectionRefused(const CurlTransfer &transfer)
{
    const int code = transfer.refusal().code;
    return transfer.exitCode != 0 && (code == 425 || code == 426 || code == 522);
}

/// The folder that all of them are in, or nothing.
template <class Copies>
QString commonFolder(const Copies &copies)
{
    const QString folder = Format::parent(copies.front()->to);
    const bool isCommon = std::all_of(copies.begin(), copies.end(),
                                      [&folder](const RemoteCopy *copy) { return Format::parent(copy->to) == folder; });
    return isCommon ? folder : QString();
}

qint64 copiedBytes(const std::vector<RemoteCopy> &copies)
{
    return std::accumulate(copies.begin(), copies.end(), qint64(0),
                           [](qint64 sum, const RemoteCopy &copy) { return sum + copy.copiedBytes; });
}

/// The names in folders as a disk that ignores case knows them.
class TwinNames
{
public:
    /// Takes the name that the step gives. Returns whether something else may bear it; `standing` holds what was there
    /// before the steps.
    bool take(const RemoteStep &step, const QHash<QString, QSet<QString>> &standing)
    {
        const QString folder = Format::parent(step.toPath);
        const QString name = FileNames::folded(Format::fileName(step.toPath));
        if (!m_names.contains(folder)) {
            for (const QString &other : standing.value(folder))
                m_names[folder].insert(FileNames::folded(other));
        }
        const bool isItself =
            Format::parent(step.path) == folder && FileNames::folded(Format::fileName(step.path)) == name;
        const bool isTaken = m_names[folder].contains(name) && !isItself;
        m_names[folder].insert(name);
        return isTaken;
    }

private:
    QHash<QString, QSet<QString>> m_names;
};

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
std::optional<CurlTransfer> FTPService::copyAll(std::vector<RemoteCopy> &copies, CurlConfig common, const AddCopy &add,
                                                const EndOfRun &endOfRun, const Advanced &advanced,
                                                const std::stop_token &stop)
{
    const FTPLogin current = login();
    common.set("ftp-method", "nocwd");
    limitSpeed(common);
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
            return std::nullopt;
        const bool isFirstRun = next == 0;
        if (isFirstRun && endOfRun) {
            std::vector<const RemoteCopy *> carried;
            for (const std::size_t index : indices)
                carried.push_back(&copies.at(index));
            request.last = endOfRun(carried);
        }
        QList<CurlTransfer> transfers = m_runner.run(current, request, stop);
        std::optional<CurlTransfer> end;
        if (std::size_t(transfers.size()) > indices.size())
            end = transfers.takeLast();
        next = indices.at(std::size_t(transfers.size()) - 1) + 1;
        for (qsizetype i = 0; i < transfers.size(); ++i) {
            const CurlTransfer &transfer = transfers.at(i);
            RemoteCopy &copy = copies.at(indices.at(std::size_t(i)));
            // On a connection of its own it will do better.
            if (i > 0 && current.usesTLS() && isDataConnectionRefused(transfer)) {
                next = indices.at(std::size_t(i));
                break;
            }
            if (transfer.exitCode != 0) {
                moorix::fail(copy,
                             FTPFailureText::operation(
                                 QStringLiteral("“%1” could not be copied").arg(Format::display(copy.from)), transfer));
            }
            advanced(indices.at(std::size_t(i)));
        }
        if (end)
            return end;
    }
    return std::nullopt;
}

std::optional<CurlTransfer> FTPService::storeAll(std::vector<RemoteCopy> &copies, const Advanced &advanced,
                                                 const std::stop_token &stop)
{
    CurlConfig common;
    if (copies.size() > 1 && takesOlderTLS(stop))
        common.set("tls-max", olderTLS);
    // A run of its own for the times and the listing would be one more login.
    const auto timesAndListing = [this, common](const std::vector<const RemoteCopy *> &carried) {
        const QString folder = commonFolder(carried);
        if (folder.isEmpty() || m_timeCommand == TimeCommand::unknown)
            return std::optional<CurlConfig>();
        QList<QByteArray> times;
        for (const RemoteCopy *copy : carried)
            times += timeCommands(copy->from, native(copy->to), m_timeCommand);
        CurlConfig config = common;
        config.append(listingConfig({folder}, "LIST -a", times));
        return std::optional(config);
    };
    const auto add = [this](CurlConfig &config, const FTPLogin &current, const RemoteCopy &copy) {
        LocalDisk::requireFile(copy.from);
        const QByteArray url = urlOf(current, copy.to);
        config.set("upload-file", NativePath::bytes(copy.from));
        config.set("url", url);
    };
    return copyAll(copies, common, add, timesAndListing, advanced, stop);
}

/// Servers want each connection for data to go on with the session of the one for commands. With TLS 1.3 curl loses
/// that session at the end of most uploads; what TLS 1.2 agrees on is good for any number of them.
bool FTPService::takesOlderTLS(const std::stop_token &stop)
{
    const FTPLogin current = login();
    if (!current.usesTLS())
        return false;
    const std::lock_guard lock(m_learning);
    if (m_olderTLS == OlderTLS::unknown) {
        CurlRequest request;
        request.longest = m_patience.command;
        request.config.flag("head");
        request.config.set("tls-max", olderTLS);
        request.config.set("url", CurlRunner::url(current, {}));
        try {
            m_runner.run(current, request, stop);
            m_olderTLS = OlderTLS::taken;
        } catch (const FileServiceError &) {
            // If it was something else, the next run will tell.
            m_olderTLS = OlderTLS::refused;
        }
    }
    return m_olderTLS == OlderTLS::taken;
}

void FTPService::uploadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    carryInPortions(
        copies,
        [&](std::vector<RemoteCopy> &portion, const Advanced &onPortion) { uploadPortion(portion, onPortion, stop); },
        advanced, stop);
}

/// curl does not hold back what fits into one of its buffers. So that small files do not go in a long rush either, a
/// run carries what a few seconds have room for, and what was too fast is waited for.
void FTPService::carryInPortions(std::vector<RemoteCopy> &copies, const Carry &carry, const Advanced &advanced,
                                 const std::stop_token &stop)
{
    constexpr qint64 seconds = 3;
    const qint64 limit = m_speed->limit();
    if (limit == 0) {
        carry(copies, advanced);
        return;
    }
    for (auto first = copies.begin(); first != copies.end();) {
        qint64 bytes = 0;
        const auto end = std::find_if(first, copies.end(), [&](const RemoteCopy &copy) {
            bytes += copy.bytes;
            return bytes > copy.bytes && bytes > seconds * limit;
        });
        std::vector<RemoteCopy> portion(first, end);
        const auto offset = std::size_t(first - copies.begin());
        const qint64 before = copiedBytes(portion);
        const auto began = TransferSpeed::Clock::now();
        carry(portion, [&](std::size_t index) { advanced(offset + index); });
        std::copy(portion.begin(), portion.end(), first);
        m_speed->count(copiedBytes(portion) - before, began);
        m_speed->settle(stop);
        first = end;
    }
}

void FTPService::uploadPortion(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    const std::optional<CurlTransfer> listing = storeAll(copies, advanced, stop);
    std::vector<RemoteCopy *> stored;
    for (RemoteCopy &copy : copies) {
        if (copy.state == RemoteCopy::State::open)
            stored.push_back(&copy);
    }
    if (!stored.empty())
        completeStored(stored, listing, stop);
}

/// A command for each file costs a round trip for each. One listing tells the sizes and modes of all of them; only what
/// it leaves open, or shows to be different, takes a command.
void FTPService::completeStored(const std::vector<RemoteCopy *> &stored, const std::optional<CurlTransfer> &listing,
                                const std::stop_token &stop)
{
    QHash<QString, FileItem> listed;
    if (listing && listing->exitCode == 0)
        addListed(*listing, commonFolder(stored), listed, stop);
    else
        listed = listedWithTimes(stored, stop);
    QList<QByteArray> commands{"TYPE I"};
    std::vector<RemoteCopy *> unlisted;
    for (RemoteCopy *copy : stored) {
        const auto found = listed.constFind(copy->to);
        const QByteArray path = native(copy->to);
        const std::optional<QByteArray> octal = modeFor(copy->from, path);
        if (octal && (found == listed.cend() || Format::octalMode(found->permissions) != QString::fromLatin1(*octal)))
            commands << "SITE CHMOD " + *octal + ' ' + path;
        if (found == listed.cend()) {
            unlisted.push_back(copy);
            continue;
        }
        copy->copiedBytes = found->size;
        copy->state = RemoteCopy::State::arrived;
    }
    for (const RemoteCopy *copy : unlisted)
        commands << "SIZE " + native(copy->to);
    if (commands.size() == 1)
        return;
    const QList<FTPReply> replies = command(commands, patienceFor(commands), stop);
    for (std::size_t i = 0; i < unlisted.size(); ++i) {
        const FTPReply &size = replies.at(replies.size() - qsizetype(unlisted.size() - i));
        if (size.isRefusal()) {
            moorix::fail(*unlisted.at(i),
                         QStringLiteral("The server does not tell the size of the copy.\n") + words(size));
            continue;
        }
        unlisted.at(i)->copiedBytes = size.text.trimmed().toLongLong();
        unlisted.at(i)->state = RemoteCopy::State::arrived;
    }
}

/// Gives each file its time, and returns what the folders show of them afterwards, as far as they can be read.
QHash<QString, FileItem> FTPService::listedWithTimes(const std::vector<RemoteCopy *> &stored,
                                                     const std::stop_token &stop)
{
    learnTimeCommand(*stored.front(), stop);
    QStringList folders;
    QList<QByteArray> times;
    for (const RemoteCopy *copy : stored) {
        if (const QString folder = Format::parent(copy->to); !folders.contains(folder))
            folders << folder;
        times += timeCommands(copy->from, native(copy->to), m_timeCommand);
    }
    // curl repeats what goes before a listing for each of several.
    const bool isOneRun = folders.size() == 1;
    if (!isOneRun)
        command(times, patienceFor(times), stop);
    const QList<CurlTransfer> transfers = listings(folders, "LIST -a", stop, isOneRun ? times : QList<QByteArray>());
    QHash<QString, FileItem> found;
    for (qsizetype i = 0; i < transfers.size(); ++i)
        addListed(transfers.at(i), folders.at(i), found, stop);
    return found;
}

/// Where it shows a part only, the files that are not in it are asked for one by one.
void FTPService::addListed(const CurlTransfer &listing, const QString &folder, QHash<QString, FileItem> &found,
                           const std::stop_token &stop)
{
    try {
        for (const FileItem &item : entries(listing, folder, stop).value_or(QList<FileItem>()))
            found.insert(item.path, item);
    } catch (const FileServiceError &) {
        return;
    }
}

void FTPService::learnTimeCommand(const RemoteCopy &copy, const std::stop_token &stop)
{
    const std::lock_guard lock(m_learning);
    if (m_timeCommand != TimeCommand::unknown)
        return;
    const QList<FTPReply> replies = command(timeCommands(copy.from, native(copy.to), TimeCommand::unknown), stop);
    if (!replies.constFirst().isRefusal())
        m_timeCommand = TimeCommand::mfmt;
    else if (!replies.constLast().isRefusal())
        m_timeCommand = TimeCommand::mdtm;
    else
        m_timeCommand = TimeCommand::none;
}

void FTPService::fetchAll(std::vector<RemoteCopy> &copies, const CurlConfig &common, const Advanced &advanced,
                          const std::stop_token &stop)
{
    const auto add = [this](CurlConfig &config, const FTPLogin &current, const RemoteCopy &copy) {
        const QByteArray url = urlOf(current, copy.from);
        config.set("output", NativePath::bytes(copy.to));
        config.set("url", url);
    };
    copyAll(copies, common, add, {}, advanced, stop);
}

void FTPService::downloadAll(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    carryInPortions(
        copies,
        [&](std::vector<RemoteCopy> &portion, const Advanced &onPortion) { downloadPortion(portion, onPortion, stop); },
        advanced, stop);
}

void FTPService::downloadPortion(std::vector<RemoteCopy> &copies, const Advanced &advanced, const std::stop_token &stop)
{
    CurlConfig keepsTimes;
    keepsTimes.flag("remote-time");
    fetchAll(copies, keepsTimes, advanced, stop);
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

/// Servers replace an existing file without asking.
void FTPService::refuseTaken(const QString &source, const QString &path, const std::stop_token &stop)
{
    bool isTaken = false;
    try {
        Standing known;
        isTaken = isThere(path, known, stop) ||
                  (TwinNames().take({RemoteStep::Kind::rename, source, path}, known) && exists(path, stop));
    } catch (const FileServiceError &error) {
        if (error.kind() != FileServiceError::Case::notFound)
            throw;
    }
    if (isTaken)
        throw FileServiceError::operationFailed(QStringLiteral("“%1” exists already.").arg(Format::display(path)));
}

/// Servers rename a file over whatever stands there, but no folder. A disk that ignores case finds there what bears
/// another name in listings.
void FTPService::takeSteps(std::vector<RemoteStep> &steps, const std::stop_token &stop)
{
    std::vector<RemoteStep *> sent;
    std::vector<RemoteStep *> doubtful;
    Standing before;
    TwinNames twins;
    for (RemoteStep &step : steps) {
        if (step.state == RemoteStep::State::open && step.kind == RemoteStep::Kind::rename &&
            isThere(step.toPath, before, stop))
            moorix::fail(step, QStringLiteral("something of this name is there."));
        // Some servers cut the blank off and would change the entry of that name.
        if (step.kind == RemoteStep::Kind::setMode && step.path.endsWith(u' '))
            moorix::fail(step, QStringLiteral("its name ends in a blank."));
        if (step.state != RemoteStep::State::open)
            continue;
        const bool isDoubtful = step.kind == RemoteStep::Kind::rename && twins.take(step, before);
        (isDoubtful ? doubtful : sent).push_back(&step);
    }
    takeAtOnce(sent, stop);
    for (RemoteStep *step : doubtful) {
        if (exists(step->toPath, stop))
            moorix::fail(*step, QStringLiteral("the server takes its name and that of another entry for one."));
        else
            takeAtOnce({step}, stop);
    }
}

void FTPService::takeAtOnce(const std::vector<RemoteStep *> &steps, const std::stop_token &stop)
{
    QList<QByteArray> commands;
    for (const RemoteStep *step : steps) {
        if (step->kind == RemoteStep::Kind::remove)
            commands << "DELE " + native(step->path) << "NOOP";
        else if (step->kind == RemoteStep::Kind::removeFolder)
            commands << "RMD " + native(step->path) << "NOOP";
        else if (step->kind == RemoteStep::Kind::setMode)
            commands << "SITE CHMOD " + step->octal.toLatin1() + ' ' + native(step->path) << "NOOP";
        else
            commands << "RNFR " + native(step->path) << "RNTO " + native(step->toPath);
    }
    if (commands.isEmpty())
        return;
    const QList<FTPReply> replies = command(commands, patienceFor(commands), stop);
    Standing after;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const FTPReply &first = replies.at(qsizetype(2 * i));
        settle(*steps.at(i), first.isRefusal() ? first : replies.at(qsizetype(2 * i + 1)), after, stop);
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
        else if (step.kind == RemoteStep::Kind::renameFolder && isThere(step.toPath, after, stop))
            moorix::fail(step, QStringLiteral("something of this name is there."));
        else if (!step.isRemoval() || isThere(step.path, after, stop))
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
