// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/ReleaseVersion.h"

#include <QRegularExpression>

#include <algorithm>
#include <limits>

namespace moorix::ReleaseVersion {

QList<quint64> numericVersionParts(const QString &version)
{
    static const QRegularExpression suffix(QStringLiteral("[-+].*"), QRegularExpression::DotMatchesEverythingOption);
    QString text = version.trimmed();
    text.remove(suffix);
    if (text.startsWith(u'v', Qt::CaseInsensitive))
        text.remove(0, 1);
    QList<quint64> numbers;
    const QStringList parts = text.split(u'.');
    for (const QString &part : parts) {
        static const QRegularExpression digits(QStringLiteral("^[0-9]*"));
        const QString number = digits.match(part.trimmed()).captured();
        bool isWithin = true;
        const quint64 value = number.toULongLong(&isWithin);
        numbers.append(isWithin || number.isEmpty() ? value : std::numeric_limits<quint64>::max());
    }
    return numbers;
}

std::strong_ordering compareVersion(const QString &a, const QString &b)
{
    const QList<quint64> left = numericVersionParts(a);
    const QList<quint64> right = numericVersionParts(b);
    for (qsizetype i = 0; i < std::max(left.size(), right.size()); ++i) {
        if (const auto order = left.value(i, 0) <=> right.value(i, 0); order != 0)
            return order;
    }
    return std::strong_ordering::equal;
}

std::optional<qint64> comparableBuildNumber(const std::optional<QString> &build)
{
    bool isNumber = false;
    const qint64 number = build.value_or(QString()).trimmed().toLongLong(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

bool isNewer(const QString &version, const std::optional<QString> &build, const QString &thanVersion,
             const std::optional<QString> &thanBuild)
{
    if (const auto order = compareVersion(version, thanVersion); order != 0)
        return order > 0;
    const std::optional<qint64> number = comparableBuildNumber(build);
    const std::optional<qint64> thanNumber = comparableBuildNumber(thanBuild);
    return number && thanNumber && *number > *thanNumber;
}

} // namespace moorix::ReleaseVersion
