// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/TextSearch.h"

#include "base/Error.h"
#include "files/TextEncoding.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

QRegularExpression expressionOf(const TextSearch::Query &query)
{
    QString pattern = query.isPattern ? query.needle : QRegularExpression::escape(query.needle);
    // Unlike \b, this also holds for a needle that begins with a sign.
    if (query.wholeWords)
        pattern = u"(?<!\\w)(?:%1)(?!\\w)"_s.arg(pattern);
    // Lines end with any line end, so that $ stands before a carriage return, too.
    if (query.isPattern)
        pattern.prepend("(*ANYCRLF)"_L1);
    QRegularExpression::PatternOptions options =
        QRegularExpression::MultilineOption | QRegularExpression::UseUnicodePropertiesOption;
    if (!query.matchesCase)
        options |= QRegularExpression::CaseInsensitiveOption;
    return QRegularExpression(pattern, options);
}

/// Turns places in a text, asked for in order, into places in its UTF-8.
class BytePlaces final
{
public:
    explicit BytePlaces(const QString &text)
        : m_text(text)
    {
    }
    qsizetype at(qsizetype place)
    {
        for (; m_place < place; ++m_place) {
            const char16_t c = m_text[m_place].unicode();
            // Each half of a pair counts for two of its four bytes.
            m_bytes += c < 0x80 ? 1 : c < 0x800 || QChar::isSurrogate(c) ? 2 : 3;
        }
        return m_bytes;
    }

private:
    const QString &m_text;
    qsizetype m_place = 0;
    qsizetype m_bytes = 0;
};

void throwIfTooMuch(const QRegularExpressionMatchIterator &matches)
{
    if (!matches.isValid())
        throw Error(u"Search"_s, u"The pattern asks for more than can be computed."_s);
}

/// One sign after a backslash.
QString escaped(QChar sign, const QRegularExpressionMatch &match)
{
    if (sign.isDigit())
        return match.captured(sign.digitValue());
    if (sign == u'n')
        return u"\n"_s;
    if (sign == u't')
        return u"\t"_s;
    if (sign == u'r')
        return u"\r"_s;
    return sign == u'\\' || sign == u'$' ? QString(sign) : u'\\' + QString(sign);
}

QString expanded(const QString &replacement, const QRegularExpressionMatch &match)
{
    QString text;
    for (qsizetype i = 0; i < replacement.size(); ++i) {
        const QChar c = replacement[i];
        const QChar next = i + 1 < replacement.size() ? replacement[i + 1] : QChar();
        const qsizetype brace = next == u'{' ? replacement.indexOf(u'}', i) : -1;
        if (c == u'\\' && !next.isNull()) {
            text += escaped(next, match);
            ++i;
        } else if (c == u'$' && next.isDigit()) {
            text += match.captured(next.digitValue());
            ++i;
        } else if (c == u'$' && brace > i + 2) {
            text += match.captured(replacement.mid(i + 2, brace - i - 2));
            i = brace;
        } else {
            text += c;
        }
    }
    return text;
}

} // namespace

TextSearch::TextSearch(const Query &query)
    : m_query(query)
    , m_expression(expressionOf(query))
{
}

QString TextSearch::problem() const
{
    return m_expression.isValid() ? QString() : u"No pattern: %1."_s.arg(m_expression.errorString());
}

QRegularExpressionMatchIterator TextSearch::matchesIn(const QString &text) const
{
    return m_expression.globalMatch(text);
}

QList<TextSearch::Hit> TextSearch::hits(const QByteArray &text, const std::stop_token &stop) const
{
    QList<Hit> hits;
    if (m_query.needle.isEmpty() || !m_expression.isValid())
        return hits;
    const QString decoded = textOfUtf8(text);
    BytePlaces places(decoded);
    QRegularExpressionMatchIterator matches = matchesIn(decoded);
    while (matches.hasNext()) {
        if (stop.stop_requested())
            throw Cancelled();
        const QRegularExpressionMatch match = matches.next();
        const qsizetype begin = places.at(match.capturedStart());
        hits.append({begin, places.at(match.capturedEnd())});
    }
    throwIfTooMuch(matches);
    return hits;
}

TextSearch::Replaced TextSearch::replaceAll(const QByteArray &text, const QString &replacement,
                                            const std::stop_token &stop) const
{
    Replaced replaced{text, 0};
    if (m_query.needle.isEmpty() || !m_expression.isValid())
        return replaced;
    const QString before = textOfUtf8(text);
    QString after;
    after.reserve(before.size());
    qsizetype done = 0;
    QRegularExpressionMatchIterator matches = matchesIn(before);
    while (matches.hasNext()) {
        if (stop.stop_requested())
            throw Cancelled();
        const QRegularExpressionMatch match = matches.next();
        after += QStringView(before).sliced(done, match.capturedStart() - done);
        after += m_query.isPattern ? expanded(replacement, match) : replacement;
        done = match.capturedEnd();
        ++replaced.count;
    }
    throwIfTooMuch(matches);
    after += QStringView(before).sliced(done);
    if (replaced.count > 0)
        replaced.text = after.toUtf8();
    return replaced;
}

std::optional<QByteArray> TextSearch::replacementAt(const QByteArray &text, const Hit &hit,
                                                    const QString &replacement) const
{
    if (m_query.needle.isEmpty() || !m_expression.isValid() || hit.end > text.size())
        return std::nullopt;
    const QString decoded = textOfUtf8(text);
    const qsizetype begin = textOfUtf8(text.first(hit.begin)).size();
    const qsizetype length = textOfUtf8(text.sliced(hit.begin, hit.end - hit.begin)).size();
    const QRegularExpressionMatch match = m_expression.match(decoded, begin, QRegularExpression::NormalMatch,
                                                             QRegularExpression::AnchorAtOffsetMatchOption);
    if (!match.hasMatch() || match.capturedLength() != length)
        return std::nullopt;
    return (m_query.isPattern ? expanded(replacement, match) : replacement).toUtf8();
}

} // namespace moorix
