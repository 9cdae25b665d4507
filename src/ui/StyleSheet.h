// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix::Theme {

/// The one style sheet of the program in the colours of the theme applied last.
///
/// Widgets ask for a part through the dynamic property "role": labels "muted", "section", "title", "error"; push
/// buttons "primary", "danger", "link"; frames "bar", "lowerBar", "card", "statusLine"; line edits "inCell".
QString styleSheet();

} // namespace moorix::Theme
