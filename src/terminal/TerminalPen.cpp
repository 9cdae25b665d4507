// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalPen.h"

#include <algorithm>
#include <optional>

namespace moorix::TerminalPen {

namespace {

int valueOr(const Parameter &parameter, int fallback)
{
    return parameter.value == Parameter::absent ? fallback : parameter.value;
}

/// 38, 48 and 58 with what follows, in both spellings: 38;5;n, 38;2;r;g;b and 38:5:n, 38:2:r:g:b, 38:2:space:r:g:b.
/// `at` moves to the last number that belongs to it.
std::optional<TerminalColor> extendedColor(std::span<const Parameter> all, std::size_t &at)
{
    const std::size_t first = at + 1;
    if (first >= all.size())
        return std::nullopt;
    const bool joined = all[first].joined;
    std::size_t end = first;
    if (joined) {
        while (end < all.size() && all[end].joined)
            ++end;
    } else {
        const int kind = all[first].value;
        end = std::min(all.size(), first + (kind == 5 ? 2 : kind == 2 ? 4 : 1));
    }
    at = end - 1;
    const std::span<const Parameter> own = all.subspan(first, end - first);
    const auto byte = [&](std::size_t index) { return quint8(std::clamp(valueOr(own[index], 0), 0, 255)); };
    if (own.size() >= 2 && own[0].value == 5)
        return TerminalColor::indexed(byte(1));
    if (own.size() < 4 || own[0].value != 2)
        return std::nullopt;
    const std::size_t red = joined && own.size() >= 5 ? 2 : 1;
    return TerminalColor::rgb(byte(red), byte(red + 1), byte(red + 2));
}

TerminalUnderline underlineOf(int kind)
{
    switch (kind) {
    case 0:
        return TerminalUnderline::none;
    case 2:
        return TerminalUnderline::twofold;
    case 3:
        return TerminalUnderline::curly;
    default:
        return TerminalUnderline::single;
    }
}

void applySimple(TerminalStyle &style, int number)
{
    switch (number) {
    case 0: {
        const TerminalStyle before = style;
        style = {};
        style.link = before.link;
        style.isProtected = before.isProtected;
        break;
    }
    case 1:
        style.bold = true;
        break;
    case 2:
        style.dim = true;
        break;
    case 3:
        style.italic = true;
        break;
    case 5:
    case 6:
        style.blink = true;
        break;
    case 7:
        style.reverse = true;
        break;
    case 8:
        style.hidden = true;
        break;
    case 9:
        style.strike = true;
        break;
    case 21:
        style.underline = TerminalUnderline::twofold;
        break;
    case 22:
        style.bold = style.dim = false;
        break;
    case 23:
        style.italic = false;
        break;
    case 24:
        style.underline = TerminalUnderline::none;
        break;
    case 25:
        style.blink = false;
        break;
    case 27:
        style.reverse = false;
        break;
    case 28:
        style.hidden = false;
        break;
    case 29:
        style.strike = false;
        break;
    case 39:
        style.foreground = {};
        break;
    case 49:
        style.background = {};
        break;
    default:
        if (number >= 30 && number <= 37)
            style.foreground = TerminalColor::indexed(quint8(number - 30));
        else if (number >= 40 && number <= 47)
            style.background = TerminalColor::indexed(quint8(number - 40));
        else if (number >= 90 && number <= 97)
            style.foreground = TerminalColor::indexed(quint8(number - 90 + 8));
        else if (number >= 100 && number <= 107)
            style.background = TerminalColor::indexed(quint8(number - 100 + 8));
    }
}

void describeColor(QByteArray &numbers, TerminalColor color, int base)
{
    if (color.isDefault())
        return;
    numbers += ';';
    if (!color.isIndexed()) {
        const quint32 rgb = color.rgb();
        numbers += QByteArray::number(base + 8) + ";2;" + QByteArray::number(rgb >> 16) + ';' +
                   QByteArray::number(rgb >> 8 & 0xFF) + ';' + QByteArray::number(rgb & 0xFF);
    } else if (color.index() < 8) {
        numbers += QByteArray::number(base + color.index());
    } else if (color.index() < 16) {
        numbers += QByteArray::number(base + 60 + color.index() - 8);
    } else {
        numbers += QByteArray::number(base + 8) + ";5;" + QByteArray::number(color.index());
    }
}

} // namespace

void apply(TerminalStyle &style, std::span<const Parameter> parameters)
{
    for (std::size_t at = 0; at < parameters.size(); ++at) {
        const int number = valueOr(parameters[at], 0);
        if (parameters[at].joined)
            continue;
        if (number == 38 || number == 48 || number == 58) {
            const std::optional<TerminalColor> color = extendedColor(parameters, at);
            if (color && number != 58)
                (number == 38 ? style.foreground : style.background) = *color;
        } else if (number == 4) {
            const bool hasKind = at + 1 < parameters.size() && parameters[at + 1].joined;
            style.underline = hasKind ? underlineOf(valueOr(parameters[at + 1], 1)) : TerminalUnderline::single;
        } else {
            applySimple(style, number);
        }
    }
}

QByteArray describe(const TerminalStyle &style)
{
    QByteArray numbers = "0";
    const auto add = [&](bool set, const char *number) { numbers += set ? number : ""; };
    add(style.bold, ";1");
    add(style.dim, ";2");
    add(style.italic, ";3");
    add(style.underline == TerminalUnderline::single, ";4");
    add(style.underline == TerminalUnderline::twofold, ";21");
    add(style.underline == TerminalUnderline::curly, ";4:3");
    add(style.blink, ";5");
    add(style.reverse, ";7");
    add(style.hidden, ";8");
    add(style.strike, ";9");
    describeColor(numbers, style.foreground, 30);
    describeColor(numbers, style.background, 40);
    return numbers;
}

} // namespace moorix::TerminalPen
