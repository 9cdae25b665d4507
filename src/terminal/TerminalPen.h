// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalCell.h"

#include <QByteArray>

#include <span>

namespace moorix::TerminalPen {

/// A number of a control sequence: absent where nothing stood; `joined` to the one before by a colon.
struct Parameter
{
    static constexpr int absent = -1;
    int value = absent;
    bool joined = false;
};

/// What "select graphic rendition" does to a style; unknown numbers do nothing. The link and the protection stay.
void apply(TerminalStyle &style, std::span<const Parameter> parameters);

/// The numbers that make a style out of the default, as in "0;1;38;5;9".
QByteArray describe(const TerminalStyle &style);

} // namespace moorix::TerminalPen
