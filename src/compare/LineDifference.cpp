// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/LineDifference.h"

#include "compare/CommonSequence.h"

#include <algorithm>

namespace moorix {

namespace {

using Words = std::vector<QStringView>;

/// Words, stretches of blanks, and single other characters.
Words wordsOf(QStringView line)
{
    const auto kind = [](QChar c) {
        return c.isSpace() ? 1 : c.isLetterOrNumber() || c == u'_' || c.isSurrogate() ? 2 : 0;
    };
    Words words;
    for (qsizetype start = 0; start < line.size();) {
        qsizetype end = start + 1;
        while (end < line.size() && kind(line.at(start)) != 0 && kind(line.at(end)) == kind(line.at(start)))
            ++end;
        words.push_back(line.sliced(start, end - start));
        start = end;
    }
    return words;
}

/// What of the words is compared. Blanks stay words of their own, since they are stretches of the line.
std::vector<QString> comparedWords(const Words &words, const DiffOptions &options)
{
    std::vector<QString> compared;
    compared.reserve(words.size());
    for (const QStringView word : words) {
        const bool isIgnored = options.space >= DiffOptions::Space::amountIgnored && word.trimmed().isEmpty();
        const QString text = isIgnored ? QStringLiteral(" ") : word.toString();
        compared.push_back(options.ignoresCase ? text.toCaseFolded() : text);
    }
    return compared;
}

/// All words but the common ones, as stretches of the line.
QList<LineDifference::Stretch> others(const Words &words, const std::vector<bool> &isCommon)
{
    QList<LineDifference::Stretch> stretches;
    qsizetype position = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!isCommon[i] && !stretches.isEmpty() && stretches.last().start + stretches.last().length == position)
            stretches.last().length += words[i].size();
        else if (!isCommon[i])
            stretches.append({position, words[i].size()});
        position += words[i].size();
    }
    return stretches;
}

/// A blank between two words that differ belongs to them.
void closeGaps(const Words &words, std::vector<bool> &isCommon)
{
    for (std::size_t i = 1; i + 1 < words.size(); ++i) {
        if (isCommon[i] && !isCommon[i - 1] && !isCommon[i + 1] && words[i].trimmed().isEmpty())
            isCommon[i] = false;
    }
}

/// Of very long lines, all but their common beginning and end.
LineDifference byEnds(QStringView left, QStringView right)
{
    const qsizetype shorter = std::min(left.size(), right.size());
    qsizetype start = 0;
    while (start < shorter && left.at(start) == right.at(start))
        ++start;
    qsizetype end = 0;
    while (end < shorter - start && left.at(left.size() - 1 - end) == right.at(right.size() - 1 - end))
        ++end;
    LineDifference difference;
    if (left.size() - start - end > 0)
        difference.left.append({start, left.size() - start - end});
    if (right.size() - start - end > 0)
        difference.right.append({start, right.size() - start - end});
    return difference;
}

} // namespace

LineDifference LineDifference::of(QStringView left, QStringView right, const DiffOptions &options)
{
    constexpr std::size_t maxPairs = 100'000;
    constexpr qsizetype maxWordedCharacters = 20'000;
    if (left.size() > maxWordedCharacters || right.size() > maxWordedCharacters)
        return byEnds(left, right);
    const Words leftWords = wordsOf(left);
    const Words rightWords = wordsOf(right);
    if (leftWords.size() * rightWords.size() > maxPairs)
        return byEnds(left, right);
    const std::vector<QString> leftKeys = comparedWords(leftWords, options);
    const std::vector<QString> rightKeys = comparedWords(rightWords, options);
    const auto [one, other] =
        commonSequence::numbered({leftKeys.begin(), leftKeys.end()}, {rightKeys.begin(), rightKeys.end()});
    std::vector<bool> leftCommon(leftWords.size());
    std::vector<bool> rightCommon(rightWords.size());
    qsizetype shared = 0;
    for (const auto &[leftPlace, rightPlace] : commonSequence::longest(one, other)) {
        leftCommon[std::size_t(leftPlace)] = true;
        rightCommon[std::size_t(rightPlace)] = true;
        shared += leftWords[std::size_t(leftPlace)].trimmed().size();
    }
    const qsizetype shorter = std::min(left.trimmed().size(), right.trimmed().size());
    if (shared * 3 < shorter)
        return {};
    closeGaps(leftWords, leftCommon);
    closeGaps(rightWords, rightCommon);
    return {others(leftWords, leftCommon), others(rightWords, rightCommon)};
}

} // namespace moorix
