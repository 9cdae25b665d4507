// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

/// The style sheet of the window's own parts (toolbar, sidebar, tabs, bars, forms), in the colours of the theme in
/// force. Set again after the theme has changed.
QString windowStyleSheet();

} // namespace moorix
