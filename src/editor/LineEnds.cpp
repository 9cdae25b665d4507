// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/LineEnds.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace moorix {

QString nameOf(LineEnd lineEnd)
{
    switch (lineEnd) {
    case LineEnd::lf:
        return u"LF"_s;
    case LineEnd::crlf:
        return u"CRLF"_s;
    case LineEnd::cr:
        return u"CR"_s;
    }
    return {};
}

LineEnds LineEnds::of(QByteArrayView text)
{
    std::array<qsizetype, 3> counts{};
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++counts[std::size_t(LineEnd::lf)];
        } else if (text[i] == '\r') {
            const bool isPair = i + 1 < text.size() && text[i + 1] == '\n';
            ++counts[std::size_t(isPair ? LineEnd::crlf : LineEnd::cr)];
            i += isPair ? 1 : 0;
        }
    }
    const auto most = std::ranges::max_element(counts);
    const auto kinds = std::ranges::count_if(counts, [](qsizetype count) { return count > 0; });
    return {LineEnd(most - counts.begin()), kinds > 1};
}

QByteArray withLineEnds(QByteArrayView text, LineEnd lineEnd)
{
    const QByteArrayView end = lineEnd == LineEnd::crlf ? "\r\n" : lineEnd == LineEnd::cr ? "\r" : "\n";
    QByteArray converted;
    converted.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isReturn = text[i] == '\r';
        if (!isReturn && text[i] != '\n') {
            converted += text[i];
            continue;
        }
        converted += end;
        i += isReturn && i + 1 < text.size() && text[i + 1] == '\n' ? 1 : 0;
    }
    return converted;
}

qsizetype longestLine(QByteArrayView text)
{
    qsizetype longest = 0;
    const auto isEnd = [](char c) { return c == '\n' || c == '\r'; };
    for (auto begin = text.begin(); begin != text.end();) {
        const auto end = std::find_if(begin, text.end(), isEnd);
        longest = std::max<qsizetype>(longest, end - begin);
        begin = end == text.end() ? end : end + 1;
    }
    return longest;
}

Indentation Indentation::of(QByteArrayView text)
{
    constexpr int enough = 400;
    int tabs = 0;
    int spaces = 0;
    qsizetype before = 0;
    // How often the indentation grew by so many spaces: what a step is.
    std::array<int, 9> steps{};
    for (qsizetype at = 0; at < text.size() && tabs + spaces < enough;) {
        const qsizetype newline = std::max(text.indexOf('\n', at), qsizetype(-1));
        const qsizetype end = newline < 0 ? text.size() : newline;
        qsizetype first = at;
        while (first < end && text[first] == ' ')
            ++first;
        const bool isBlank = first == end || text[first] == '\r';
        if (!isBlank && text[at] == '\t') {
            ++tabs;
        } else if (!isBlank) {
            const qsizetype width = first - at;
            spaces += width > 1 ? 1 : 0;
            if (width > before + 1 && width - before < qsizetype(steps.size()))
                ++steps.at(std::size_t(width - before));
            before = width;
        }
        at = end + 1;
    }
    if (tabs > spaces)
        return {true, 4};
    const auto most = std::ranges::max_element(steps);
    return {false, *most > 0 ? int(most - steps.begin()) : 4};
}

} // namespace moorix
