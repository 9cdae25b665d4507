// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalSearch.h"

#include "terminal/TerminalText.h"
#include "terminal/TerminalUtf8.h"

#include <QStringMatcher>

namespace moorix::TerminalSearch {

namespace {

constexpr qint64 mostLines = 10'000;

/// Lines that are one text.
struct Section
{
    qint64 start;
    qint64 end;
};

qint64 sectionEnd(const TerminalLines &lines, qint64 start)
{
    qint64 end = start;
    while (end - start < mostLines) {
        const qint64 last = end < lines.screen() ? lines.grid().history().textEnd(end) - 1 : end;
        end = last + 1;
        if (end >= lines.end() || !lines.wraps(last))
            break;
    }
    return end;
}

Section sectionAround(const TerminalLines &lines, qint64 number)
{
    const qint64 start = std::max(lines.paragraphStart(number), number - mostLines);
    return {start, std::max(number + 1, sectionEnd(lines, start))};
}

class Finder final
{
public:
    Finder(const TerminalLines &lines, const QString &needle, Qt::CaseSensitivity sensitivity)
        : m_lines(lines)
        , m_matcher(needle, sensitivity)
    {
    }

    /// All places in a section, in order.
    std::vector<TerminalRange> in(Section section)
    {
        std::vector<TerminalRange> found;
        if (!mayContain(section))
            return found;
        const TerminalText::Placed placed = TerminalText::placed(m_lines, section.start, section.end);
        const qsizetype length = m_matcher.pattern().size();
        for (qsizetype at = m_matcher.indexIn(placed.text); at >= 0; at = m_matcher.indexIn(placed.text, at + length))
            found.push_back({placed.places[std::size_t(at)], placed.endOf(m_lines, at + length - 1)});
        return found;
    }

private:
    /// Looks at the packed text only, which is most of the work where nothing is found.
    bool mayContain(Section section)
    {
        if (section.end > m_lines.screen())
            return true;
        m_text.clear();
        for (qint64 number = section.start; number < section.end; number = m_lines.grid().history().textEnd(number))
            appendStored(m_lines.grid().history().storedText(number));
        return m_matcher.indexIn(m_text) >= 0;
    }

    void appendStored(std::string_view stored)
    {
        // No character has more units than bytes, but for clusters.
        qsizetype size = m_text.size();
        m_text.resize(size + qsizetype(stored.size()));
        char16_t *to = reinterpret_cast<char16_t *>(m_text.data()) + size;
        const char *at = stored.data();
        const char *const end = at + stored.size();
        while (at < end) {
            const char32_t character = TerminalUtf8::next(at);
            if (character < 0x10000) {
                *to++ = character == 0 ? u' ' : char16_t(character);
            } else if (character < TerminalCell::clusterBase) {
                *to++ = QChar::highSurrogate(character);
                *to++ = QChar::lowSurrogate(character);
            } else {
                size = to - reinterpret_cast<const char16_t *>(m_text.constData());
                m_text.truncate(size);
                m_text += m_lines.grid().clusters().text(character);
                size = m_text.size();
                m_text.resize(size + (end - at));
                to = reinterpret_cast<char16_t *>(m_text.data()) + size;
            }
        }
        m_text.truncate(to - reinterpret_cast<const char16_t *>(m_text.constData()));
    }

    const TerminalLines &m_lines;
    QStringMatcher m_matcher;
    QString m_text;
};

} // namespace

std::optional<TerminalRange> backward(const TerminalLines &lines, const QString &needle, TerminalPoint from,
                                      Qt::CaseSensitivity sensitivity)
{
    if (needle.isEmpty() || from <= TerminalPoint{lines.first(), 0})
        return std::nullopt;
    Finder finder(lines, needle, sensitivity);
    Section section = sectionAround(lines, std::min(from.line, lines.end() - 1));
    while (true) {
        const std::vector<TerminalRange> found = finder.in(section);
        for (auto range = found.rbegin(); range != found.rend(); ++range) {
            if (range->start < from)
                return *range;
        }
        if (section.start <= lines.first())
            return std::nullopt;
        section = {std::max(lines.paragraphStart(section.start - 1), section.start - mostLines), section.start};
    }
}

std::optional<TerminalRange> forward(const TerminalLines &lines, const QString &needle, TerminalPoint from,
                                     Qt::CaseSensitivity sensitivity)
{
    if (needle.isEmpty() || from.line >= lines.end())
        return std::nullopt;
    Finder finder(lines, needle, sensitivity);
    Section section = sectionAround(lines, std::max(from.line, lines.first()));
    while (true) {
        for (const TerminalRange &range : finder.in(section)) {
            if (range.start >= from)
                return range;
        }
        if (section.end >= lines.end())
            return std::nullopt;
        section = {section.end, sectionEnd(lines, section.end)};
    }
}

std::vector<TerminalRange> all(const TerminalLines &lines, const QString &needle, qint64 firstLine, qint64 endLine,
                               Qt::CaseSensitivity sensitivity)
{
    std::vector<TerminalRange> all;
    firstLine = std::max(firstLine, lines.first());
    endLine = std::min(endLine, lines.end());
    if (needle.isEmpty() || firstLine >= endLine)
        return all;
    Finder finder(lines, needle, sensitivity);
    for (Section section = sectionAround(lines, firstLine); true;
         section = {section.end, sectionEnd(lines, section.end)}) {
        for (const TerminalRange &range : finder.in(section)) {
            if (range.end.line >= firstLine && range.start.line < endLine)
                all.push_back(range);
        }
        if (section.end >= endLine)
            return all;
    }
}

} // namespace moorix::TerminalSearch
