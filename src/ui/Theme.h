// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QList>
#include <QString>

class QApplication;

namespace moorix {

struct FileItem;

/// The look of the program: palettes, style sheet, fonts and icons. Main thread.
namespace Theme {

struct Description
{
    QString id;
    QString label;
};

/// "midnight" first.
QList<Description> all();
/// Dresses the whole application; an unknown id gives "midnight". `contentFontSize` is in device-independent pixels, as
/// the setting counts. May be called again to change the look of a running program; icons already handed out follow.
void apply(QApplication &application, const QString &themeID, double contentFontSize);

enum class Color {
    window,
    base,
    sidebar,
    text,
    mutedText,
    border,
    accent,
    selection,
    inactiveSelection,
    currentRow,
    folder,
    danger,
    warning,
    success,
    toolBar,
    hover,
    faintText
};
/// The colour of a role in the theme applied last.
QColor color(Color role);

/// A symbolic icon in the text colour; `name` is a freedesktop icon name. Never null: unknown names give a plain file.
QIcon icon(const QString &name);
/// The same in the colour of a role.
QIcon icon(const QString &name, Color role);
/// The icon of an entry, by kind and suffix, coloured; made once per kind and cached.
QIcon fileIcon(const FileItem &item);
/// The fixed-pitch font for file contents.
QFont monospace();

} // namespace Theme

} // namespace moorix
