// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/LineEnds.h"

using namespace Qt::StringLiterals;

namespace moorix {

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
