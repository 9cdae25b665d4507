// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalColorTable.h"

#include <QList>

#include <algorithm>

namespace moorix {

namespace {

/// The six steps of a channel in the colour cube of 216.
quint32 cubeStep(int step)
{
    return step == 0 ? 0 : quint32(55 + 40 * step);
}

/// One to four hexadecimal digits, as a share of what so many can say.
std::optional<quint32> channel(QByteArrayView digits)
{
    if (digits.isEmpty() || digits.size() > 4)
        return std::nullopt;
    quint32 value = 0;
    for (const char c : digits) {
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (digit < 0)
            return std::nullopt;
        value = value * 16 + quint32(digit);
    }
    const quint32 largest = (1U << (4 * quint32(digits.size()))) - 1;
    return (value * 255 + largest / 2) / largest;
}

} // namespace

TerminalColorTable::Colors TerminalColorTable::plain()
{
    constexpr int cubeStart = 16;
    constexpr int greyStart = 232;
    Colors colors{};
    for (int i = cubeStart; i < greyStart; ++i) {
        const int place = i - cubeStart;
        colors.at(std::size_t(i)) = cubeStep(place / 36) << 16 | cubeStep(place / 6 % 6) << 8 | cubeStep(place % 6);
    }
    for (int i = greyStart; i < foreground; ++i)
        colors.at(std::size_t(i)) = quint32(8 + 10 * (i - greyStart)) * 0x010101;
    return colors;
}

std::optional<quint32> TerminalColorTable::parse(QByteArrayView text)
{
    QList<QByteArrayView> parts;
    if (text.startsWith("rgb:")) {
        QByteArrayView rest = text.sliced(4);
        for (qsizetype split = rest.indexOf('/'); split >= 0 && parts.size() < 3; split = rest.indexOf('/')) {
            parts << rest.first(split);
            rest = rest.sliced(split + 1);
        }
        parts << rest;
    } else if (text.startsWith('#') && text.size() > 1 && text.size() % 3 == 1) {
        const qsizetype digits = text.size() / 3;
        parts = {text.sliced(1, digits), text.sliced(1 + digits, digits), text.sliced(1 + 2 * digits)};
    }
    if (parts.size() != 3)
        return std::nullopt;
    const std::optional<quint32> red = channel(parts[0]);
    const std::optional<quint32> green = channel(parts[1]);
    const std::optional<quint32> blue = channel(parts[2]);
    if (!red || !green || !blue)
        return std::nullopt;
    return *red << 16 | *green << 8 | *blue;
}

QByteArray TerminalColorTable::describe(quint32 color)
{
    QByteArray text = "rgb:";
    for (const quint32 shift : {16U, 8U, 0U}) {
        const QByteArray digits = QByteArray::number(color >> shift & 0xFF, 16).rightJustified(2, '0');
        text += digits + digits + (shift > 0 ? "/" : "");
    }
    return text;
}

} // namespace moorix
