// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QRegularExpression>
#include <QString>

#include <optional>
#include <stop_token>

namespace moorix {

/// Looks for a text, or a pattern, in another one, which is given as UTF-8. Any thread; a pattern that needs for ever
/// belongs on a worker.
class TextSearch final
{
public:
    struct Query
    {
        QString needle;
        bool isPattern = false;
        bool matchesCase = false;
        bool wholeWords = false;

        bool operator==(const Query &) const = default;
    };
    /// Bytes of the text.
    struct Hit
    {
        qsizetype begin = 0;
        qsizetype end = 0;

        bool operator==(const Hit &) const = default;
    };
    struct Replaced
    {
        QByteArray text;
        qsizetype count = 0;
    };

    explicit TextSearch(const Query &query);

    /// Why the pattern is none: a sentence; else empty.
    QString problem() const;
    /// In order, not overlapping. None for an empty needle. Throws Cancelled, and an Error when the pattern asks for
    /// more than can be computed.
    QList<Hit> hits(const QByteArray &text, const std::stop_token &stop) const;
    /// All hits replaced. In a pattern's replacement, \1 or $1 to \9 stand for its groups, \0 for the whole, ${name}
    /// for a named group, \n, \t and \\ for what they are; elsewhere everything stands for itself.
    Replaced replaceAll(const QByteArray &text, const QString &replacement, const std::stop_token &stop) const;
    /// What one hit becomes; nothing where no hit is at exactly this place any more.
    std::optional<QByteArray> replacementAt(const QByteArray &text, const Hit &hit, const QString &replacement) const;

private:
    QRegularExpressionMatchIterator matchesIn(const QString &text) const;

    Query m_query;
    QRegularExpression m_expression;
};

} // namespace moorix
