// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffOptions.h"

#include <QList>
#include <QStringView>

namespace moorix {

/// Which parts of two lines differ, word by word. Nothing is marked where the lines are equal, or share so little that
/// marks would be all over them; nor what the options ignore. Pure; any thread.
struct LineDifference
{
    struct Stretch
    {
        qsizetype start = 0;
        qsizetype length = 0;

        bool operator==(const Stretch &) const = default;
    };
    QList<Stretch> left;
    QList<Stretch> right;

    static LineDifference of(QStringView left, QStringView right, const DiffOptions &options = {});
};

} // namespace moorix
