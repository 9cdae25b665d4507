// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/WindowActions.h"

/// What stands for a command outside the program's code: names that settings store, and words that find it.
namespace moorix::CommandNames {

/// Never changes from one version to the next and is never translated. Empty for a separator.
QString nameOf(const WindowActions::Entry &command);
/// Nothing for a name that no command of this version has.
std::optional<WindowActions::Entry> commandOf(const QString &name);
/// Other words for what it does, with blanks between; may be empty.
QString synonymsOf(const WindowActions::Entry &command);

} // namespace moorix::CommandNames
