// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPService.h"

#include "files/FileNames.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/TransferSpeed.h"
#include "platform/PrivateFile.h"
#include "remote/ControlSocket.h"
#include "remote/SFTPQuoting.h"
#include "remote/SSHAuthHelper.h"
#include "remote/SSHFailureText.h"
#include "remote/UnixListParser.h"

#include <QFile>

#include <algorithm>
#include <utility>

namespace moorix {

using SFTPQuoting::sftpListPath;
using SFTPQuoting::sftpPath;

namespace {

/// The client cuts listing rows that begin with a longer path; from inside the folder its rows are short.
constexpr qsizetype longestListedPathBytes = 600;

/// The beginning of a failure's sentence.
QString unable(const QString &path, const QString &done)
{
    return QStringLiteral("“%1” could not be %2").arg(Format::display(path), done);
}

QString parsedHome(const QString &output)
{
    const QStringList lines = output.split(u'\n');
    for (const QString &line : lines) {
        if (line.contains(QStringLiteral("working directory")))
            return line.mid(line.indexOf(QStringLiteral(": ")) + 2).trimmed();
    }
    throw FileServiceError::connectionFailed(QStringLiteral("the server did not name the folder it opens on.\n") +
                                             output.trimmed());
}

} // namespace

SFTPService::SFTPService(ServerConnection server, ConnectionCredentials credentials,
                         std::shared_ptr<ProcessRunner> processes, SSHPatience patience,
                         std::shared_ptr<TransferSpeed> speed)
    : m_server(std::move(server))
    , m_credentials(std::move(credentials))
    , m_runner(std::move(processes), patience)
    , m_speed(speed ? std::move(speed) : std::make_shared<TransferSpeed>())
{
}

SFTPService::~SFTPService()
{
    if (m_hasJoined)
        ControlSocket::leave(m_server);
    SSHAuthHelper::cleanupIdentity(m_tempIdentityPath);
}

bool SFTPService::isConnected() const
{
    const std::lock_guard lock(m_mutex);
    return m_isConnected;
}

void SFTPService::connect(const std::stop_token &stop)
{
    SSHLogin login{m_server, m_credentials, std::nullopt};
    {
        const std::lock_guard lock(m_mutex);
        login.identityPath = SSHAuthHelper::prepareIdentity(m_server, m_credentials, m_tempIdentityPath);
        // Before it is used, so that nobody who leaves it meanwhile ends it.
        if (!std::exchange(m_hasJoined, true))
            ControlSocket::join(m_server);
    }
    m_runner.checkPassphrase(login, stop);
    SFTPBatch batch;
    batch.commands = {QStringLiteral("pwd")};
    const QString home = parsedHome(m_runner.runCommands(login, batch, stop).text);
    const std::lock_guard lock(m_mutex);
    m_home = home;
    m_lacksShell = false;
    if (!std::exchange(m_isConnected, true))
        m_isEnded = std::make_shared<std::atomic<bool>>(false);
}

void SFTPService::disconnect() noexcept
{
    bool isLast = true;
    {
        // First of all: an operation that comes in between must not open another connection.
        const std::lock_guard lock(m_mutex);
        m_isConnected = false;
        if (m_isEnded)
            *m_isEnded = true;
        if (std::exchange(m_hasJoined, false))
            isLast = ControlSocket::leave(m_server);
        SSHAuthHelper::cleanupIdentity(m_tempIdentityPath);
    }
    if (isLast)
        m_runner.closeMaster(m_server);
    m_lanes.close();
}

QString SFTPService::defaultDirectory(const std::stop_token & /*stop*/)
{
    login();
    const std::lock_guard lock(m_mutex);
    return m_home;
}

QStringList SFTPService::listCommands(const QString &path, const QString &flags)
{
    const QString command = QStringLiteral("ls ") + flags;
    if (path.toUtf8().size() <= longestListedPathBytes)
        return {command + u' ' + sftpListPath(path)};
    return {QStringLiteral("cd ") + sftpPath(path), command};
}

QString SFTPService::unlisted(const QString &path)
{
    return unable(path, QStringLiteral("listed"));
}

FileServiceError SFTPService::mayNotEnter(const QString &path)
{
    return FileServiceError::operationFailed(unlisted(path) +
                                             QStringLiteral(": the account may not enter this folder."));
}

QList<FileItem> SFTPService::list(const QString &path, HiddenFiles hidden, const std::stop_token &stop)
{
    const auto output = [&](const QString &flags) {
        SFTPBatch batch;
        batch.commands = listCommands(path, flags);
        batch.subject = path;
        batch.action = unlisted(path);
        return run(batch, stop).text;
    };
    const bool includesHidden = hidden == HiddenFiles::included;
    const QString text = output(includesHidden ? QStringLiteral("-la") : QStringLiteral("-l"));
    QList<FileItem> items = UnixListParser::parse(text, path);
    // A folder that may be read but not entered lists as empty, without a word.
    if (items.isEmpty() &&
        !UnixListParser::listsTheFolderItself(includesHidden ? text : output(QStringLiteral("-la")), path)) {
        throw mayNotEnter(path);
    }
    return items;
}

void SFTPService::createDirectory(const QString &path, const std::stop_token &stop)
{
    SFTPBatch batch;
    batch.commands = {QStringLiteral("mkdir ") + sftpPath(path)};
    batch.subject = Format::parent(path);
    batch.action = unable(path, QStringLiteral("created"));
    run(batch, stop);
}

void SFTPService::remove(const FileItem &item, const std::stop_token &stop)
{
    SFTPBatch batch;
    batch.subject = item.path;
    batch.action = unable(item.path, QStringLiteral("deleted"));
    if (!item.isDirectory || item.isSymlink) {
        batch.commands = {QStringLiteral("rm ") + sftpPath(item.path)};
        run(batch, stop);
        return;
    }
    if (changeByShell(QStringLiteral("rm -rf"), {item.path}, batch.action, stop))
        return;
    for (const FileItem &inner : RemoteTree::deepestFirst(*this, item.path, stop)) {
        const bool isFolder = inner.isDirectory && !inner.isSymlink;
        batch.commands << (isFolder ? QStringLiteral("rmdir ") : QStringLiteral("rm ")) + sftpPath(inner.path);
    }
    batch.commands << QStringLiteral("rmdir ") + sftpPath(item.path);
    run(batch, stop);
}

void SFTPService::rename(const FileItem &item, const QString &newName, const std::stop_token &stop)
{
    if (const std::optional<QString> problem = FileNames::problem(newName))
        throw FileServiceError::operationFailed(*problem);
    move(item, Format::join(Format::parent(item.path), newName), stop);
}

QByteArray SFTPService::read(const QString &path, const std::stop_token &stop)
{
    const PrivateFile copy(QStringLiteral("moorix-"));
    download(path, copy.path(), {}, stop);
    QFile file(copy.path());
    if (!file.open(QIODevice::ReadOnly)) {
        throw FileServiceError::operationFailed(unable(path, QStringLiteral("read: %1").arg(file.errorString())));
    }
    return file.readAll();
}

void SFTPService::write(const QByteArray &data, const QString &path, const std::stop_token &stop)
{
    const PrivateFile copy(QStringLiteral("moorix-"), data);
    if (const std::optional<QString> stray = put(copy.path(), path, {}, stop)) {
        SFTPBatch batch;
        batch.commands = {QStringLiteral("rm ") + sftpPath(*stray)};
        run(batch, stop);
        throw FileServiceError::operationFailed(unable(path, QStringLiteral("written: it is a folder.")));
    }
}

void SFTPService::setPermissions(const QString &path, const QString &octal, Recursive recursive,
                                 const std::stop_token &stop)
{
    const auto isDigit = [](QChar c) { return c >= u'0' && c <= u'7'; };
    if (octal.isEmpty() || octal.size() > 4 || !std::all_of(octal.begin(), octal.end(), isDigit)) {
        throw FileServiceError::operationFailed(
            QStringLiteral("“%1” is no mode; modes are up to four digits from 0 to 7, such as 755.").arg(octal));
    }
    SFTPBatch batch;
    batch.subject = path;
    batch.action = QStringLiteral("The permissions of “%1” could not be changed").arg(Format::display(path));
    const QString change = QStringLiteral("chmod %1 ").arg(octal);
    if (recursive == Recursive::yes) {
        if (changeByShell(QStringLiteral("chmod -R ") + octal, {path}, batch.action, stop))
            return;
        for (const FileItem &inner : RemoteTree::deepestFirst(*this, path, stop)) {
            // The change would reach what a link points to.
            if (!inner.isSymlink)
                batch.commands << change + sftpPath(inner.path);
        }
    }
    batch.commands << change + sftpPath(path);
    run(batch, stop);
}

std::optional<FileItem> SFTPService::stat(const QString &path, const std::stop_token &stop)
{
    std::optional<FileItem> item = followed(path, stop);
    if (!item || item->isSymlink || item->path == QStringLiteral("/"))
        return item;
    // Only a listing of its folder tells a link from what it leads to.
    const QList<FileItem> siblings = list(Format::parent(path), HiddenFiles::included, stop);
    const auto self =
        std::find_if(siblings.begin(), siblings.end(), [name = Format::fileName(path)](const FileItem &sibling) {
            return Format::fileName(sibling.path) == name;
        });
    return self == siblings.end() ? std::nullopt : std::optional(*self);
}

FileItem SFTPService::followLink(const FileItem &link, const std::stop_token &stop)
{
    const std::optional<FileItem> target = followed(link.path, stop);
    if (!target)
        throw FileServiceError::notFound(link.path);
    if (target->isSymlink) {
        throw FileServiceError::operationFailed(
            QStringLiteral("The link “%1” leads to nothing.").arg(Format::display(link.path)));
    }
    return *target;
}

void SFTPService::copy(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    refuseExisting(toPath, stop);
    copyOnServer(item.path, toPath, Times::kept, stop);
}

void SFTPService::move(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    // Servers replace an existing file without asking.
    refuseExisting(toPath, stop);
    moveRemote(item.path, toPath, stop);
}

std::optional<qint64> SFTPService::freeSpace(const QString &path, const std::stop_token &stop)
{
    SFTPBatch batch;
    batch.commands = {QStringLiteral("df ") + sftpPath(path)};
    batch.subject = path;
    try {
        const QStringList lines = run(batch, stop).text.split(u'\n', Qt::SkipEmptyParts);
        const QStringList fields = lines.value(1).split(u' ', Qt::SkipEmptyParts);
        bool isNumber = false;
        const qint64 kibibytes = fields.value(2).toLongLong(&isNumber);
        return isNumber ? std::optional(kibibytes * 1024) : std::nullopt;
    } catch (const FileServiceError &error) {
        if (error.text().contains(QStringLiteral("does not support")))
            return std::nullopt;
        throw;
    }
}

SSHLogin SFTPService::login() const
{
    const std::lock_guard lock(m_mutex);
    if (!m_isConnected)
        throw FileServiceError::notConnected();
    SSHLogin login{m_server, m_credentials, m_tempIdentityPath};
    login.isEnded = m_isEnded;
    if (!login.identityPath) {
        std::optional<QString> none;
        login.identityPath = SSHAuthHelper::prepareIdentity(m_server, m_credentials, none);
    }
    return login;
}

SFTPOutput SFTPService::run(const SFTPBatch &batch, const std::stop_token &stop)
{
    return m_runner.runCommands(login(), batch, stop);
}

std::optional<SSHOutput> SFTPService::askShell(const QString &command, const std::stop_token &stop,
                                               const SSHStreams &streams)
{
    const SSHLogin current = login();
    if (m_lacksShell)
        return std::nullopt;
    constexpr qsizetype longestSentence = 1000;
    QByteArray beginning;
    SSHStreams watched = streams;
    if (streams.takeOutput) {
        watched.takeOutput = [&](QByteArrayView bytes) {
            beginning += bytes.first(std::min(bytes.size(), longestSentence - beginning.size()));
            streams.takeOutput(bytes);
        };
    }
    SSHOutput output = m_runner.runRemote(current, command, stop, watched);
    beginning += output.text.left(longestSentence).toUtf8();
    // The commands used here never fail with words on standard output only: that is an account saying that it offers
    // file transfer alone.
    const bool isSentence = beginning.size() < longestSentence && !beginning.trimmed().isEmpty();
    if (output.exitCode != 0 && output.errorText.isEmpty() && isSentence) {
        m_lacksShell = true;
        return std::nullopt;
    }
    return output;
}

std::optional<QString> SFTPService::runShell(const QString &command, const QString &action, const std::stop_token &stop,
                                             const SSHStreams &streams)
{
    constexpr int cannotExecute = 126;
    constexpr int commandNotFound = 127;
    const std::optional<SSHOutput> output = askShell(command, stop, streams);
    if (!output || output->exitCode == cannotExecute || output->exitCode == commandNotFound)
        return std::nullopt;
    if (output->exitCode == 0)
        return output->text;
    const QString words = output->errorText.isEmpty()
                              ? QStringLiteral("The command exited with code %1.").arg(output->exitCode)
                              : output->errorText;
    throw FileServiceError::operationFailed(action + QStringLiteral(".\n") + SSHFailureText::shortened(words));
}

QString SFTPService::commandOutput(const QString &command, const std::stop_token &stop)
{
    constexpr qsizetype mostBytes = 256 * 1024;
    QByteArray printed;
    SSHStreams streams;
    streams.takeOutput = [&printed](QByteArrayView bytes) {
        printed += bytes;
        if (printed.size() > mostBytes) {
            throw FileServiceError::operationFailed(
                QStringLiteral("The server answered with more than was asked for; its answer was not read."));
        }
    };
    const SSHOutput output = m_runner.runRemote(login(), command, stop, streams);
    const QString text = QString::fromUtf8(printed);
    if (output.exitCode == 0)
        return text;
    constexpr qsizetype longestReason = 500;
    const QString words = output.errorText.isEmpty() ? text.trimmed() : output.errorText;
    throw FileServiceError::operationFailed(
        QStringLiteral("The server did not run a command for “%1”: ").arg(m_server.username) +
        (words.isEmpty() ? QStringLiteral("ssh exited with code %1").arg(output.exitCode) : words.left(longestReason)));
}

std::optional<FileItem> SFTPService::followed(const QString &path, const std::stop_token &stop)
{
    SFTPBatch batch;
    // The empty alternatives make it a pattern with two matches, whose rows are shown instead of a folder's contents.
    batch.commands = {QStringLiteral("ls -la ") + sftpListPath(path) + QStringLiteral("{,}")};
    batch.subject = path;
    batch.action = unable(path, QStringLiteral("examined"));
    try {
        QList<FileItem> rows = UnixListParser::parse(run(batch, stop).text, Format::parent(path));
        if (rows.isEmpty())
            return std::nullopt;
        rows.front().path = path;
        rows.front().name = Format::fileName(path);
        return rows.front();
    } catch (const FileServiceError &error) {
        if (error.kind() == FileServiceError::Case::notFound)
            return std::nullopt;
        throw;
    }
}

void SFTPService::refuseExisting(const QString &path, const std::stop_token &stop)
{
    if (followed(path, stop))
        throw FileServiceError::operationFailed(QStringLiteral("“%1” exists already.").arg(Format::display(path)));
}

} // namespace moorix
