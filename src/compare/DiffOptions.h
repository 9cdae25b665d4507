// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

/// What makes no difference between two lines. By default everything does.
struct DiffOptions
{
    enum class Space {
        compared,
        /// White space at the ends of lines is ignored, and with it the "\r" of some line ends.
        ignoredAtEnds,
        /// That, and elsewhere one blank is as good as many.
        amountIgnored,
        ignored
    };
    Space space = Space::compared;
    bool ignoresCase = false;

    bool operator==(const DiffOptions &) const = default;
    bool isExact() const { return *this == DiffOptions(); }
    /// What of a text is compared: as many lines, which are equal where those of the text count as equal.
    QString compared(const QString &text) const;
};

} // namespace moorix
