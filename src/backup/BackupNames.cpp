// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupNames.h"

#include <QDir>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestBaseBytes = 200;

bool areDigits(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

/// "20250307-140509".
bool isStamp(QStringView text)
{
    constexpr qsizetype dateDigits = 8;
    constexpr qsizetype timeDigits = 6;
    return text.size() == dateDigits + 1 + timeDigits && text.at(dateDigits) == u'-' &&
           areDigits(text.left(dateDigits)) && areDigits(text.right(timeDigits));
}

} // namespace

BackupNames::Kind BackupNames::kindOf(const BackupJob &job)
{
    if (job.encrypt)
        return Kind::encryptedZip;
    return job.zip ? Kind::zip : Kind::folder;
}

QString BackupNames::baseName(const QString &jobName)
{
    QString base = jobName;
    for (QChar &c : base) {
        if (c == u' ' || c == u'/' || c.category() == QChar::Other_Control)
            c = u'_';
    }
    if (base.isEmpty())
        base = u"Backup"_s;
    if (base.startsWith(u'-') || base.startsWith(u'.'))
        base.prepend(u'_');
    while (base.toUtf8().size() > longestBaseBytes)
        base.chop(base.back().isLowSurrogate() ? 2 : 1);
    return base;
}

QString BackupNames::archiveName(const QString &jobName, const QDateTime &start, Kind kind)
{
    const QString name = baseName(jobName) + u'-' + start.toString(u"yyyyMMdd-HHmmss"_s);
    switch (kind) {
    case Kind::folder:
        return name;
    case Kind::zip:
        return name + u".zip"_s;
    case Kind::encryptedZip:
        return name + u".zip.enc"_s;
    }
    return name;
}

bool BackupNames::isArchiveOf(const QString &jobName, const QString &entryName, bool isFolder)
{
    const QString prefix = baseName(jobName) + u'-';
    if (!entryName.startsWith(prefix))
        return false;
    QStringView stamp = QStringView(entryName).mid(prefix.size());
    if (isFolder)
        return isStamp(stamp);
    if (stamp.endsWith(u".enc"))
        stamp.chop(4);
    return stamp.endsWith(u".zip") && isStamp(stamp.chopped(4));
}

bool BackupNames::clash(const BackupJob &a, const BackupJob &b)
{
    return a.id != b.id && baseName(a.name) == baseName(b.name) && a.destinationServerID == b.destinationServerID &&
           QDir::cleanPath(a.destinationPath) == QDir::cleanPath(b.destinationPath);
}

bool BackupNames::isWithin(const QString &path, const QString &folder)
{
    const QString inside = QDir::cleanPath(folder);
    return inside == u"/" || (QDir::cleanPath(path) + u'/').startsWith(inside + u'/');
}

std::optional<QString> BackupNames::problem(const BackupJob &job, const QList<BackupJob> &all)
{
    if (job.name.trimmed().isEmpty())
        return u"The backup needs a name."_s;
    if (job.sourcePaths.isEmpty())
        return u"No sources configured"_s;
    if (job.destinationPath.isEmpty())
        return u"No destination set"_s;
    for (const QString &source : job.sourcePaths) {
        if (!source.startsWith(u'/'))
            return u"“%1” is no absolute path."_s.arg(source);
        if (!job.destinationServerID && isWithin(job.destinationPath, source))
            return u"The destination “%1” lies inside the source “%2”: every backup would hold the ones before it."_s
                .arg(job.destinationPath, source);
    }
    const auto other =
        std::find_if(all.cbegin(), all.cend(), [&job](const BackupJob &each) { return clash(job, each); });
    if (other != all.cend())
        return u"The job “%1” keeps archives of the same name in the same folder. Choose another name or folder, so "
               u"that "
               "neither removes the other's."_s.arg(other->name);
    return std::nullopt;
}

} // namespace moorix
