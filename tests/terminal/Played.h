// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

#include <QStringList>

#include <random>

namespace moorix::test {

/// An emulator that has been fed.
inline std::unique_ptr<TerminalEmulator> played(const QByteArray &bytes, TerminalSize size = {4, 10},
                                                qsizetype chunk = 1 << 20)
{
    auto emulator = std::make_unique<TerminalEmulator>(size);
    for (qsizetype at = 0; at < bytes.size(); at += chunk)
        emulator->feed(QByteArrayView(bytes).sliced(at, std::min(chunk, bytes.size() - at)));
    return emulator;
}

/// A line's text with blanks at its end left out; a dot for each column that nothing was written to.
inline QString lineText(const TerminalEmulator &emulator, qint64 number)
{
    QString text;
    for (const TerminalCell &cell : emulator.line(number)) {
        if (cell.width > 0)
            text += cell.character == 0 ? QString(u'.') : emulator.text(cell);
    }
    while (text.endsWith(u'.') || text.endsWith(u' '))
        text.chop(1);
    return text;
}

/// The lines of the screen, without empty ones at the end.
inline QStringList screenText(const TerminalEmulator &emulator)
{
    QStringList lines;
    for (qint64 number = emulator.screenLine(); number < emulator.endLine(); ++number)
        lines << lineText(emulator, number);
    while (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

inline QString allText(const TerminalEmulator &emulator)
{
    QString text = emulator.text(TerminalRange{{emulator.firstLine(), 0}, {emulator.endLine(), 0}});
    while (text.endsWith(u'\n'))
        text.chop(1);
    return text;
}

/// Row and column of the cursor.
inline std::pair<int, int> cursorOf(const TerminalEmulator &emulator)
{
    const TerminalPoint place = emulator.cursor().position;
    return {int(place.line - emulator.screenLine()), place.column};
}

/// The first thing that must never be, or nothing.
inline QString fault(const TerminalEmulator &emulator)
{
    const TerminalSize size = emulator.size();
    const auto [row, column] = cursorOf(emulator);
    if (row < 0 || row >= size.rows || column < 0 || column >= size.columns)
        return QStringLiteral("The cursor is outside.");
    for (qint64 number = emulator.firstLine(); number < emulator.endLine(); ++number) {
        const std::span<const TerminalCell> cells = emulator.line(number);
        if (cells.size() > std::size_t(size.columns))
            return QStringLiteral("A line is longer than the screen is wide.");
        for (std::size_t at = 0; at < cells.size(); ++at) {
            const bool isSecond = at > 0 && cells[at - 1].width == 2;
            if (isSecond != (cells[at].width == 0) || (cells[at].width == 2 && at + 1 == cells.size()))
                return QStringLiteral("Half of a wide character stands alone.");
        }
    }
    return {};
}

/// All that can be seen, to be compared.
inline bool sameContent(const TerminalEmulator &a, const TerminalEmulator &b)
{
    if (a.firstLine() != b.firstLine() || a.endLine() != b.endLine() || cursorOf(a) != cursorOf(b) ||
        a.title() != b.title() || a.showsAlternateScreen() != b.showsAlternateScreen())
        return false;
    for (qint64 number = a.firstLine(); number < a.endLine(); ++number) {
        if (lineText(a, number) != lineText(b, number) || a.wraps(number) != b.wraps(number))
            return false;
        const std::span<const TerminalCell> left = a.line(number);
        const std::span<const TerminalCell> right = b.line(number);
        for (std::size_t at = 0; at < std::max(left.size(), right.size()); ++at) {
            const TerminalCell one = at < left.size() ? left[at] : TerminalCell();
            const TerminalCell other = at < right.size() ? right[at] : TerminalCell();
            if (one.style != other.style || one.width != other.width)
                return false;
        }
    }
    return true;
}

/// Bytes that no program would send, but with a liking for what terminals have trouble with.
inline QByteArray hostileBytes(std::mt19937 &random, int parts)
{
    static const QByteArrayList known{
        "\x1b[",
        "\x1b]",
        "\x1bP",
        "\x1b[?1049h",
        "\x1b[?1049l",
        "\x1b[?6h",
        "\x1b[?7l",
        "\x1b[?7h",
        "\x1b[4h",
        "\x1b[4l",
        "\x1b[2;3r",
        "\x1b[r",
        "\x1b[?69h\x1b[9;4s",
        "\x1b"
        "7",
        "\x1b"
        "8",
        "\x1b"
        "c",
        "\x1b[!p",
        "\x1b[b",
        "\x1b[9b",
        "\x1b[S",
        "\x1b[T",
        "\x1b[L",
        "\x1b[M",
        "\x1b[3@",
        "\x1b[2P",
        "\x1b[J",
        "\x1b[1J",
        "\x1b[2J",
        "\x1b[3J",
        "\x1b[K",
        "\x1b[9X",
        "\x1b[44m",
        "\x1b[m",
        "\x1b(0",
        "\x1b(B",
        "\x0e",
        "\x0f",
        "\x1bM",
        "\x1b"
        "D",
        "\x1b#8",
        "\x1b#3",
        "\x1b#5",
        "\x1b#6",
        "\x1b[?40h\x1b[?3h",
        "\x1b]4;1;#123;2;?\a",
        "\x1b]0;t\a",
        "\x1b]8;;http://a\x1b\\",
        "\x1b]8;;\a",
        "\x1b[99999999999999999999C",
        "\x1b[1;2;3;4;5;6;7;8;9;10;11;12;13;14;15;16;17;18;19;20;21;22;23;24;25;26;27;28;29;30;31;32;33;34m",
        "\r\n",
        "\n",
        "\r",
        "\b",
        "\t",
        "a longer run of text",
        "e\xCC\x81",
        "\xE6\xBC\xA2\xE5\xAD\x97",
        "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB",
        "\xF0\x9F\x91\x8D\xF0\x9F\x8F\xBD",
        "\xC2\x9B"
        "31m",
        "\x9B",
        "\xF4\x90\x80\x80",
        "\x1b[2;5H",
        "\x1b[1;99H",
        "\x1bN",
        "\x1b[?5h",
        "\x1b]133;A\a",
        "\x1b[5'}",
        "\x1b[2'~"};
    QByteArray bytes;
    for (int part = 0; part < parts; ++part) {
        if (random() % 4 > 0) {
            bytes += known[qsizetype(random() % std::size_t(known.size()))];
            continue;
        }
        for (auto left = random() % 6; left > 0; --left)
            bytes += char(random() % 256);
    }
    return bytes;
}

} // namespace moorix::test
