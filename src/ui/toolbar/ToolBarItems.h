// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/WindowActions.h"

#include <QStringList>

/// What the user can put on the toolbar, as the setting `toolbarItemsRaw` names it: names with commas between. Beside
/// the commands by their names (CommandNames) there is "sort", the menu of orders.
namespace moorix::ToolBarItems {

inline constexpr auto sortName = QLatin1String("sort");

/// Commands that stand on every toolbar, in this order; nothing is a separator.
const QList<WindowActions::Entry> &alwaysShown();
/// The names of all that can be added, in the order of the menus.
QStringList all();
/// What a stored text shows: names of this version, each once, but for what is always shown.
QStringList shown(const QString &raw);
/// `raw` with these names in place of what it shows. Names of other versions stay, behind them.
QString replacing(const QString &raw, const QStringList &shown);

QString textOf(const QString &name);
QString iconNameOf(const QString &name);

} // namespace moorix::ToolBarItems
