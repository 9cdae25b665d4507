// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/Release.h"

#include "base/Error.h"
#include "endpoints/EndpointAddress.h"
#include "endpoints/ForeignText.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void fail(const QString &sentence)
{
    throw Error(u"Moorix.Update"_s, sentence);
}

std::optional<QString> presentText(const QString &text)
{
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

/// Servers tend to write a build as a number.
std::optional<QString> buildIn(const QJsonObject &reply)
{
    const QStringList keys{u"build"_s, u"build_number"_s, u"buildNumber"_s, u"latest_build"_s};
    for (const QString &key : keys) {
        if (const qint64 number = reply.value(key).toInteger(-1); number >= 0)
            return QString::number(number);
    }
    return presentText(firstString(reply, keys));
}

QUrl downloadIn(const QJsonObject &reply, const QUrl &endpoint)
{
    const QString text = firstString(reply, {u"dmg_url"_s, u"dmgURL"_s, u"dmgUrl"_s, u"download_url"_s,
                                             u"downloadURL"_s, u"downloadUrl"_s, u"url"_s});
    const EndpointAddress address = EndpointAddress::parse(text);
    // Whoever can change what an unencrypted connection carries must not be able to exchange the installer.
    const bool isDowngrade = endpoint.scheme() == u"https" && address.url.scheme() != u"https";
    if (!address.isUsable() || isDowngrade)
        fail(u"The update response is missing a valid DMG URL."_s);
    return address.url;
}

/// Names come from a server and become names in the user's Downloads folder.
void checkFileName(const QString &name)
{
    // Marks that turn the direction of writing would show another ending than the file's own.
    const bool isPrintable = foreignText::printable(name) == name;
    if (name.contains(u'/') || name.contains(u'\\') || name.startsWith(u'.') || name.contains(u".."_s) ||
        !isPrintable) {
        QString shown = name;
        std::replace_if(
            shown.begin(), shown.end(), [](QChar c) { return !c.isPrint(); }, u'?');
        fail(u"The update response names a file “%1”, which is not a plain file name."_s.arg(shown));
    }
    constexpr qsizetype mostBytes = 200;
    if (name.toUtf8().size() > mostBytes)
        fail(u"The update response names a file whose name is too long."_s);
    // Some desktops start the program that such a file names instead of showing the file.
    if (name.endsWith(u".desktop"_s, Qt::CaseInsensitive))
        fail(u"The update response names a file “%1”, which is no installer."_s.arg(name));
}

} // namespace

QString firstString(const QJsonObject &in, const QStringList &keys)
{
    for (const QString &key : keys) {
        const QString text = in.value(key).toString().trimmed();
        if (!text.isEmpty())
            return text;
    }
    return {};
}

Release Release::fromReply(const QByteArray &body, const QUrl &endpoint)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        fail(u"The update response was not valid JSON."_s);
    const QJsonObject reply = document.object();
    Release release;
    release.version = foreignText::line(
        firstString(reply, {u"version"_s, u"latest_version"_s, u"latestVersion"_s, u"short_version"_s}));
    constexpr qsizetype mostCharacters = 64;
    if (release.version.isEmpty() || release.version.size() > mostCharacters)
        fail(u"The update response is missing a version."_s);
    release.build = buildIn(reply);
    release.downloadURL = downloadIn(reply, endpoint);
    release.fileName = firstString(reply, {u"file_name"_s, u"fileName"_s, u"filename"_s});
    if (release.fileName.isEmpty())
        release.fileName = release.downloadURL.fileName(QUrl::FullyDecoded);
    if (release.fileName.isEmpty())
        release.fileName = u"Moorix-%1.dmg"_s.arg(release.version);
    checkFileName(release.fileName);
    constexpr qsizetype longestNotes = 16384;
    release.notes = presentText(foreignText::lines(
        firstString(reply, {u"notes"_s, u"release_notes"_s, u"releaseNotes"_s, u"changelog"_s}), longestNotes));
    return release;
}

} // namespace moorix
