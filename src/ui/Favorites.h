// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

/// The user's favourite local folders, as the setting `localFavoritesRaw` stores them.
namespace moorix::Favorites {

/// A JSON list of paths; an earlier form with one path per line is read as well. Anything else gives no favourites.
QStringList parse(const QString &raw);
/// Empty for no favourites. Paths may hold any character.
QString toRaw(const QStringList &paths);
/// `raw` with `path` at the end, or unchanged when it is there already.
QString adding(const QString &raw, const QString &path);
QString removing(const QString &raw, const QString &path);

} // namespace moorix::Favorites
