// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FileFacts.h"

#include "files/FileItem.h"
#include "files/Format.h"

#include <QCoreApplication>
#include <QLocale>

namespace moorix {

namespace {

/// A listing that names no time of day gives midnight.
bool isDayOnly(const FileItem &item, bool isLocal)
{
    return !isLocal && item.modified && item.modified->toLocalTime().time() == QTime(0, 0);
}

} // namespace

QString FileFacts::modified(const FileItem &item, bool isLocal)
{
    return isDayOnly(item, isLocal) ? Format::day(*item.modified) : Format::date(item.modified);
}

QString FileFacts::modifiedInFull(const FileItem &item, bool isLocal)
{
    if (!item.modified)
        return modified(item, isLocal);
    const QDateTime local = item.modified->toLocalTime();
    const QLocale locale;
    if (isLocal)
        return locale.toString(local, QLocale::LongFormat);
    const QString day = locale.toString(local.date(), QLocale::LongFormat);
    return isDayOnly(item, isLocal) ? day : day + u' ' + locale.toString(local, QStringLiteral("HH:mm"));
}

QString FileFacts::exactSize(qint64 bytes)
{
    const QString text = Format::byteCount(bytes);
    return bytes < 1000 ? text : QCoreApplication::translate("FileFacts", "%1 (%L2 bytes)").arg(text).arg(bytes);
}

} // namespace moorix
