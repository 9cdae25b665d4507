// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/FileIcons.h"

#include "files/FileItem.h"
#include "ui/Theme.h"
#include "ui/TintedIconEngine.h"

#include <QHash>
#include <QMimeDatabase>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

QHash<QString, QIcon> &cache()
{
    static QHash<QString, QIcon> icons;
    return icons;
}

/// What follows the last dot, in small letters; a leading dot alone does not count.
QString suffixOf(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.mid(dot + 1).toLower() : QString();
}

QIcon plainFile()
{
    return Theme::icon(u"text-plain"_s, Theme::Color::mutedText);
}

QIcon iconForSuffix(const QString &suffix)
{
    if (suffix.isEmpty())
        return plainFile();
    const QMimeType type = QMimeDatabase().mimeTypeForFile(u"file."_s + suffix, QMimeDatabase::MatchExtension);
    for (const QString &name : {type.iconName(), type.genericIconName()}) {
        if (name.startsWith(u"text-x-generic") || name == u"text-plain" || name == u"application-x-generic" ||
            name == u"application-octet-stream")
            break;
        if (QIcon::hasThemeIcon(name))
            return sharp(QIcon::fromTheme(name));
    }
    return plainFile();
}

} // namespace

QIcon FileIcons::iconFor(const FileItem &item)
{
    // No suffix can hold a slash, so these keys are free.
    const QString kind = item.isShownAsFolder() ? u"/folder"_s : suffixOf(item.name);
    const QString key = item.isSymlink ? u"/link "_s + kind : kind;
    const auto known = cache().constFind(key);
    if (known != cache().constEnd())
        return *known;
    QIcon icon = item.isShownAsFolder() ? Theme::icon(u"folder"_s, Theme::Color::folder) : iconForSuffix(kind);
    if (item.isSymlink)
        icon = asLink(icon);
    cache().insert(key, icon);
    return icon;
}

void FileIcons::forget()
{
    cache().clear();
}

} // namespace moorix
