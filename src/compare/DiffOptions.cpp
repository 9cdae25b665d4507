// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffOptions.h"

namespace moorix {

namespace {

bool isBlank(QChar character)
{
    return character != u'\n' && character.isSpace();
}

QString withoutSpace(const QString &text, DiffOptions::Space space)
{
    QString kept;
    kept.reserve(text.size());
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype start = at;
        while (at < text.size() && isBlank(text.at(at)))
            ++at;
        const bool isAtEnd = at == text.size() || text.at(at) == u'\n';
        if (at > start && !isAtEnd && space == DiffOptions::Space::amountIgnored)
            kept += u' ';
        else if (at > start && !isAtEnd && space == DiffOptions::Space::ignoredAtEnds)
            kept += QStringView(text).sliced(start, at - start);
        if (at < text.size())
            kept += text.at(at++);
    }
    return kept;
}

} // namespace

QString DiffOptions::compared(const QString &text) const
{
    const QString kept = space == Space::compared ? text : withoutSpace(text, space);
    return ignoresCase ? kept.toCaseFolded() : kept;
}

} // namespace moorix
