// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/ModifiedText.h"

#include "files/FileItem.h"
#include "files/Format.h"

#include <QLocale>

namespace moorix {

namespace {

/// A listing that names no time of day gives midnight.
bool isDayOnly(const FileItem &item, bool isLocal)
{
    return !isLocal && item.modified && item.modified->toLocalTime().time() == QTime(0, 0);
}

} // namespace

QString ModifiedText::brief(const FileItem &item, bool isLocal)
{
    return isDayOnly(item, isLocal) ? Format::day(*item.modified) : Format::date(item.modified);
}

QString ModifiedText::full(const FileItem &item, bool isLocal)
{
    if (!item.modified)
        return brief(item, isLocal);
    const QDateTime local = item.modified->toLocalTime();
    const QLocale locale;
    if (isLocal)
        return locale.toString(local, QLocale::LongFormat);
    const QString day = locale.toString(local.date(), QLocale::LongFormat);
    return isDayOnly(item, isLocal) ? day : day + u' ' + locale.toString(local, QStringLiteral("HH:mm"));
}

} // namespace moorix
