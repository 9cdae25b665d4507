// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Texts that a server wrote, before they are shown in a window or in a terminal: they may hold escape sequences, marks
/// that turn the direction of writing, or megabytes. Any thread.
namespace moorix::foreignText {

/// Without what cannot be seen by itself: controls, marks, and what is no character at all.
QString printable(const QString &text);
/// One line, its blanks simplified.
QString line(const QString &text);
/// With its lines and tabulators; what is beyond so many characters is replaced by an ellipsis.
QString lines(const QString &text, qsizetype mostCharacters);

} // namespace moorix::foreignText
