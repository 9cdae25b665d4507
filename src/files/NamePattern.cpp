// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/NamePattern.h"

#include <algorithm>
#include <optional>

namespace moorix::NamePattern {

namespace {

/// Names that are no UTF-8 have halves of pairs in them, which are characters of their own.
char32_t takeCharacter(QStringView text, qsizetype &at)
{
    const QChar first = text.at(at++);
    if (!first.isHighSurrogate() || at == text.size() || !text.at(at).isLowSurrogate())
        return first.unicode();
    return QChar::surrogateToUcs4(first, text.at(at++));
}

/// Behind the bracket that closes the one at `open`; nothing where none does.
std::optional<qsizetype> endOfBracket(QStringView pattern, qsizetype open)
{
    qsizetype at = open + 1;
    if (at < pattern.size() && (pattern.at(at) == u'!' || pattern.at(at) == u'^'))
        ++at;
    // One that comes first is a member.
    const qsizetype close = pattern.indexOf(u']', at + 1);
    return close < 0 ? std::nullopt : std::optional(close + 1);
}

bool isInBracket(QStringView bracket, char32_t character)
{
    qsizetype at = 1;
    const bool isNegated = bracket.at(at) == u'!' || bracket.at(at) == u'^';
    if (isNegated)
        ++at;
    bool isMember = false;
    while (at < bracket.size() - 1) {
        const char32_t first = takeCharacter(bracket, at);
        char32_t last = first;
        if (at + 1 < bracket.size() - 1 && bracket.at(at) == u'-')
            last = takeCharacter(bracket, ++at);
        isMember = isMember || (first <= character && character <= last);
    }
    return isMember != isNegated;
}

/// Takes one character of the name by what stands at `at`, which is no star; `at` then stands behind it.
bool takes(QStringView pattern, qsizetype &at, char32_t character)
{
    if (pattern.at(at) == u'?') {
        ++at;
        return true;
    }
    if (pattern.at(at) == u'[') {
        if (const auto end = endOfBracket(pattern, at)) {
            const QStringView bracket = pattern.sliced(at, *end - at);
            at = *end;
            return isInBracket(bracket, character);
        }
    }
    if (pattern.at(at) == u'\\' && at + 1 < pattern.size())
        ++at;
    return takeCharacter(pattern, at) == character;
}

} // namespace

bool isPattern(QStringView text)
{
    return std::ranges::any_of(text, [](QChar each) { return each == u'*' || each == u'?' || each == u'['; });
}

bool matches(QStringView pattern, QStringView name)
{
    if (name.startsWith(u'.') && !pattern.startsWith(u'.'))
        return false;
    qsizetype at = 0;
    qsizetype place = 0;
    // Where the last star stands, and how much of the name it takes so far.
    qsizetype star = -1;
    qsizetype taken = 0;
    while (place < name.size()) {
        if (at < pattern.size() && pattern.at(at) == u'*') {
            star = at++;
            taken = place;
            continue;
        }
        qsizetype behind = place;
        const char32_t character = takeCharacter(name, behind);
        if (at < pattern.size() && takes(pattern, at, character)) {
            place = behind;
            continue;
        }
        if (star < 0)
            return false;
        takeCharacter(name, taken);
        place = taken;
        at = star + 1;
    }
    return std::ranges::all_of(pattern.sliced(at), [](QChar each) { return each == u'*'; });
}

} // namespace moorix::NamePattern
