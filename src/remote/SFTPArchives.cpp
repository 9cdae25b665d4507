// SPDX-License-Identifier: GPL-3.0-or-later
// What needs a shell and a few common commands on the server, and may be missing there.
#include "remote/SFTPService.h"

#include "base/Json.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/TransferSpeed.h"
#include "remote/SFTPQuoting.h"

#include <condition_variable>
#include <thread>

namespace moorix {

using SFTPQuoting::shellPath;

namespace {

QString action(const QString &path, const QString &done)
{
    return QStringLiteral("“%1” could not be %2").arg(Format::display(path), done);
}

/// What sha256sum prints with a NUL behind each row.
QHash<QString, QByteArray> parsedSums(const QString &text)
{
    constexpr qsizetype digits = 64;
    constexpr qsizetype gap = 2;
    QHash<QString, QByteArray> sums;
    const QStringList rows = text.split(QChar::Null, Qt::SkipEmptyParts);
    for (const QString &row : rows) {
        const QByteArray sum = QByteArray::fromHex(row.left(digits).toLatin1());
        if (sum.size() == digits / 2)
            sums.insert(row.mid(digits + gap), sum);
    }
    return sums;
}

/// What the script for steps is to do; nothing where a command could do more than is wanted, such as copy a file that
/// is to be renamed to another disk.
std::optional<QString> stepWord(const RemoteStep &step)
{
    const bool isBeside = Format::parent(step.path) == Format::parent(step.toPath);
    switch (step.kind) {
    case RemoteStep::Kind::rename:
        return QStringLiteral("rename");
    case RemoteStep::Kind::renameFolder:
    case RemoteStep::Kind::replace:
        return isBeside ? std::optional(QStringLiteral("replace")) : std::nullopt;
    case RemoteStep::Kind::remove:
        return QStringLiteral("remove");
    case RemoteStep::Kind::removeFolder:
        return QStringLiteral("removeFolder");
    case RemoteStep::Kind::setMode:
        break;
    }
    return step.octal;
}

/// Without `stop` ends by itself, soon.
class ShortPatience final
{
public:
    std::stop_token token() const { return m_tooLate.get_token(); }

private:
    void wait(const std::stop_token &isDone)
    {
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::condition_variable_any never;
        never.wait_for(lock, isDone, std::chrono::seconds(3), [] { return false; });
        m_tooLate.request_stop();
    }

