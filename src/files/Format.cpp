// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/Format.h"

#include <QLocale>
#include <QRegularExpression>

#include <array>
#include <cmath>

namespace moorix::Format {

namespace {

/// The locale's long date without the weekday and with the month's short name; Qt has no medium form of its own.
QString mediumDateFormat(const QLocale &locale)
{
    QString format = locale.dateFormat(QLocale::LongFormat);
    qsizetype begin = format.indexOf(QStringLiteral("dddd"));
    if (begin >= 0) {
        qsizetype end = begin + 4;
        const auto isSeparator = [&format](qsizetype i) {
            return format.at(i) == u',' || format.at(i) == u'،' || format.at(i).isSpace();
        };
        if (begin == 0) {
            while (end < format.size() && isSeparator(end))
                ++end;
        } else {
            while (begin > 0 && isSeparator(begin - 1))
                --begin;
        }
        format.remove(begin, end - begin);
    }
    return format.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
}

/// The locale's short time. Where Qt knows none it is one with seconds, which many sources do not tell.
QString shortTimeFormat(const QLocale &locale)
{
    static const QRegularExpression seconds(QStringLiteral("[:.]ss?"));
    return locale.timeFormat(QLocale::ShortFormat).remove(seconds);
}

struct DateFormats
{
    QString day;
    QString dayAndTime;
};

const DateFormats &dateFormats()
{
    thread_local QLocale known = QLocale::c();
    thread_local DateFormats formats;
    const QLocale locale;
    if (formats.day.isEmpty() || known != locale) {
        known = locale;
        formats.day = mediumDateFormat(locale);
        formats.dayAndTime = formats.day + QStringLiteral(", ") + shortTimeFormat(locale);
    }
    return formats;
}

QStringView withoutTrailingSlashes(QStringView path)
{
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

/// Controls, line separators, and what reorders the text around it so that a name reads as another. Joiners stay: names
/// in several scripts need them.
bool isInvisible(QChar unit)
{
    const char16_t code = unit.unicode();
    const bool reorders =
        code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    return reorders || code == 0xFEFF || unit.category() == QChar::Other_Control ||
           unit.category() == QChar::Separator_Line || unit.category() == QChar::Separator_Paragraph;
}

QString escaped(QChar unit)
{
    const char16_t code = unit.unicode();
    if (code == u'\n')
        return QStringLiteral("\\n");
    if (code == u'\t')
        return QStringLiteral("\\t");
    if (code == u'\r')
        return QStringLiteral("\\r");
    if (code < 0x80 || (code >= 0xDC80 && code <= 0xDCFF)) {
        const QString digits = QString::number(code & 0xFF, 16).toUpper();
        return QStringLiteral("\\x%1").arg(digits, 2, u'0');
    }
    return QStringLiteral("\\u%1").arg(QString::number(code, 16).toUpper(), 4, u'0');
}

} // namespace

QString byteCount(qint64 bytes)
{
    const QLocale locale;
    if (bytes == 1)
        return locale.toString(bytes) + QStringLiteral(" byte");
    if (bytes < 1000)
        return locale.toString(bytes) + QStringLiteral(" bytes");
    static const std::array units{QStringLiteral(" kB"), QStringLiteral(" MB"), QStringLiteral(" GB"),
                                  QStringLiteral(" TB"), QStringLiteral(" PB"), QStringLiteral(" EB")};
    double value = double(bytes) / 1000;
    size_t unit = 0;
    while (std::round(value) >= 1000 && unit + 1 < units.size()) {
        value /= 1000;
        ++unit;
    }
    const int decimals = std::round(value * 10) < 1000 ? 1 : 0;
    return locale.toString(value, 'f', decimals) + units.at(unit);
}

QString date(const std::optional<QDateTime> &date)
{
    if (!date)
        return QStringLiteral("—");
    return QLocale().toString(date->toLocalTime(), dateFormats().dayAndTime);
}

QString day(const QDateTime &date)
{
    return QLocale().toString(date.toLocalTime(), dateFormats().day);
}

QString timeOfDay(const QDateTime &date)
{
    return QLocale().toString(date.toLocalTime(), shortTimeFormat(QLocale()));
}

QString join(const QString &base, const QString &name)
{
    if (base.isEmpty() || base == u'/')
        return u'/' + name;
    return base.endsWith(u'/') ? base + name : base + u'/' + name;
}

QString parent(const QString &path)
{
    QStringView rest = withoutTrailingSlashes(path);
    rest = rest.first(rest.lastIndexOf(u'/') + 1);
    rest = withoutTrailingSlashes(rest);
    return rest.isEmpty() ? QStringLiteral("/") : rest.toString();
}

QString fileName(const QString &path)
{
    const QStringView rest = withoutTrailingSlashes(path);
    return rest.sliced(rest.lastIndexOf(u'/') + 1).toString();
}

QString display(const QString &text)
{
    QString shown;
    qsizetype done = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isPair = text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (isPair) {
            ++i;
        } else if (text.at(i).isSurrogate() || isInvisible(text.at(i))) {
            shown += QStringView(text).sliced(done, i - done);
            shown += escaped(text.at(i));
            done = i + 1;
        }
    }
    if (done == 0)
        return text;
    return shown += QStringView(text).sliced(done);
}

std::optional<QString> octalMode(const std::optional<QString> &permissions)
{
    if (!permissions || permissions->size() != 9)
        return std::nullopt;
    int mode = 0;
    for (const QChar letter : *permissions)
        mode = mode * 2 + (QStringView(u"-ST").contains(letter) ? 0 : 1);
    return QString::number(mode, 8).rightJustified(3, u'0');
}

} // namespace moorix::Format
