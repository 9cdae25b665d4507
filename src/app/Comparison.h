// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppModel.h"
#include "compare/DiffPair.h"

namespace moorix {

/// Two files to be compared, with where they are: the server's name and id, or nothing for this computer.
struct Comparison
{
    DiffPair pair;
    QString leftPlace;
    QString rightPlace;
    QUuid leftServer = {};
    QUuid rightServer = {};
    /// The right one is only to be looked at: nothing would come of saving it.
    bool isRightFixed = false;

    /// Of the two files that are selected: both on side `from`, or one on each, the left one first. Throws an Error
    /// that says what to select where that is not so.
    static Comparison ofSelection(const AppModel &model, Side from);
};

} // namespace moorix
