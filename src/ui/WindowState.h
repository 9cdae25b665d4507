// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QMainWindow;
class QSplitter;

namespace moorix {

class AppModel;

/// Where the window stood and what its tabs showed, kept in the preferences under keys that begin with "window.".
namespace WindowState {

/// All tabs with their folders; those of servers come back unconnected.
void saveTabs(AppModel &model);
void save(AppModel &model, const QMainWindow &window, const QSplitter &outer, const QSplitter &sides);
/// Opens the tabs of the last run and brings the window to its last place. Values that make no sense are left out.
void restore(AppModel &model, QMainWindow &window, QSplitter &outer, QSplitter &sides);

} // namespace WindowState

} // namespace moorix
