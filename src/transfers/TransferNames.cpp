// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferNames.h"

#include "files/FileNames.h"

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

} // namespace moorix
