// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

struct ContentComparison;

/// A sentence about what two files hold: "They differ from line 12 on."
QString comparisonText(const ContentComparison &comparison);

} // namespace moorix
