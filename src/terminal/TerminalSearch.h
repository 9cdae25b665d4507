// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalLines.h"

/// Finds text on lines, see the functions of TerminalEmulator. A line that is wrapped over very many (10,000) is looked
/// through in parts, so what lies across two of these is not found.
namespace moorix::TerminalSearch {

std::optional<TerminalRange> backward(const TerminalLines &lines, const QString &needle, TerminalPoint from,
                                      Qt::CaseSensitivity sensitivity);
std::optional<TerminalRange> forward(const TerminalLines &lines, const QString &needle, TerminalPoint from,
                                     Qt::CaseSensitivity sensitivity);
std::vector<TerminalRange> all(const TerminalLines &lines, const QString &needle, qint64 firstLine, qint64 endLine,
                               Qt::CaseSensitivity sensitivity);

} // namespace moorix::TerminalSearch
