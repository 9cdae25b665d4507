// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editor/Languages.h"

#include <QColor>
#include <QFont>

class QObject;
class QsciLexer;

/// The rules that colour texts, in the colours of the window. Main thread.
namespace moorix::editorLexers {

/// Owned by `parent`; null for a language without rules.
QsciLexer *make(const Language &language, QObject *parent);
/// Gives every style of a lexer the font and the colours of the theme that was applied last.
void dress(QsciLexer &lexer, const QFont &font);
/// The colour of what a lexer describes so ("Double-quoted string").
QColor colorOf(const QString &description);

} // namespace moorix::editorLexers
