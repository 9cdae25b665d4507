// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

namespace moorix::TerminalWidths {

/// Characters that take another number of columns than libvterm believes, which knows Unicode up to version 9.
struct Range
{
    char32_t first;
    char32_t last;
    /// 1 or 2.
    unsigned char width;
};

/// As the C library has it, and with it the shells. No character is in two of them.
std::span<const Range> corrections();
bool isCorrected(char32_t character);

} // namespace moorix::TerminalWidths
