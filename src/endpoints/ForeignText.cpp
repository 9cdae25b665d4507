// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/ForeignText.h"

#include <utility>

namespace moorix::foreignText {

namespace {

QString filtered(const QString &text, const auto &isKept)
{
    QList<uint> characters = text.toUcs4();
    characters.removeIf([&isKept](uint character) { return !isKept(character); });
    QString kept;
    for (const uint character : std::as_const(characters))
        kept += QChar::fromUcs4(character);
    return kept;
}

} // namespace

QString printable(const QString &text)
{
    return filtered(text, [](uint character) { return QChar::isPrint(character); });
}

QString line(const QString &text)
{
    return printable(text.simplified());
}

QString lines(const QString &text, qsizetype mostCharacters)
{
    const QString begin = filtered(text.left(mostCharacters), [](uint character) {
        return character == u'\n' || character == u'\t' || QChar::isPrint(character);
    });
    return text.size() > mostCharacters ? begin + u'…' : begin;
}

} // namespace moorix::foreignText
