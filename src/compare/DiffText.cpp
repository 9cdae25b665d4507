// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffText.h"

#include <algorithm>

namespace moorix {

DiffText::DiffText(QString text)
    : m_text(std::move(text))
    , m_starts{0}
{
    for (qsizetype end = m_text.indexOf(u'\n'); end >= 0; end = m_text.indexOf(u'\n', end + 1))
        m_starts.push_back(end + 1);
}

QStringView DiffText::line(qsizetype index) const
{
    const qsizetype end = index + 1 < lineCount() ? start(index + 1) - 1 : m_text.size();
    return QStringView(m_text).sliced(start(index), end - start(index));
}

qsizetype DiffText::lineAt(qsizetype position) const
{
    return std::ranges::upper_bound(m_starts, position) - m_starts.begin() - 1;
}

qsizetype DiffText::columns(int tabWidth) const
{
    qsizetype widest = 0;
    qsizetype column = 0;
    for (const QChar character : m_text) {
        if (character == u'\n')
            column = 0;
        else
            column += character == u'\t' ? tabWidth - column % tabWidth : 1;
        widest = std::max(widest, column);
    }
    return widest;
}

} // namespace moorix
