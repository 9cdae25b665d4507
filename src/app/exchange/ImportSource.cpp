// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/ImportSource.h"

#include "app/exchange/ExchangeFile.h"
#include "app/exchange/FileZillaSites.h"
#include "base/Error.h"
#include "platform/AppPaths.h"
#include "remote/SSHConfigHosts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace moorix::importSource {

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void refuse(const QString &name, const QString &why)
{
    throw Error(u"Import"_s, u"“%1” cannot be imported: %2"_s.arg(name, why));
}

QByteArray bytesOf(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        throw Error(u"Import"_s, u"There is no file “%1”."_s.arg(path));
    if (!info.isFile())
        refuse(path, u"it is no file."_s);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        refuse(path, file.errorString() + u'.');
    const QByteArray bytes = file.read(largestFileBytes + 1);
    if (file.error() != QFile::NoError)
        refuse(path, file.errorString() + u'.');
    return bytes;
}

Origin originOf(const QByteArray &bytes, const QString &name, const QString &folder)
{
    if (bytes.trimmed().startsWith('{'))
        return Origin::moorix;
    if (fileZillaSites::isLikely(bytes))
        return Origin::fileZilla;
    if (!bytes.contains('\0') && !SSHConfigHosts::aliases(bytes, folder).isEmpty())
        return Origin::openSSH;
    refuse(name, u"it is neither an export of Moorix, nor a list of sites of FileZilla, nor an OpenSSH configuration "
                 "that names hosts."_s);
}

ExchangeContent ofHosts(const QList<ServerConnection> &hosts, const QString &name)
{
    if (hosts.isEmpty())
        refuse(name, u"it names no host."_s);
    ExchangeContent content;
    content.origin = Origin::openSSH;
    content.documents.library.servers = hosts;
    for (qsizetype i = 0; i < hosts.size(); ++i)
        content.documents.library.servers[i].sortIndex = i;
    return content;
}

ExchangeContent decodeIn(const QByteArray &bytes, const QString &name, const QString &folder,
                         std::optional<Origin> origin, ProcessRunner &runner, const std::stop_token &stop)
{
    if (bytes.size() > largestFileBytes)
        refuse(name, u"it is larger than %1 MiB, which none of the files is that can be imported."_s.arg(
                         largestFileBytes / 1024 / 1024));
    switch (origin ? *origin : originOf(bytes, name, folder)) {
    case Origin::moorix:
        return exchangeFile::decode(bytes, name);
    case Origin::fileZilla:
        return fileZillaSites::decode(bytes, name);
    case Origin::openSSH:
        return ofHosts(SSHConfigHosts::draftsOfText(bytes, folder, runner, stop), name);
    }
    return {};
}

} // namespace

QString usualOpenSSHFile()
{
    return AppPaths::home() + u"/.ssh/config"_s;
}

ExchangeContent read(const QString &path, std::optional<Origin> origin, ProcessRunner &runner,
                     const std::stop_token &stop)
{
    const QByteArray bytes = bytesOf(path);
    // The client reads the user's own configuration whole, whatever it executes: it does so at each connection.
    if (QFileInfo(path) == QFileInfo(usualOpenSSHFile()) && origin.value_or(Origin::openSSH) == Origin::openSSH)
        return ofHosts(SSHConfigHosts::drafts(path, runner, stop), path);
    return decodeIn(bytes, path, QFileInfo(path).absolutePath(), origin, runner, stop);
}

ExchangeContent decode(const QByteArray &bytes, const QString &name, std::optional<Origin> origin,
                       ProcessRunner &runner, const std::stop_token &stop)
{
    return decodeIn(bytes, name, QDir::currentPath(), origin, runner, stop);
}

} // namespace moorix::importSource
