// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffOptions.h"

namespace moorix {

class Preferences;

/// How comparisons are shown and what makes no difference in them: the last choice is the next comparison's.
struct DiffChoices
{
    bool isWrapped = false;
    DiffOptions options;

    /// What is not stored, or makes no sense, is the default.
    static DiffChoices load(const Preferences &preferences);
    void save(Preferences &preferences) const;
    bool operator==(const DiffChoices &) const = default;
};

} // namespace moorix
