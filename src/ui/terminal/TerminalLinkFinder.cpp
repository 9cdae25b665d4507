// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalLinkFinder.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace moorix::TerminalLinkFinder {

namespace {

/// Lines above and below that an address may be wrapped over.
constexpr int farthest = 20;

/// The text of wrapped lines, and where each of its characters stands.
struct WrappedText
{
    QString text;
    std::vector<TerminalPoint> points;
};

WrappedText wrappedTextAt(const TerminalEmulator &emulator, TerminalPoint point)
{
    const TerminalRange whole = emulator.lineAt(point);
    const qint64 first = std::max({whole.start.line, point.line - farthest, emulator.firstLine()});
    const qint64 last = std::min(
        {whole.end.column > 0 ? whole.end.line : whole.end.line - 1, point.line + farthest, emulator.endLine() - 1});
    WrappedText result;
    for (qint64 line = first; line <= last; ++line) {
        const std::span<const TerminalCell> span = emulator.line(line);
        const std::vector<TerminalCell> cells(span.begin(), span.end());
        for (std::size_t i = 0; i < cells.size(); ++i) {
            if (cells[i].width == 0)
                continue;
            const QString text = cells[i].character == 0 ? u" "_s : emulator.text(cells[i]);
            result.text += text;
            result.points.insert(result.points.end(), std::size_t(text.size()), TerminalPoint{line, int(i)});
        }
    }
    return result;
}

/// Without what belongs to the sentence around an address.
qsizetype addressLength(QStringView address)
{
    qsizetype length = address.size();
    while (length > 0) {
        const QChar last = address[length - 1];
        const QStringView rest = address.first(length);
        const bool isUnmatched = (last == u')' && rest.count(u')') > rest.count(u'(')) ||
                                 (last == u']' && rest.count(u']') > rest.count(u'['));
        if (!isUnmatched && !u".,;:!?'"_s.contains(last))
            break;
        --length;
    }
    return length;
}

std::optional<TerminalLink> plainAddress(const TerminalEmulator &emulator, TerminalPoint point)
{
    static const QRegularExpression pattern(uR"re(\b(?:(?:https?|ftp|file|ssh|sftp)://|mailto:)[^\s<>"`{}|\\^│┃]+)re"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    const WrappedText wrapped = wrappedTextAt(emulator, point);
    QRegularExpressionMatchIterator matches = pattern.globalMatch(wrapped.text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const qsizetype length = addressLength(match.capturedView());
        if (length == 0)
            continue;
        TerminalPoint end = wrapped.points.at(std::size_t(match.capturedStart() + length - 1));
        ++end.column;
        const TerminalRange range{wrapped.points.at(std::size_t(match.capturedStart())), end};
        if (point >= range.start && point < range.end)
            return TerminalLink{match.captured().first(length), range};
    }
    return std::nullopt;
}

quint16 linkOf(const TerminalEmulator &emulator, TerminalPoint point)
{
    if (point.line < emulator.firstLine() || point.line >= emulator.endLine())
        return 0;
    const std::span<const TerminalCell> cells = emulator.line(point.line);
    return point.column >= 0 && point.column < int(cells.size()) ? cells[std::size_t(point.column)].style.link : 0;
}

/// All that the same link is made of, side by side and over wrapped lines.
TerminalRange linkedRange(const TerminalEmulator &emulator, TerminalPoint point, quint16 link)
{
    const int columns = emulator.size().columns;
    TerminalRange range{point, point};
    for (TerminalPoint next = point; linkOf(emulator, next) == link;) {
        range.start = next;
        next = next.column > 0 ? TerminalPoint{next.line, next.column - 1} : TerminalPoint{next.line - 1, columns - 1};
    }
    for (TerminalPoint next = point; linkOf(emulator, next) == link;) {
        range.end = {next.line, next.column + 1};
        next = next.column + 1 < columns ? TerminalPoint{next.line, next.column + 1} : TerminalPoint{next.line + 1, 0};
    }
    return range;
}

} // namespace

std::optional<TerminalLink> at(const TerminalEmulator &emulator, TerminalPoint point)
{
    if (point.line < emulator.firstLine() || point.line >= emulator.endLine())
        return std::nullopt;
    if (const quint16 link = linkOf(emulator, point)) {
        if (const QString address = emulator.link(link); !address.isEmpty())
            return TerminalLink{address, linkedRange(emulator, point, link)};
    }
    return plainAddress(emulator, point);
}

QString refusal(const QString &address)
{
    static const QStringList opened{u"http"_s, u"https"_s, u"ftp"_s, u"mailto"_s, u"file"_s, u"ssh"_s, u"sftp"_s};
    const QUrl url(address, QUrl::StrictMode);
    if (!url.isValid() || url.scheme().isEmpty())
        return QCoreApplication::translate("TerminalLinkFinder", "Not opened: this is no valid address.");
    if (!opened.contains(url.scheme()))
        return QCoreApplication::translate("TerminalLinkFinder",
                                           "Not opened: addresses of the kind “%1:” may run programs.")
            .arg(url.scheme());
    return {};
}

} // namespace moorix::TerminalLinkFinder
