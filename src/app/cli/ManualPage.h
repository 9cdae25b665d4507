// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

namespace moorix {

struct Command;

/// moorix(1) as man macros in UTF-8: the program, and all there is to say about each of the commands.
QString manualPage(const QList<Command> &commands, const QString &version);

/// `text` as one line of input that man prints to the character, whatever it holds; line breaks become blanks.
QString manualText(const QString &text);

} // namespace moorix
