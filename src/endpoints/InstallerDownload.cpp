// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/InstallerDownload.h"

#include "base/Error.h"
#include "endpoints/InstallerPart.h"
#include "endpoints/Release.h"
#include "platform/HttpClient.h"

#include <QFileInfo>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void failTransfer(const QString &reason)
{
    throw Error(u"Moorix.Update"_s, u"The DMG download failed.\n"_s + reason);
}

HttpRequest requestFor(const Release &release, const InstallerDownload::Options &options, InstallerPart &part)
{
    HttpRequest request;
    request.url = release.downloadURL;
    request.userAgent = options.userAgent;
    constexpr qint64 gibibyte = qint64(1024) * 1024 * 1024;
    request.sizeLimitBytes = 4 * gibibyte;
    request.timeLimit = std::chrono::milliseconds(0);
    auto total = std::make_shared<std::optional<qint64>>();
    request.begin = [total, &part, host = release.downloadURL.host()](std::optional<qint64> length) {
        if (!length)
            failTransfer(
                u"%1 does not say how long the file is, so that nobody can tell whether it is whole."_s.arg(host));
        *total = length;
        part.reserve(*length);
    };
    request.takeBody = [total, &part, progress = options.progress](QByteArrayView bytes) {
        part.write(bytes);
        if (progress)
            progress(part.size(), *total);
    };
    return request;
}

} // namespace

QString InstallerDownload::uniqueDestinationURL(const QString &in, const QString &fileName)
{
    const QFileInfo name(fileName);
    const QString extension = name.suffix().isEmpty() ? QString() : u'.' + name.suffix();
    const QString stem = fileName.chopped(extension.size());
    const auto isTaken = [](const QString &path) {
        const QFileInfo entry(path);
        return entry.exists() || entry.isSymLink();
    };
    QString path = in + u'/' + fileName;
    for (int counter = 2; isTaken(path); ++counter)
        path = in + u'/' + stem + u'-' + QString::number(counter) + extension;
    return path;
}

QString InstallerDownload::run(const Release &release, const Options &options, const std::stop_token &stop)
{
    InstallerPart part(options.folder);
    HttpReply reply;
    try {
        reply = options.http->send(requestFor(release, options, part), stop);
    } catch (const Error &error) {
        if (error.domain() == u"Network"_s)
            failTransfer(error.message());
        throw;
    }
    const QString host = release.downloadURL.host();
    if (!reply.isSuccess())
        failTransfer(u"%1 answered with status %2."_s.arg(host).arg(reply.status));
    if (part.size() == 0)
        failTransfer(u"%1 sent an empty file."_s.arg(host));
    return part.takeName(release.fileName);
}

} // namespace moorix
