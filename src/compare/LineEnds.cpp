// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/LineEnds.h"

using namespace Qt::StringLiterals;

namespace moorix {

LineEnds lineEndsOf(const QString &text)
{
    bool hasPlain = false;
    bool hasReturns = false;
    for (qsizetype end = text.indexOf(u'\n'); end >= 0 && !(hasPlain && hasReturns);
         end = text.indexOf(u'\n', end + 1)) {
        const bool isReturn = end > 0 && text.at(end - 1) == u'\r';
        hasReturns = hasReturns || isReturn;
        hasPlain = hasPlain || !isReturn;
    }
    if (hasPlain && hasReturns)
        return LineEnds::mixed;
    return hasReturns ? LineEnds::crlf : hasPlain ? LineEnds::lf : LineEnds::none;
}

QString nameOf(LineEnds lineEnds)
{
    switch (lineEnds) {
    case LineEnds::lf:
        return u"LF"_s;
    case LineEnds::crlf:
        return u"CRLF"_s;
    case LineEnds::mixed:
        return u"LF and CRLF"_s;
    case LineEnds::none:
        break;
    }
    return {};
}

} // namespace moorix
