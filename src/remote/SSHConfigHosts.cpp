// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SSHConfigHosts.h"

#include "base/Error.h"
#include "platform/AppPaths.h"
#include "platform/PrivateFile.h"
#include "platform/ProcessRunner.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <functional>

#include <glob.h>

namespace moorix::SSHConfigHosts {

namespace {

/// The client's own limit of nested includes.
constexpr int deepestInclude = 16;
/// The client is asked about each host by itself.
constexpr qsizetype mostHosts = 2000;

/// The words of a configuration line, "=" and quotes undone.
QStringList words(const QString &line)
{
    static const QRegularExpression pattern(QStringLiteral("\"([^\"]*)\"|([^\\s=\"]+)"));
    QStringList found;
    for (auto match = pattern.globalMatch(line); match.hasNext();) {
        const QRegularExpressionMatch next = match.next();
        found << (next.hasCaptured(2) ? next.captured(2) : next.captured(1));
    }
    return found;
}

QStringList matchingFiles(const QString &pattern, const QString &folder)
{
    const QString path = QDir(folder).absoluteFilePath(AppPaths::expandTilde(pattern));
    glob_t found = {};
    QStringList files;
    if (::glob(QFile::encodeName(path).constData(), 0, nullptr, &found) == 0) {
        for (size_t i = 0; i < found.gl_pathc; ++i)
            files << QFile::decodeName(found.gl_pathv[i]);
    }
    ::globfree(&found);
    return files;
}

/// Hands each line to `take`, as its keyword in lower case and what follows; an included file's in its place.
void readLines(const QByteArray &text, const QString &folder, int depth,
               const std::function<void(const QString &keyword, const QStringList &rest)> &take)
{
    const QStringList lines = QString::fromUtf8(text).split(u'\n');
    for (const QString &line : lines) {
        QStringList parts = words(line);
        const QString keyword = parts.isEmpty() ? QString() : parts.takeFirst().toLower();
        if (keyword != QStringLiteral("include")) {
            take(keyword, parts);
            continue;
        }
        for (const QString &pattern : std::as_const(parts)) {
            for (const QString &included : matchingFiles(pattern, folder)) {
                QFile file(included);
                if (depth < deepestInclude && QFileInfo(included).isFile() && file.open(QIODevice::ReadOnly))
                    readLines(file.readAll(), folder, depth + 1, take);
            }
        }
    }
}

/// What the client makes of a name, setting by setting; empty when it refuses.
QHash<QString, QStringList> resolved(const QString &configPath, const QString &alias, ProcessRunner &runner,
                                     const std::stop_token &stop)
{
    ProcessRequest request;
    request.program = QStringLiteral("/usr/bin/ssh");
    request.arguments = QStringList{QStringLiteral("-F"), configPath, QStringLiteral("-G"), alias};
    const ProcessResult result = runner.run(request, stop);
    QHash<QString, QStringList> settings;
    if (result.crashed || result.exitCode != 0)
        return settings;
    const QStringList lines = QString::fromUtf8(result.standardOutput).split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines)
        settings[line.section(u' ', 0, 0)] << line.section(u' ', 1);
    return settings;
}

ServerConnection draft(const QString &alias, const QHash<QString, QStringList> &settings, const QStringList &usualKeys)
{
    const auto value = [&settings](const char *key) { return settings.value(QLatin1String(key)).value(0); };
    ServerConnection server = ServerConnection::newDraft(NetworkProtocol::sftp);
    server.name = alias;
    server.host = value("hostname");
    server.username = value("user");
    server.port = value("port").toLongLong();
    server.authMethod = AuthMethod::systemKey;
    for (const QString &key : settings.value(QStringLiteral("identityfile"))) {
        const bool isNamed = !usualKeys.contains(key);
        if (isNamed && QFileInfo(AppPaths::expandTilde(key)).isFile()) {
            server.authMethod = AuthMethod::privateKeyFile;
            server.privateKeyPath = key;
            break;
        }
    }
    return server;
}

} // namespace

QStringList aliases(const QByteArray &text, const QString &folder)
{
    QStringList names;
    QSet<QString> known;
    readLines(text, folder, 0, [&](const QString &keyword, const QStringList &rest) {
        if (keyword != QStringLiteral("host"))
            return;
        for (const QString &name : rest) {
            const bool isPattern = name.contains(u'*') || name.contains(u'?') || name.startsWith(u'!');
            if (!isPattern && !known.contains(name)) {
                known.insert(name);
                names << name;
            }
        }
    });
    return names;
}

QStringList aliases(const QString &configPath)
{
    QFile file(configPath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return aliases(file.readAll(), QFileInfo(configPath).absolutePath());
}

QByteArray harmless(const QByteArray &text, const QString &folder)
{
    static const QStringList kept{QStringLiteral("host"), QStringLiteral("hostname"), QStringLiteral("user"),
                                  QStringLiteral("port"), QStringLiteral("identityfile")};
    QString written;
    bool isInMatch = false;
    readLines(text, folder, 0, [&](const QString &keyword, const QStringList &rest) {
        if (keyword == QStringLiteral("match") || keyword == QStringLiteral("host"))
            isInMatch = keyword == QStringLiteral("match");
        if (isInMatch || !kept.contains(keyword) || rest.isEmpty())
            return;
        written += keyword;
        for (const QString &word : rest)
            written += QStringLiteral(" \"") + word + u'"';
        written += u'\n';
    });
    return written.toUtf8();
}

QList<ServerConnection> draftsOfText(const QByteArray &text, const QString &folder, ProcessRunner &runner,
                                     const std::stop_token &stop)
{
    const PrivateFile file(QStringLiteral("moorix-hosts-"), harmless(text, folder));
    const qsizetype count = aliases(file.path()).size();
    if (count > mostHosts) {
        throw Error(QStringLiteral("Import"),
                    QStringLiteral("The configuration names %1 hosts; more than %2 cannot be imported at once.")
                        .arg(count)
                        .arg(mostHosts));
    }
    return drafts(file.path(), runner, stop);
}

QList<ServerConnection> drafts(const QString &configPath, ProcessRunner &runner, const std::stop_token &stop)
{
    // Without a configuration the client prints the keys it tries anyway.
    const QStringList usualKeys = resolved(QStringLiteral("none"), QStringLiteral("localhost"), runner, stop)
                                      .value(QStringLiteral("identityfile"));
    QList<ServerConnection> found;
    for (const QString &alias : aliases(configPath)) {
        if (alias.startsWith(u'-'))
            continue;
        const QHash<QString, QStringList> settings = resolved(configPath, alias, runner, stop);
        if (!settings.isEmpty())
            found << draft(alias, settings, usualKeys);
    }
    return found;
}

} // namespace moorix::SSHConfigHosts