    std::stop_source m_tooLate;
    std::jthread m_clock{[this](const std::stop_token &isDone) { wait(isDone); }};
};

} // namespace

bool SFTPService::changeByShell(const QString &command, const QStringList &paths, const QString &action,
                                const std::stop_token &stop)
{
    QString quoted = command;
    for (const QString &path : paths)
        quoted += u' ' + shellPath(path);
    try {
        return runShell(quoted, action, stop).has_value();
    } catch (const Cancelled &) {
        endOnServer((QStringList{command} + paths).join(u' '));
        throw;
    }
}

/// By its whole command line, as the system shows it, so that nothing else is meant.
void SFTPService::endOnServer(const QString &commandLine)
{
    QString pattern;
    for (const QChar c : commandLine) {
        if (QStringView(u"\\^$.|?*+()[]{}").contains(c))
            pattern += u'\\';
        pattern += c;
    }
    const ShortPatience patience;
    try {
        m_runner.runRemote(login(), QStringLiteral("pkill -xf ") + shellPath(pattern), patience.token());
    } catch (const Error &) {
        // It ends by itself.
    }
}

/// Names go in and come back with a NUL behind each, so that none of them needs quoting.
std::optional<QHash<QString, QByteArray>> SFTPService::checksums(const QStringList &paths, const std::stop_token &stop)
{
    if (paths.isEmpty())
        return QHash<QString, QByteArray>();
    SSHStreams streams;
    streams.input = paths.join(QChar::Null).toUtf8() + '\0';
    const std::optional<SSHOutput> output = askShell(QStringLiteral("xargs -0 sha256sum -z --"), stop, streams);
    const QHash<QString, QByteArray> sums = parsedSums(output ? output->text : QString());
    // Files that cannot be read make it fail; it cannot be there at all when nothing came back.
    return sums.isEmpty() ? std::nullopt : std::optional(sums);
}

/// The child gets the next piece when its time has come. It waits on the running thread, which a stop ends at once.
std::function<QByteArray()> SFTPService::paced(const std::function<QByteArray()> &next, const std::stop_token &stop)
{
    return [this, next, stop] {
        // Before the piece is counted as sent.
        m_speed->settle(stop);
        QByteArray piece = next();
        m_speed->pace(piece.size(), stop);
        return piece;
    };
}

std::optional<QHash<QString, QByteArray>>
SFTPService::unpackArchive(const QString &folder, const std::function<QByteArray()> &next, const std::stop_token &stop)
{
    SSHStreams streams;
    streams.moreInput = paced(next, stop);
    // As it is in the archive, but owned by the account, whoever that is. A server without checksums may still unpack.
    const QString script = QStringLiteral("mkdir \"$1\" && tar -xpof - -C \"$1\" && cd \"$1\" && "
                                          "{ find . -type f -exec sha256sum -z {} + 2>/dev/null || true; }");
    const QString command = QStringLiteral("sh -c %1 sh %2").arg(shellPath(script), shellPath(folder));
    const std::optional<QString> said = runShell(command, action(folder, QStringLiteral("unpacked")), stop, streams);
    if (!said)
        return std::nullopt;
    QHash<QString, QByteArray> sums;
    const QHash<QString, QByteArray> found = parsedSums(*said);
    for (auto sum = found.cbegin(); sum != found.cend(); ++sum)
        sums.insert(sum.key().mid(2), sum.value());
    return sums;
}

/// An account that offers file transfer alone says so where the archive is expected.
bool SFTPService::pack(const QString &command, const QString &folder, SSHStreams streams, const std::stop_token &stop)
{
    constexpr qsizetype leastArchiveBytes = 1024;
    qsizetype taken = 0;
    // What is not read yet holds up the server.
    streams.takeOutput = [&, take = std::move(streams.takeOutput)](QByteArrayView bytes) {
        taken += bytes.size();
        m_speed->pace(bytes.size(), stop);
        take(bytes);
    };
    try {
        return runShell(command, action(folder, QStringLiteral("packed")), stop, streams).has_value();
    } catch (const FileServiceError &error) {
        const bool isTurnedAway = taken > 0 && taken < leastArchiveBytes;
        if (error.kind() == FileServiceError::Case::operationFailed && isTurnedAway)
            return false;
        throw;
    }
}

bool SFTPService::packArchive(const QString &folder, const std::function<void(QByteArrayView)> &take,
                              const std::stop_token &stop)
{
    SSHStreams streams;
    streams.takeOutput = take;
    return pack(QStringLiteral("tar -cf - -C %1 .").arg(shellPath(folder)), folder, streams, stop);
}

bool SFTPService::unpackInto(const QString &folder, const std::function<QByteArray()> &next,
                             const std::stop_token &stop)
{
    SSHStreams streams;
    streams.moreInput = paced(next, stop);
    return runShell(QStringLiteral("tar -xpof - -C ") + shellPath(folder), action(folder, QStringLiteral("filled")),
                    stop, streams)
        .has_value();
}

/// Names go in as in `checksums`. With more of them than one command takes nothing comes back but a failure.
bool SFTPService::packFiles(const QString &folder, const QStringList &files,
                            const std::function<void(QByteArrayView)> &take, const std::stop_token &stop)
{
    SSHStreams streams;
    streams.takeOutput = take;
    for (const QString &file : files)
        streams.input += "./" + file.toUtf8() + '\0';
    return pack(QStringLiteral("cd %1 && xargs -0 -x tar -cf - --").arg(shellPath(folder)), folder, streams, stop);
}

/// Names go in as in `checksums`. What an account's start-up files print is told from the answers by a random mark.
/// Steps may build on each other, so it ends with the first that fails; it also ends with its reader.
void SFTPService::takeStepsByShell(std::vector<RemoteStep> &steps, const std::stop_token &stop)
{
    if (m_lacksStepCommands)
        return;
    // A link refuses what stands there, and with -T nothing goes into a folder that does.
    const QString script =
        QStringLiteral("while [ $# -gt 3 ]; do case $2 in rename) ln -T -- \"$3\" \"$4\" && rm -f -- \"$3\";; "
                       "replace) mv -fT -- \"$3\" \"$4\";; remove) rm -f -- \"$3\";; removeFolder) rmdir -- \"$3\";; "
                       "*) chmod \"$2\" -- \"$3\";; esac 2>/dev/null || exit 255; printf '%s\\n' \"$0 $1\"; shift 4; "
                       "done");
    const QString mark = uuidText(newUuid());
    SSHStreams streams;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const RemoteStep &step = steps.at(i);
        if (step.state != RemoteStep::State::open)
            continue;
        const std::optional<QString> word = stepWord(step);
        if (!word)
            break;
        const QStringList arguments{QString::number(i), *word, step.path, step.toPath, {}};
        streams.input += arguments.join(QChar::Null).toUtf8();
    }
    if (streams.input.isEmpty())
        return;
    // With longer names than fit into one command it takes the first of them.
    const QString command = QStringLiteral("xargs -0 -x -n 400 sh -c %1 %2").arg(shellPath(script), mark);
    const std::optional<SSHOutput> output = askShell(command, stop, streams);
    bool wasAnyTaken = false;
    const QStringList lines = output ? output->text.split(u'\n') : QStringList();
    for (const QString &line : lines) {
        bool isNumber = false;
        const std::size_t index = line.startsWith(mark + u' ') ? line.mid(mark.size() + 1).toULongLong(&isNumber) : 0;
        if (!isNumber || index >= steps.size())
            continue;
        steps.at(index).state = RemoteStep::State::done;
        wasAnyTaken = true;
    }
    m_lacksStepCommands = !wasAnyTaken;
}

bool SFTPService::renameBeside(const QString &path, const QString &toPath, const std::stop_token &stop)
{
    // With the flag it never goes into a folder that has come there since. Not every server's mv knows it.
    const QString script = QStringLiteral("[ ! -e \"$2\" ] && [ ! -L \"$2\" ] && mv -T \"$1\" \"$2\"");
    const QString command =
        QStringLiteral("sh -c %1 sh %2 %3").arg(shellPath(script), shellPath(path), shellPath(toPath));
    const std::optional<SSHOutput> output = askShell(command, stop);
    return output && output->exitCode == 0;
}

bool SFTPService::createLink(const QString &target, const QString &path, const std::stop_token &stop)
{
    SFTPBatch batch;
    batch.commands = {QStringLiteral("ln -s ") + SFTPQuoting::sftpPath(target) + u' ' + SFTPQuoting::sftpPath(path)};
    batch.subject = Format::parent(path);
    batch.action = action(path, QStringLiteral("made"));
    run(batch, stop);
    return true;
}

void SFTPService::requireAddressable(const QString &path) const
{
    SFTPQuoting::sftpPath(path);
}

std::optional<QString> SFTPService::linkTarget(const QString &path, const std::stop_token &stop)
{
    const std::optional<SSHOutput> output = askShell(QStringLiteral("readlink -n ") + shellPath(path), stop);
    return output && output->exitCode == 0 && !output->text.isEmpty() ? std::optional(output->text) : std::nullopt;
}

} // namespace moorix
