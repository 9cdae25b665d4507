// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffLineEnds.h"

using namespace Qt::StringLiterals;

namespace moorix {

QString nameOf(DiffLineEnds lineEnds)
{
    switch (lineEnds) {
    case DiffLineEnds::lf:
        return u"LF"_s;
    case DiffLineEnds::crlf:
        return u"CRLF"_s;
    case DiffLineEnds::mixed:
        return u"LF and CRLF"_s;
    case DiffLineEnds::none:
        break;
    }
    return {};
}

} // namespace moorix
