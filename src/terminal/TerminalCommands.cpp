// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalCommands.h"

#include "terminal/TerminalColorTable.h"

#include <QByteArray>
#include <QUrl>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace moorix::TerminalCommands {

namespace {

constexpr qsizetype longestTitle = 256;
constexpr qsizetype longestAddress = 2083;
/// More than the whole palette takes.
constexpr qsizetype longestColors = 16 * 1024;

bool isControl(QChar c)
{
    return c < u' ' || (c >= QChar(0x7F) && c < QChar(0xA0));
}

Title title(QByteArrayView text)
{
    QString clean = QString::fromUtf8(text.first(std::min<qsizetype>(text.size(), 4 * longestTitle)));
    clean.removeIf(isControl);
    clean.truncate(longestTitle);
    return {clean};
}

std::optional<Command> workingFolder(QByteArrayView text)
{
    const QUrl url(QString::fromUtf8(text), QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != "file"_L1 || !url.path().startsWith(u'/'))
        return std::nullopt;
    return WorkingFolder{url.host(), url.path(QUrl::FullyDecoded)};
}

/// "parameters;address".
std::optional<Command> link(QByteArrayView text)
{
    const qsizetype split = text.indexOf(';');
    if (split < 0 || text.size() > longestAddress)
        return std::nullopt;
    const QString address = QString::fromUtf8(text.sliced(split + 1));
    if (std::any_of(address.begin(), address.end(), isControl))
        return std::nullopt;
    return Link{address};
}

/// "selection;base64"; a question mark asks for the content.
std::optional<Command> clipboard(QByteArrayView text)
{
    const qsizetype split = text.indexOf(';');
    if (split < 0 || split + 1 == text.size())
        return std::nullopt;
    const QByteArray encoded = text.sliced(split + 1).toByteArray();
    const auto decoded = QByteArray::fromBase64Encoding(encoded, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return ClipboardText{QString::fromUtf8(decoded.decoded)};
}

std::vector<QByteArrayView> fields(QByteArrayView text)
{
    std::vector<QByteArrayView> found;
    for (qsizetype split = text.indexOf(';'); split >= 0; split = text.indexOf(';')) {
        found.push_back(text.first(split));
        text = text.sliced(split + 1);
    }
    found.push_back(text);
    return found;
}

void askOrChoose(Colors &colors, int place, QByteArrayView what)
{
    using Kind = ColorChange::Kind;
    if (what == "?")
        colors.changes.push_back({Kind::ask, place, 0});
    else if (const std::optional<quint32> color = TerminalColorTable::parse(what))
        colors.changes.push_back({Kind::choose, place, *color});
}

/// A place of the palette, or -1.
int paletteIndex(QByteArrayView text)
{
    bool isNumber = false;
    const int place = text.toInt(&isNumber);
    return isNumber && place >= 0 && place < TerminalColorTable::foreground ? place : -1;
}

/// "place;colour", any number of times.
Colors paletteColors(QByteArrayView text)
{
    const std::vector<QByteArrayView> parts = fields(text);
    Colors colors;
    for (std::size_t at = 0; at + 1 < parts.size(); at += 2) {
        if (const int place = paletteIndex(parts[at]); place >= 0)
            askOrChoose(colors, place, parts[at + 1]);
    }
    return colors;
}

/// A colour for `place`, and perhaps more for those behind it.
Colors namedColors(int place, QByteArrayView text)
{
    Colors colors;
    for (const QByteArrayView part : fields(text)) {
        if (place < TerminalColorTable::places)
            askOrChoose(colors, place++, part);
    }
    return colors;
}

/// All of the palette unless some are named.
Colors forgottenColors(QByteArrayView text)
{
    Colors colors;
    const auto forget = [&](int place) { colors.changes.push_back({ColorChange::Kind::forget, place, 0}); };
    if (!text.isEmpty()) {
        for (const QByteArrayView part : fields(text)) {
            if (const int place = paletteIndex(part); place >= 0)
                forget(place);
        }
        return colors;
    }
    for (int place = 0; place < TerminalColorTable::foreground; ++place)
        forget(place);
    return colors;
}

std::optional<Command> colors(QByteArrayView number, QByteArrayView rest)
{
    constexpr std::array<QByteArrayView, 3> named{"10", "11", "12"};
    constexpr std::array<QByteArrayView, 3> forgotten{"110", "111", "112"};
    const auto indexOf = [&](const std::array<QByteArrayView, 3> &numbers) {
        return int(std::find(numbers.begin(), numbers.end(), number) - numbers.begin());
    };
    if (rest.size() > longestColors)
        return std::nullopt;
    if (number == "4")
        return paletteColors(rest);
    if (number == "104")
        return forgottenColors(rest);
    if (const int at = indexOf(named); at < 3)
        return namedColors(TerminalColorTable::foreground + at, rest);
    if (const int at = indexOf(forgotten); at < 3)
        return Colors{{{ColorChange::Kind::forget, TerminalColorTable::foreground + at, 0}}};
    return std::nullopt;
}

} // namespace

std::optional<Command> parse(QByteArrayView text)
{
    const qsizetype split = text.indexOf(';');
    const QByteArrayView number = text.first(split < 0 ? text.size() : split);
    const QByteArrayView rest = text.sliced(split < 0 ? text.size() : split + 1);
    if (std::optional<Command> command = colors(number, rest))
        return command;
    if (split < 0)
        return std::nullopt;
    if (number == "0" || number == "2")
        return title(rest);
    if (number == "7")
        return workingFolder(rest);
    if (number == "8")
        return link(rest);
    if (number == "52")
        return clipboard(rest);
    if (number == "133" && (rest == "A" || rest.startsWith("A;")))
        return PromptStart{};
    return std::nullopt;
}

} // namespace moorix::TerminalCommands
