// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncIgnore.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// A regular expression for a whole path, or for a whole name where the pattern holds no slash.
QString translated(const QString &pattern)
{
    QString expression;
    for (qsizetype at = 0; at < pattern.size(); ++at) {
        const QStringView rest = QStringView(pattern).mid(at);
        const qsizetype end = pattern.indexOf(u']', at + 2);
        if (rest.startsWith(u"**/")) {
            expression += u"(?:.*/)?"_s;
            at += 2;
        } else if (rest.startsWith(u"**")) {
            expression += u".*"_s;
            at += 1;
        } else if (rest.startsWith(u'*')) {
            expression += u"[^/]*"_s;
        } else if (rest.startsWith(u'?')) {
            expression += u"[^/]"_s;
        } else if (rest.startsWith(u'[') && end > 0) {
            const bool isNegated = rest.startsWith(u"[!") || rest.startsWith(u"[^");
            const qsizetype from = at + (isNegated ? 2 : 1);
            QString set = pattern.mid(from, end - from);
            set.replace(u'\\', u"\\\\"_s).replace(u'[', u"\\["_s);
            expression += (isNegated ? u"(?![/])[^"_s : u"(?![/])["_s) + set + u']';
            at = end;
        } else {
            expression += QRegularExpression::escape(rest.left(1));
        }
    }
    return expression;
}

} // namespace

SyncIgnore::SyncIgnore(const QStringList &patterns)
{
    for (const QString &line : patterns) {
        QString pattern = line.trimmed();
        if (pattern.isEmpty() || pattern.startsWith(u'#'))
            continue;
        Rule rule;
        rule.isForFolders = pattern.endsWith(u'/');
        if (rule.isForFolders)
            pattern.chop(1);
        rule.isForNames = !pattern.contains(u'/');
        if (pattern.startsWith(u'/'))
            pattern.remove(0, 1);
        rule.expression.setPattern(QRegularExpression::anchoredPattern(translated(pattern)));
        rule.expression.setPatternOptions(QRegularExpression::DotMatchesEverythingOption);
        if (!pattern.isEmpty() && rule.expression.isValid())
            m_rules.append(rule);
    }
}

bool SyncIgnore::matches(const QString &relPath, bool isDirectory) const
{
    if (m_rules.isEmpty())
        return false;
    const QString name = relPath.section(u'/', -1);
    return std::any_of(m_rules.cbegin(), m_rules.cend(), [&](const Rule &rule) {
        return (isDirectory || !rule.isForFolders) &&
               rule.expression.match(rule.isForNames ? name : relPath).hasMatch();
    });
}

} // namespace moorix
