// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffLineEnds.h"

#include <QString>

#include <vector>

namespace moorix {

/// A text as lines. Lines end at "\n", which belongs to none of them, and nowhere else: a text that ends in "\n" has an
/// empty last line, and the empty text is one empty line.
class DiffText final
{
public:
    explicit DiffText(QString text = {});

    const QString &text() const { return m_text; }
    DiffLineEnds lineEnds() const { return m_lineEnds; }
    qsizetype lineCount() const { return qsizetype(m_starts.size()); }
    /// Without its "\n". Valid as long as the text is.
    QStringView line(qsizetype index) const;
    /// Without the "\r" before its "\n" either.
    QStringView shownLine(qsizetype index) const;
    /// Whether it ends in "\r\n".
    bool endsInReturn(qsizetype index) const { return index + 1 < lineCount() && line(index).endsWith(u'\r'); }
    /// Where a line begins in the text.
    qsizetype start(qsizetype index) const { return m_starts.at(std::size_t(index)); }
    /// The line that holds the character at `position`.
    qsizetype lineAt(qsizetype position) const;
    /// How many columns the widest line has; tabs go to each `tabWidth`th. Looks at every line.
    qsizetype columns(int tabWidth) const;

private:
    QString m_text;
    std::vector<qsizetype> m_starts;
    DiffLineEnds m_lineEnds = DiffLineEnds::none;
};

} // namespace moorix
