// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferNames.h"

#include "base/Json.h"
#include "files/FileNames.h"
#include "files/Format.h"
#include "files/LocalDisk.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

std::optional<QString> transferNames::objection(const QString &name, NameSource from)
{
    if (name.isEmpty())
        return u"it has no name"_s;
    if (name == u"." || name == u".." || name.contains(u'/') || name.contains(QChar::Null))
        return u"its name would lead out of the target folder"_s;
    const bool hasControl =
        std::any_of(name.cbegin(), name.cend(), [](QChar c) { return c.category() == QChar::Other_Control; });
    if (from == NameSource::server && hasControl)
        return u"its name holds control characters"_s;
    return std::nullopt;
}

QString transferNames::freeName(const FileItem &item, const std::function<bool(const QString &)> &isTaken)
{
    const bool isFolder = item.isDirectory && !item.isSymlink;
    const qsizetype end = isFolder ? item.name.size() : FileNames::extensionStart(item.name);
    const QString stem = item.name.left(end);
    const QString suffix = item.name.mid(end);
    for (qint64 number = 2;; ++number) {
        const QString candidate = u"%1 %2%3"_s.arg(stem, QString::number(number), suffix);
        if (!isTaken(candidate))
            return candidate;
    }
}

FileItem transferNames::itemAt(const QString &path, FileItem like)
{
    like.path = path;
    like.name = Format::fileName(path);
    return like;
}

QString transferNames::partPath(const QString &target, const QUuid &transfer, const FileItem &source)
{
    const qint64 time = source.modified ? source.modified->toMSecsSinceEpoch() : 0;
    const QString identity = u"%1 %2 %3"_s.arg(QString::number(source.size), QString::number(time), source.path);
    // One half tells the transfer, the other what the source was.
    QUuid id = QUuid::createUuidV5(transfer, identity);
    id.data1 = transfer.data1;
    id.data2 = transfer.data2;
    id.data3 = transfer.data3;
    return LocalDisk::partPath(target, id);
}

QString transferNames::stagePath(const QString &target, const QUuid &transfer, const FileItem &source)
{
    // Without the folder's time, which changes with what is put into it: each file in it is looked at anyway.
    return partPath(target, transfer, itemAt(source.path + u'/'));
}

bool transferNames::isPart(const QString &name, const QUuid &transfer)
{
    constexpr qsizetype halfLength = 18;
    const QString mark = u".moorix-"_s + uuidText(transfer).left(halfLength);
    return name.startsWith(u'.') && name.endsWith(u".part"_s) && name.contains(mark);
}

} // namespace moorix
