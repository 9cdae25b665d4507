// SPDX-License-Identifier: GPL-3.0-or-later
#include "TerminalPayloads.h"

#include <QString>

#include <random>
#include <string>

namespace moorix {

namespace {

/// Numbers that are the same everywhere, which the distributions of the standard library are not.
class Dice final
{
public:
    int roll(int from, int to) { return from + int(m_random() % unsigned(to - from + 1)); }
    template <class List>
    const auto &pick(const List &list)
    {
        return list[std::size_t(roll(0, int(std::size(list)) - 1))];
    }

private:
    std::mt19937 m_random{7};
};

QByteArray asciiLine(Dice &dice)
{
    static const char *const words[] = {"the",   "quick", "brown", "fox",     "jumps", "over", "lazy",
                                        "while", "files", "are",   "servers", "copy",  "two",  "panes"};
    QByteArray line;
    while (line.size() < 115)
        line += QByteArray(dice.pick(words)) + ' ';
    return line.first(dice.roll(60, 115));
}

QByteArray unicodeLine(Dice &dice)
{
    static const std::u16string letters = u"äöüßéèêαβγδЖЗИК漢字仮名한국어…—“”✓÷≤≥      abcdefgh";
    QString line;
    for (int left = dice.roll(30, 70); left > 0; --left)
        line += dice.roll(0, 20) == 0 ? QStringLiteral("🚀") : QString(QChar(dice.pick(letters)));
    return line.toUtf8();
}

QByteArray colour(Dice &dice)
{
    const auto number = [&](int from, int to) { return QByteArray::number(dice.roll(from, to)); };
    switch (dice.roll(0, 3)) {
    case 0:
        return number(30, 37) + ";1";
    case 1:
        return "38;5;" + number(0, 255);
    case 2:
        return "38;2;" + number(0, 255) + ';' + number(0, 255) + ';' + number(0, 255) + ";48;5;" + number(16, 255);
    default:
        return "0;4";
    }
}

QByteArray colourfulLine(Dice &dice)
{
    QByteArray line;
    for (int run = 0; run < 20; ++run) {
        line += "\x1b[" + colour(dice) + 'm';
        for (int left = dice.roll(1, 6); left > 0; --left)
            line += dice.pick("abcdefghij");
    }
    line.replace('\0', ' ');
    return line + "\x1b[0m";
}

QByteArray shortLine(Dice &dice)
{
    static const char *const answers[] = {"y", "n", "ok", "12", ""};
    return dice.pick(answers);
}

} // namespace

QByteArray TerminalPayloads::make(Kind kind)
{
    static constexpr QByteArray (*makers[])(Dice &){asciiLine, unicodeLine, colourfulLine, shortLine};
    Dice dice;
    QByteArray all;
    all.reserve(bytes + 1000);
    while (all.size() < bytes)
        all += makers[int(kind)](dice) + "\r\n";
    return all;
}

QByteArray TerminalPayloads::fullScrollback()
{
    Dice dice;
    QByteArray all;
    for (int line = 0; line < 100'000; ++line) {
        QByteArray text = asciiLine(dice) + "     ";
        for (int run = 4; run > 0; --run)
            text.insert(run * 12, "\x1b[" + colour(dice) + 'm');
        all += text + "\x1b[0m\r\n";
    }
    return all;
}

} // namespace moorix
