// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/OptionValues.h"

#include "app/cli/Command.h"

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

bool optionValues::yesOrNo(const QString &option, const QString &text)
{
    if (text == u"yes" || text == u"on" || text == u"true")
        return true;
    if (text == u"no" || text == u"off" || text == u"false")
        return false;
    throw UsageError(u"--%1 takes yes or no, not “%2”."_s.arg(option, text));
}

} // namespace moorix
