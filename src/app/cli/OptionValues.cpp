// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/OptionValues.h"

#include "app/cli/Command.h"
#include "files/TransferSpeed.h"

#include <QRegularExpression>

#include <cmath>

namespace moorix {

using namespace Qt::StringLiterals;

qint64 optionValues::number(const QString &option, const QString &text, qint64 minimum, qint64 maximum)
{
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    if (!isNumber || number < minimum || number > maximum) {
        throw UsageError(
            u"--%1 takes a number from %2 to %3, not “%4”."_s.arg(option).arg(minimum).arg(maximum).arg(text));
    }
    return number;
}

qint64 optionValues::speed(const QString &option, const QString &text)
{
    if (text == u"none")
        return 0;
    // A number alone would be bytes to some and kilobytes to others.
    static const QRegularExpression form(u"^([0-9]{1,9}(?:\\.[0-9]{1,6})?) ?([kmg])(?:b?(?:/s)?)$"_s,
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = form.match(text);
    const qsizetype power = 1 + u"kmg"_s.indexOf(match.captured(2).toLower());
    const double bytes = match.captured(1).toDouble() * std::pow(1000.0, double(power));
    if (!match.hasMatch() || bytes < double(TransferSpeed::least) || bytes > double(TransferSpeed::most)) {
        throw UsageError(
            u"--%1 takes a speed per second from 10K to 1G, such as 500K or 2.5M, or none, not “%2”."_s.arg(option,
                                                                                                            text));
    }
    return std::llround(bytes);
}

bool optionValues::yesOrNo(const QString &option, const QString &text)
{
    if (text == u"yes" || text == u"on" || text == u"true")
        return true;
    if (text == u"no" || text == u"off" || text == u"false")
        return false;
    throw UsageError(u"--%1 takes yes or no, not “%2”."_s.arg(option, text));
}

} // namespace moorix
