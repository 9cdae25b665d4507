// SPDX-License-Identifier: GPL-3.0-or-later
// The connection and everything that is a few commands; listings and transfers have files of their own.
#include "remote/FTPService.h"

#include "files/FileNames.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/TransferSpeed.h"
#include "remote/FTPFailureText.h"
#include "remote/SFTPQuoting.h"

#include <algorithm>

namespace moorix {

namespace {

/// Longer batches of commands are split, so that a stop or a lost connection costs little.
constexpr qsizetype mostCommandsAtOnce = 500;

/// Stalls of curl between files were seen below 2 ms only; a busy server may take longer over one answer.
constexpr std::chrono::milliseconds nearRoundTrip(4);

QString unable(const QString &path, const QString &done)
{
    return QStringLiteral("“%1” could not be %2").arg(Format::display(path), done);
}

/// A command's refusal as the failure of a run of its own.
CurlTransfer asTransfer(const FTPReply &reply)
{
    constexpr int quoteRefused = 21;
    CurlTransfer transfer;
    transfer.exitCode = quoteRefused;
    transfer.replies = {reply};
    return transfer;
}

bool isControl(char byte)
{
    return (byte >= 0 && byte < 0x20) || byte == 0x7f;
}

} // namespace

FTPService::FTPService(ServerConnection server, ConnectionCredentials credentials,
                       std::shared_ptr<ProcessRunner> processes, FTPCertificates certificates, FTPPatience patience,
                       std::shared_ptr<TransferSpeed> speed)
    : m_server(std::move(server))
    , m_credentials(std::move(credentials))
    , m_certificates(std::move(certificates))
    , m_patience(patience)
    , m_runner(std::move(processes))
    , m_speed(speed ? std::move(speed) : std::make_shared<TransferSpeed>())
{
}

FTPService::~FTPService() = default;

void FTPService::limitSpeed(CurlConfig &config) const
{
    if (const qint64 limit = m_speed->limit(); limit > 0)
        config.set("limit-rate", QByteArray::number(limit));
}

bool FTPService::isConnected() const
{
    const std::lock_guard lock(m_mutex);
    return m_isConnected;
}

void FTPService::connect(const std::stop_token &stop)
{
    FTPLogin login{m_server, m_credentials, std::nullopt};
    CurlRunner::check(login);
    trustOnFirstContact(login, stop);
    CurlRequest request;
    request.longest = m_patience.command;
    request.config.flag("head");
    request.config.set("url", CurlRunner::url(login, {}));
    // One command on the standing connection, which tells how long a round trip takes.
    request.config.set("url", CurlRunner::url(login, "/"));
    const QList<CurlTransfer> transfers = m_runner.run(login, request, stop);
    const CurlTransfer &transfer = transfers.constFirst();
    if (transfer.exitCode != 0) {
        throw FileServiceError::connectionFailed(
            FTPFailureText::operation(QStringLiteral("the login on %1 failed").arg(m_server.host), transfer));
    }
    const std::lock_guard lock(m_mutex);
    m_home = transfer.entryPath.isEmpty() ? QStringLiteral("/") : charset().decode(transfer.entryPath);
    m_pinnedKey = login.pinnedKey;
    m_isNear = transfers.size() > 1 && transfers.at(1).preparation < nearRoundTrip;
    m_isConnected = true;
}

bool FTPService::isNear() const
{
    const std::lock_guard lock(m_mutex);
    return m_isNear;
}

/// Each file is a handful of answers to wait for; nearby the two machines are busy instead.
int FTPService::lanesForMany() const
{
    constexpr int far = 12;
    constexpr int leftToTheUser = 2;
    if (isNear())
        return RemoteFileService::lanesForMany();
    const int limit = ConnectionGate::ofThisProgram().limitOf(CurlRunner::door(m_server));
    return std::clamp(limit - leftToTheUser, 1, far);
}

void FTPService::trustOnFirstContact(FTPLogin &login, const std::stop_token &stop)
{
    if (!login.usesTLS() || m_server.strictHostKeyChecking)
        return;
    login.pinnedKey = m_certificates.known(m_server);
    if (login.pinnedKey)
        return;
    login.pinnedKey = m_runner.offeredKey(login, stop);
    m_certificates.remember(m_server, *login.pinnedKey);
}

void FTPService::disconnect() noexcept
{
    const std::lock_guard lock(m_mutex);
    m_isConnected = false;
}

QString FTPService::defaultDirectory(const std::stop_token & /*stop*/)
{
    login();
    const std::lock_guard lock(m_mutex);
    return m_home;
}

void FTPService::createDirectory(const QString &path, const std::stop_token &stop)
{
    const FTPReply reply = command({"MKD " + native(path)}, stop).constFirst();
    if (!reply.isRefusal())
        return;
    refuseExisting(path, stop);
    fail(asTransfer(reply), Format::parent(path), unable(path, QStringLiteral("created")), stop);
}

void FTPService::remove(const FileItem &item, const std::stop_token &stop)
{
    const QString done = QStringLiteral("deleted");
    QList<QByteArray> commands;
    QStringList paths;
    const auto add = [&](const FileItem &entry) {
        const bool isFolder = entry.isDirectory && !entry.isSymlink;
        commands << (isFolder ? "RMD " : "DELE ") + native(entry.path);
        paths << entry.path;
    };
    if (item.isDirectory && !item.isSymlink) {
        for (const FileItem &inner : RemoteTree::deepestFirst(*this, item.path, stop))
            add(inner);
    }
    add(item);
    commandForEach(commands, paths, done, stop);
}

void FTPService::rename(const FileItem &item, const QString &newName, const std::stop_token &stop)
{
    if (const std::optional<QString> problem = FileNames::problem(newName))
        throw FileServiceError::operationFailed(*problem);
    move(item, Format::join(Format::parent(item.path), newName), stop);
}

void FTPService::setPermissions(const QString &path, const QString &octal, Recursive recursive,
                                const std::stop_token &stop)
{
    const auto isDigit = [](QChar c) { return c >= u'0' && c <= u'7'; };
    if (octal.isEmpty() || octal.size() > 4 || !std::all_of(octal.begin(), octal.end(), isDigit)) {
        throw FileServiceError::operationFailed(
            QStringLiteral("“%1” is no mode; modes are up to four digits from 0 to 7, such as 755.").arg(octal));
    }
    QList<QByteArray> commands;
    QStringList paths;
    const auto add = [&](const QString &entry) {
        // Some servers cut the blank off and would change the entry of that name.
        if (entry.endsWith(u' ')) {
            throw FileServiceError::operationFailed(
                unable(entry, QStringLiteral("given other permissions: its name ends in a blank, which FTP servers "
                                             "lose in this command.")));
        }
        commands << "SITE CHMOD " + octal.toLatin1() + ' ' + native(entry);
        paths << entry;
    };
    if (recursive == Recursive::yes && !command({"CWD " + native(path)}, stop).constFirst().isRefusal()) {
        for (const FileItem &inner : RemoteTree::deepestFirst(*this, path, stop)) {
            if (!inner.isSymlink)
                add(inner.path);
        }
    }
    add(path);
    commandForEach(commands, paths, QStringLiteral("given other permissions"), stop);
}

void FTPService::move(const FileItem &item, const QString &toPath, const std::stop_token &stop)
{
    refuseTaken(item.path, toPath, stop);
    renameTo(item.path, toPath, Existing::refuse, stop);
}

void FTPService::moveRemote(const QString &source, const QString &destination, const std::stop_token &stop)
{
    renameTo(source, destination, Existing::replace, stop);
}

std::optional<qint64> FTPService::freeSpace(const QString &path, const std::stop_token &stop)
{
    login();
    if (m_tellsNoFreeSpace)
        return std::nullopt;
    constexpr int status = 213;
    constexpr int notUnderstood = 500;
    constexpr int notForThat = 504;
    const FTPReply reply = command({"AVBL " + native(path)}, stop).constFirst();
    m_tellsNoFreeSpace = reply.code >= notUnderstood && reply.code <= notForThat;
    bool isNumber = false;
    const qint64 bytes = reply.text.trimmed().toLongLong(&isNumber);
    return reply.code == status && isNumber && bytes >= 0 ? std::optional(bytes) : std::nullopt;
}

FTPLogin FTPService::login() const
{
    const std::lock_guard lock(m_mutex);
    if (!m_isConnected)
        throw FileServiceError::notConnected();
    return {m_server, m_credentials, m_pinnedKey};
}

void FTPService::requireAddressable(const QString &path) const
{
    native(path);
}

QByteArray FTPService::native(const QString &path) const
{
    if (path.isEmpty())
        throw FileServiceError::operationFailed(QStringLiteral("The path is empty."));
    SFTPQuoting::rejectControlCharacters(path);
    const std::optional<QByteArray> bytes = charset().encode(path);
    if (!bytes) {
        throw FileServiceError::operationFailed(
            QStringLiteral("“%1” cannot be written in the server's character set %2.")
                .arg(Format::display(path), m_server.charset));
    }
    if (std::any_of(bytes->begin(), bytes->end(), isControl))
        throw FileServiceError::operationFailed(QStringLiteral("Path contains invalid control characters."));
    return *bytes;
}

QList<FTPReply> FTPService::command(const QList<QByteArray> &commands, const std::stop_token &stop)
{
    return command(commands, m_patience.command, stop);
}

QList<FTPReply> FTPService::command(const QList<QByteArray> &commands, std::chrono::seconds longest,
                                    const std::stop_token &stop)
{
    const FTPLogin current = login();
    CurlRequest request;
    request.longest = longest;
    request.config.flag("head");
    request.config.set("url", CurlRunner::url(current, {}));
    // The asterisk makes curl go on after a refusal.
    for (const QByteArray &line : commands)
        request.config.set("quote", '*' + line);
    const CurlTransfer transfer = m_runner.run(current, request, stop).constFirst();
    if (transfer.exitCode != 0 || transfer.replies.size() < commands.size())
        throw FileServiceError::operationFailed(
            FTPFailureText::operation(QStringLiteral("%1 did not take a command").arg(m_server.host), transfer));
    // Nothing follows the commands; what came before them differs from server to server.
    return transfer.replies.last(commands.size());
}

void FTPService::commandForEach(const QList<QByteArray> &commands, const QStringList &paths, const QString &done,
                                const std::stop_token &stop)
{
    qsizetype failures = 0;
    qsizetype first = 0;
    FTPReply refusal;
    for (qsizetype start = 0; start < commands.size(); start += mostCommandsAtOnce) {
        const QList<QByteArray> some = commands.mid(start, mostCommandsAtOnce);
        const QList<FTPReply> replies = command(some, patienceFor(some), stop);
        for (qsizetype i = 0; i < replies.size(); ++i) {
            if (!replies.at(i).isRefusal() || ++failures > 1)
                continue;
            first = start + i;
            refusal = replies.at(i);
        }
    }
    if (failures == 0)
        return;
    if (commands.size() == 1)
        fail(asTransfer(refusal), paths.at(first), unable(paths.at(first), done), stop);
    const QString rest = failures == 1 ? QString() : QStringLiteral(", and %1 more").arg(failures - 1);
    throw FileServiceError::operationFailed(
        FTPFailureText::operation(unable(paths.at(first), done) + rest, asTransfer(refusal)));
}

void FTPService::fail(const CurlTransfer &failure, const QString &path, const QString &sentence,
                      const std::stop_token &stop)
{
    const FTPReply reply = failure.refusal();
    if (FTPFailureText::saysMissing(reply))
        throw FileServiceError::notFound(path);
    // The code stands for much more than that.
    constexpr int noSuchFile = 550;
    bool isMissing = false;
    try {
        isMissing = reply.code == noSuchFile && !stat(path, stop);
    } catch (const FileServiceError &) {
        // The first failure is the one to tell.
        isMissing = false;
    }
    if (isMissing)
        throw FileServiceError::notFound(path);
    throw FileServiceError::operationFailed(FTPFailureText::operation(sentence, failure));
}

void FTPService::refuseExisting(const QString &path, const std::stop_token &stop)
{
    if (stat(path, stop))
        throw FileServiceError::operationFailed(QStringLiteral("“%1” exists already.").arg(Format::display(path)));
}

FTPReply FTPService::replaceByDetour(const QString &source, const QString &destination)
{
    const QByteArray from = native(source);
    const QByteArray to = native(destination);
    const QString asidePath = LocalDisk::partPath(destination);
    const QByteArray aside = native(asidePath);
    // Whatever happens in between, something must stand at the destination in the end: hence no stop.
    const std::stop_token unstoppable;
    const QString whereItIs = QStringLiteral("\nIf “%1” is missing, what it held is “%2” beside it.")
                                  .arg(Format::display(destination), Format::display(Format::fileName(asidePath)));
    const auto putBack = [&] { return command({"RNFR " + aside, "RNTO " + to}, unstoppable).constLast(); };
    QList<FTPReply> replies;
    try {
        replies = command({"RNFR " + to, "RNTO " + aside, "RNFR " + from, "RNTO " + to}, unstoppable);
    } catch (const Error &) {
        try {
            putBack();
        } catch (const FileServiceError &error) {
            throw FileServiceError::connectionFailed(error.text() + whereItIs);
        }
        throw;
    }
    if (replies.at(1).isRefusal())
        return replies.at(1);
    if (!replies.at(3).isRefusal()) {
        command({"DELE " + aside}, unstoppable);
    } else if (const FTPReply refused = putBack(); refused.isRefusal()) {
        throw FileServiceError::operationFailed(
            FTPFailureText::operation(unable(source, QStringLiteral("moved")), asTransfer(refused)) + whereItIs);
    }
    return replies.at(3);
}

/// Unlike a file, no folder takes the place of anything but an empty folder.
bool FTPService::renameBeside(const QString &path, const QString &toPath, const std::stop_token &stop)
{
    const QList<FTPReply> replies = command({"RNFR " + native(path), "RNTO " + native(toPath)}, stop);
    return !replies.constLast().isRefusal();
}

void FTPService::renameTo(const QString &source, const QString &destination, Existing existing,
                          const std::stop_token &stop)
{
    QList<FTPReply> replies = command({"RNFR " + native(source), "RNTO " + native(destination)}, stop);
    const QString sentence = unable(source, QStringLiteral("moved to “%1”").arg(Format::display(destination)));
    if (replies.constFirst().isRefusal())
        fail(asTransfer(replies.constFirst()), source, sentence, stop);
    if (replies.constLast().isRefusal() && existing == Existing::replace) {
        const std::optional<FileItem> standing = stat(destination, stop);
        if (standing && !standing->isDirectory)
            replies.last() = replaceByDetour(source, destination);
    }
    if (replies.constLast().isRefusal())
        fail(asTransfer(replies.constLast()), Format::parent(destination), sentence, stop);
}

} // namespace moorix
