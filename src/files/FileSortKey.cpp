// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/FileSortKey.h"

namespace moorix {

QString rawText(FileSortKey key)
{
    switch (key) {
    case FileSortKey::name:
        return QStringLiteral("name");
    case FileSortKey::size:
        return QStringLiteral("size");
    case FileSortKey::date:
        return QStringLiteral("date");
    case FileSortKey::kind:
        return QStringLiteral("kind");
    }
    return QString();
}

std::optional<FileSortKey> fileSortKeyFromRaw(const QString &text)
{
    for (const FileSortKey key : allFileSortKeys) {
        if (text.compare(rawText(key), Qt::CaseInsensitive) == 0)
            return key;
    }
    return std::nullopt;
}

} // namespace moorix
