// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ComparisonText.h"

#include "transfers/ContentComparison.h"

#include <QCoreApplication>

namespace moorix {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix", text);
}

} // namespace

QString comparisonText(const ContentComparison &comparison)
{
    switch (comparison.result) {
    case ContentComparison::Result::same:
        return tr("Both hold the same.");
    case ContentComparison::Result::unknown:
        return tr("The contents cannot be compared: the files are too large to fetch, and the server tells "
                  "no checksums.");
    case ContentComparison::Result::different:
        break;
    }
    if (comparison.line)
        return tr("They differ from line %L1 on.").arg(*comparison.line);
    if (comparison.byte)
        return tr("They differ from byte %L1 on.").arg(*comparison.byte);
    return tr("They differ.");
}

} // namespace moorix
