// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffText.h"

#include <algorithm>

namespace moorix {

DiffText::DiffText(QString text)
    : m_text(std::move(text))
    , m_starts{0}
{
    qsizetype returns = 0;
    for (qsizetype end = m_text.indexOf(u'\n'); end >= 0; end = m_text.indexOf(u'\n', end + 1)) {
        m_starts.push_back(end + 1);
        returns += end > 0 && m_text.at(end - 1) == u'\r' ? 1 : 0;
    }
    if (lineCount() > 1)
        m_lineEnds = returns == 0                 ? DiffLineEnds::lf
                     : returns == lineCount() - 1 ? DiffLineEnds::crlf
                                                  : DiffLineEnds::mixed;
}

QStringView DiffText::line(qsizetype index) const
{
    const qsizetype end = index + 1 < lineCount() ? start(index + 1) - 1 : m_text.size();
    return QStringView(m_text).sliced(start(index), end - start(index));
}

QStringView DiffText::shownLine(qsizetype index) const
{
    return line(index).chopped(endsInReturn(index) ? 1 : 0);
}

qsizetype DiffText::lineAt(qsizetype position) const
{
    return std::ranges::upper_bound(m_starts, position) - m_starts.begin() - 1;
}

qsizetype DiffText::columns(int tabWidth) const
{
    qsizetype widest = 0;
    const bool hasTabs = m_text.contains(u'\t');
    for (qsizetype index = 0; index < lineCount(); ++index) {
        const QStringView text = line(index);
        qsizetype column = 0;
        qsizetype from = 0;
        for (qsizetype tab = hasTabs ? text.indexOf(u'\t') : -1; tab >= 0; tab = text.indexOf(u'\t', from)) {
            column += tab - from;
            column += tabWidth - column % tabWidth;
            from = tab + 1;
        }
        widest = std::max(widest, column + text.size() - from);
    }
    return widest;
}

} // namespace moorix
