// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

#include <QUrl>

#include <optional>

namespace moorix {

/// A link in the text of a terminal: one that the program made (OSC 8), or an address that can be read.
struct TerminalLink
{
    QString address;
    TerminalRange range;
};

namespace TerminalLinkFinder {

std::optional<TerminalLink> at(const TerminalEmulator &emulator, TerminalPoint point);
/// Why an address is not opened, as a sentence; empty for those that are. A program on a server chooses the addresses:
/// only kinds are opened of which it is known that they do nothing but show something.
QString refusal(const QString &address);

} // namespace TerminalLinkFinder

} // namespace moorix
