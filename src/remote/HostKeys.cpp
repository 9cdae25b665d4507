// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/HostKeys.h"

#include "base/Error.h"
#include "platform/ProcessRunner.h"
#include "remote/FTPHostKeys.h"
#include "remote/SSHDestination.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>

#include <array>

namespace moorix::HostKeys {

namespace {

/// Where the client looks for a host's keys and under which name.
struct Place
{
    QString host;
    QString port;
    /// The name of the host's lines in the files.
    QString entry;
    /// In the order the client reads them; it adds to the first.
    QStringList files;
    bool hashesNames = false;
};

bool isFTP(const ServerConnection &server)
{
    return server.networkProtocol == NetworkProtocol::ftp || server.networkProtocol == NetworkProtocol::ftps;
}

struct OfferedKey
{
    /// "ssh-ed25519 AAAA…", as in known_hosts.
    QByteArray typeAndKey;
    QString fingerprint;
};

[[noreturn]] void fail(const QString &message)
{
    throw Error(QStringLiteral("HostKeys"), message.trimmed());
}

QString textOf(const QByteArray &output)
{
    return QString::fromUtf8(output).trimmed();
}

ProcessResult run(ProcessRunner &runner, const QString &program, const QStringList &arguments,
                  const QByteArray &standardInput, const std::stop_token &stop)
{
    ProcessRequest request;
    request.program = program;
    request.arguments = arguments;
    request.standardInput = standardInput;
    return runner.run(request, stop);
}

ProcessResult runKeygen(ProcessRunner &runner, const QStringList &arguments, const QByteArray &standardInput,
                        const std::stop_token &stop)
{
    return run(runner, QStringLiteral("/usr/bin/ssh-keygen"), arguments, standardInput, stop);
}

/// The client prints the absolute paths side by side; they may hold blanks.
QStringList absolutePaths(const QString &value)
{
    QStringList paths;
    for (const QString &path : value.split(QStringLiteral(" /"), Qt::SkipEmptyParts))
        paths << (path.startsWith(u'/') ? path : u'/' + path);
    return paths;
}

Place placeOf(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop)
{
    SSHDestination::check(server);
    const ProcessResult result = run(runner, QStringLiteral("/usr/bin/ssh"),
                                     {QStringLiteral("-G"), QStringLiteral("-p"), QString::number(server.port),
                                      QStringLiteral("-l"), server.username, server.host},
                                     {}, stop);
    if (result.crashed || result.exitCode != 0)
        fail(QStringLiteral("The settings for %1 could not be read.\n%2")
                 .arg(server.host, textOf(result.standardError)));
    Place place;
    QString alias;
    const QStringList lines = QString::fromUtf8(result.standardOutput).split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        const QString key = line.section(u' ', 0, 0);
        const QString value = line.section(u' ', 1);
        if (key == QLatin1String("hostname"))
            place.host = value;
        else if (key == QLatin1String("port"))
            place.port = value;
        else if (key == QLatin1String("hostkeyalias"))
            alias = value;
        else if (key == QLatin1String("hashknownhosts"))
            place.hashesNames = value == QLatin1String("yes");
        else if (key == QLatin1String("userknownhostsfile"))
            place.files = absolutePaths(value);
    }
    place.entry = !alias.isEmpty()                    ? alias
                  : place.port == QLatin1String("22") ? place.host
                                                      : QStringLiteral("[%1]:%2").arg(place.host, place.port);
    return place;
}

QStringList fingerprintsIn(const Place &place, ProcessRunner &runner, const std::stop_token &stop)
{
    QStringList fingerprints;
    for (const QString &file : place.files) {
        const ProcessResult result = runKeygen(
            runner, {QStringLiteral("-l"), QStringLiteral("-F"), place.entry, QStringLiteral("-f"), file}, {}, stop);
        const QStringList lines = QString::fromUtf8(result.standardOutput).split(u'\n', Qt::SkipEmptyParts);
        for (const QString &line : lines) {
            // "host ED25519 SHA256:…" beneath a comment
            const QStringList fields = line.split(u' ', Qt::SkipEmptyParts);
            if (fields.size() >= 3 && !line.startsWith(u'#'))
                fingerprints << fields.at(1) + u' ' + fields.at(2);
        }
    }
    return fingerprints;
}

/// Empty when the line is no key.
QString fingerprintOf(const QByteArray &line, ProcessRunner &runner, const std::stop_token &stop)
{
    const ProcessResult result =
        runKeygen(runner, {QStringLiteral("-l"), QStringLiteral("-f"), QStringLiteral("-")}, line + '\n', stop);
    // "256 SHA256:… host (ED25519)"
    const QStringList fields = textOf(result.standardOutput).split(u' ', Qt::SkipEmptyParts);
    if (fields.size() < 4 || !fields.constLast().startsWith(u'('))
        return {};
    return fields.constLast().mid(1).chopped(1) + u' ' + fields.at(1);
}

QList<OfferedKey> offeredKeys(const Place &place, ProcessRunner &runner, const std::stop_token &stop)
{
    const ProcessResult scan =
        run(runner, QStringLiteral("/usr/bin/ssh-keyscan"),
            {QStringLiteral("-T"), QStringLiteral("10"), QStringLiteral("-p"), place.port, place.host}, {}, stop);
    QList<OfferedKey> keys;
    for (const QByteArray &line : scan.standardOutput.split('\n')) {
        const QString fingerprint = line.isEmpty() ? QString() : fingerprintOf(line, runner, stop);
        if (!fingerprint.isEmpty())
            keys.append({line.mid(line.indexOf(' ') + 1), fingerprint});
    }
    if (keys.isEmpty()) {
        fail(QStringLiteral("%1 shows no key on port %2.\n%3").arg(place.host, place.port, textOf(scan.standardError)));
    }
    return keys;
}

void forgetIn(const Place &place, ProcessRunner &runner, const std::stop_token &stop)
{
    for (const QString &file : place.files) {
        if (!QFileInfo::exists(file))
            continue;
        const ProcessResult result =
            runKeygen(runner, {QStringLiteral("-R"), place.entry, QStringLiteral("-f"), file}, {}, stop);
        if (result.crashed || result.exitCode != 0)
            fail(QStringLiteral("The keys of %1 could not be forgotten: %2")
                     .arg(place.host, textOf(result.standardError)));
    }
}

/// A host's name as the client stores it where `HashKnownHosts` is set: "|1|salt|hash", the hash being the HMAC-SHA1
/// of the name keyed with the salt, both in base 64 (sshd(8), SSH_KNOWN_HOSTS FILE FORMAT).
QByteArray hashed(const QByteArray &name)
{
    std::array<quint32, 5> random = {};
    QRandomGenerator::system()->fillRange(random.data(), random.size());
    const QByteArray salt(reinterpret_cast<const char *>(random.data()), sizeof random);
    return "|1|" + salt.toBase64() + '|' +
           QMessageAuthenticationCode::hash(name, salt, QCryptographicHash::Sha1).toBase64();
}

void append(const QByteArray &lines, const Place &place)
{
    const QString file = place.files.value(0);
    const auto refuse = [&place](const QString &reason) {
        fail(QStringLiteral("The key of %1 could not be remembered: %2").arg(place.host, reason));
    };
    if (file.isEmpty())
        refuse(QStringLiteral("the client's configuration names no file for known hosts."));
    const QString folder = QFileInfo(file).path();
    if (!QFileInfo::exists(folder) && !QDir().mkdir(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        refuse(QStringLiteral("the folder %1 could not be made.").arg(folder));
    QFile known(file);
    if (!known.open(QIODevice::ReadWrite, QFile::ReadOwner | QFile::WriteOwner))
        refuse(known.errorString());
    QByteArray text = lines;
    if (known.size() > 0 && known.seek(known.size() - 1) && known.read(1) != "\n")
        text.prepend('\n');
    if (!known.seek(known.size()) || known.write(text) != text.size() || !known.flush())
        refuse(known.errorString());
}

} // namespace

QStringList knownFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop)
{
    if (isFTP(server))
        return FTPHostKeys::knownFingerprints(server);
    return fingerprintsIn(placeOf(server, runner, stop), runner, stop);
}

QStringList offeredFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop)
{
    if (isFTP(server))
        return FTPHostKeys::offeredFingerprints(server, runner, stop);
    QStringList fingerprints;
    for (const OfferedKey &key : offeredKeys(placeOf(server, runner, stop), runner, stop))
        fingerprints << key.fingerprint;
    return fingerprints;
}

void trust(const ServerConnection &server, const QStringList &confirmed, ProcessRunner &runner,
           const std::stop_token &stop)
{
    if (isFTP(server)) {
        FTPHostKeys::trust(server, confirmed, runner, stop);
        return;
    }
    const Place place = placeOf(server, runner, stop);
    const QByteArray entry = place.entry.toUtf8();
    QByteArray lines;
    for (const OfferedKey &key : offeredKeys(place, runner, stop)) {
        if (confirmed.contains(key.fingerprint))
            lines += (place.hashesNames ? hashed(entry) : entry) + ' ' + key.typeAndKey + '\n';
    }
    if (lines.isEmpty()) {
        fail(QStringLiteral("%1 now shows other keys than the one you looked at. Nothing was changed; look at them "
                            "again.")
                 .arg(place.host));
    }
    if (!fingerprintsIn(place, runner, stop).isEmpty())
        forgetIn(place, runner, stop);
    append(lines, place);
}

} // namespace moorix::HostKeys
