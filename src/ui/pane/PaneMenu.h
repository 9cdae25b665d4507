// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QPoint;

namespace moorix {

class PaneModel;
class PaneView;

/// The context menu of a file list.
namespace PaneMenu {

/// Offers what is available for the view's selection.
void popup(PaneView &view, const PaneModel &pane, const QPoint &globalPosition);

} // namespace PaneMenu

} // namespace moorix
