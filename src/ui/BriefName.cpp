// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/BriefName.h"

#include "files/Format.h"

namespace moorix {

QString briefName(const QString &name)
{
    constexpr qsizetype most = 64;
    constexpr qsizetype end = 24;
    const QString shown = Format::display(name);
    if (shown.size() <= most)
        return shown;
    QString head = shown.first(most - end);
    QString tail = shown.last(end);
    if (head.back().isHighSurrogate())
        head.chop(1);
    if (tail.front().isLowSurrogate())
        tail.remove(0, 1);
    return head + u'…' + tail;
}

} // namespace moorix
