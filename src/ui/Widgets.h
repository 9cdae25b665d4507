// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

class QFrame;
class QLabel;
class QPushButton;
class QToolButton;
class QVariant;
class QWidget;

/// The few building blocks that views share, so that they look alike. The style sheet of `windowStyleSheet` dresses
/// them by their "role" property, beside the one of the theme.
namespace moorix::Widgets {

enum class TextRole { body, muted, section, heading, headline, monospace, error };

/// Plain text that wraps; never interpreted as markup.
QLabel *label(const QString &text, TextRole role, QWidget *parent);
QPushButton *button(const QString &text, const QString &objectName, QWidget *parent);
/// The one button of a view that does what the view is for.
QPushButton *primaryButton(const QString &text, const QString &objectName, QWidget *parent);
/// A flat button with an icon only; `toolTip` is also its name for assistive tools.
QToolButton *iconButton(const QString &iconName, const QString &toolTip, const QString &objectName, QWidget *parent);
/// A text for `setToolTip`, which would take names like "<b>" for markup.
QString toolTip(const QString &text);
/// A hairline.
QFrame *separator(QWidget *parent);
/// Sets a property that the style sheet asks for, and restyles when it changed.
void setStyleProperty(QWidget &widget, const char *name, const QVariant &value);

} // namespace moorix::Widgets
