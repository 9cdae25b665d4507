// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/Theme.h"

#include <QIcon>

namespace moorix {

/// `shape` filled with the colour the role has when it is painted; disabled icons are pale.
QIcon tinted(const QIcon &shape, Theme::Color role);
/// `icon` as drawn for the size it is shown at, also where a screen has several pixels for one.
QIcon sharp(const QIcon &icon);
/// `icon` with the small arrow of a symbolic link in its lower right corner.
QIcon asLink(const QIcon &icon);

} // namespace moorix
