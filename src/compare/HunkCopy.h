// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffLayout.h"
#include "compare/DiffText.h"

namespace moorix {

/// One step of what is done to a text, either way.
struct TextChange
{
    DiffSide side = DiffSide::left;
    qsizetype position = 0;
    QString removed;
    QString inserted;

    bool isNothing() const { return removed == inserted; }
    QString appliedTo(const QString &text) const;
    QString takenFrom(const QString &text) const;
    bool operator==(const TextChange &) const = default;
};

/// What puts the lines that a change is about into the text of side `to`, in place of its own. The text keeps its line
/// ends: lines that come end as all of its lines do, or as they did where its lines end in different ways. Pure.
TextChange hunkCopy(const DiffText &left, const DiffText &right, const DiffLayout::Hunk &hunk, DiffSide to);

} // namespace moorix
