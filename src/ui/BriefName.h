// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

/// A name as it is shown in a sentence: of one that no line can hold, only the beginning and the end.
QString briefName(const QString &name);

} // namespace moorix
