// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

namespace moorix::TerminalPayloads {

constexpr qsizetype bytes = 20'000'000;

enum class Kind { ascii, unicode, colourful, shortLines };

/// `bytes` of output, or a line more; the same in every run and on every machine.
QByteArray make(Kind kind);

/// 100,000 full lines of 120 columns.
QByteArray fullScrollback();

} // namespace moorix::TerminalPayloads
