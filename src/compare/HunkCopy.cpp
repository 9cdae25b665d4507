// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/HunkCopy.h"

namespace moorix {

namespace {

struct Piece
{
    QStringView line;
    bool endsInReturn = false;
};

Piece pieceOf(const DiffText &text, qsizetype line)
{
    return {text.shownLine(line), text.endsInReturn(line)};
}

/// `isAtEnd`: nothing follows the last of them.
QString joined(const std::vector<Piece> &pieces, DiffLineEnds lineEnds, bool isAtEnd)
{
    QString text;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        text += pieces[i].line;
        if (isAtEnd && i + 1 == pieces.size())
            break;
        const bool isReturn =
            lineEnds == DiffLineEnds::crlf || (lineEnds != DiffLineEnds::lf && pieces[i].endsInReturn);
        text += isReturn ? QStringView(u"\r\n") : QStringView(u"\n");
    }
    return text;
}

} // namespace

QString TextChange::appliedTo(const QString &text) const
{
    return QString(text).replace(position, removed.size(), inserted);
}

QString TextChange::takenFrom(const QString &text) const
{
    return QString(text).replace(position, inserted.size(), removed);
}

TextChange hunkCopy(const DiffText &left, const DiffText &right, const DiffLayout::Hunk &hunk, DiffSide to)
{
    const DiffText &source = to == DiffSide::left ? right : left;
    const DiffText &target = to == DiffSide::left ? left : right;
    const qsizetype end = hunk.line(to) + hunk.count(to);
    const bool isAtEnd = end == target.lineCount();
    // At the end of the text the line before gets a line end, or loses it.
    const qsizetype first = hunk.line(to) - (isAtEnd && hunk.line(to) > 0 ? 1 : 0);
    std::vector<Piece> pieces;
    for (qsizetype line = first; line < hunk.line(to); ++line)
        pieces.push_back(pieceOf(target, line));
    const qsizetype from = hunk.line(otherSide(to));
    for (qsizetype line = from; line < from + hunk.count(otherSide(to)); ++line)
        pieces.push_back(pieceOf(source, line));
    const qsizetype start = target.start(first);
    const qsizetype stop = isAtEnd ? target.text().size() : target.start(end);
    return {to, start, target.text().sliced(start, stop - start), joined(pieces, target.lineEnds(), isAtEnd)};
}

} // namespace moorix
