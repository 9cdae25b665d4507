// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/WindowActions.h"

#include <QStringList>

/// What the user can put on the toolbar, as the setting `toolbarItemsRaw` names it: names with commas between. Beside
/// the commands by their names (CommandNames) there are "connect", the menu of servers, "sort", the menu of orders, and
/// "separator", which may stand any number of times.
namespace moorix::ToolBarItems {

inline constexpr auto connectName = QLatin1String("connect");
inline constexpr auto sortName = QLatin1String("sort");
inline constexpr auto separatorName = QLatin1String("separator");

/// What stands at the left end until the user arranges the toolbar otherwise; these buttons have texts.
const QStringList &standard();
/// The names of all that can be added, each once, in the order of the menus.
QStringList all();
/// What a stored text shows: names of this version, each but "separator" once. A text that does not begin with "whole"
/// names what stands behind the standard items only.
QStringList shown(const QString &raw);
/// The text that shows these names. Names of other versions in `raw` stay, behind them.
QString replacing(const QString &raw, const QStringList &shown);

QString textOf(const QString &name);
QString iconNameOf(const QString &name);

} // namespace moorix::ToolBarItems
