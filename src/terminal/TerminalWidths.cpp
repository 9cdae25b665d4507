// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalWidths.h"

#include <algorithm>

namespace moorix::TerminalWidths {

namespace {

constexpr Range ranges[] = {
    {0x0600, 0x0605, 1},   {0x06DD, 0x06DE, 1},   {0x070F, 0x070F, 1},   {0x0890, 0x0891, 1},   {0x08E2, 0x08E2, 1},
    {0x1734, 0x1734, 1},   {0x302E, 0x302F, 2},   {0x110BD, 0x110BD, 1}, {0x110CD, 0x110CD, 1}, {0x16FE0, 0x16FE3, 2},
    {0x16FF0, 0x16FF1, 2}, {0x187ED, 0x187F7, 2}, {0x18AF3, 0x18CD5, 2}, {0x18D00, 0x18D08, 2}, {0x1AFF0, 0x1AFFE, 2},
    {0x1B002, 0x1B2FB, 2}, {0x1F260, 0x1F265, 2}, {0x1F6D5, 0x1F6D7, 2}, {0x1F6DC, 0x1F6DF, 2}, {0x1F6F7, 0x1F6FC, 2},
    {0x1F7E0, 0x1F7EB, 2}, {0x1F7F0, 0x1F7F0, 2}, {0x1F90C, 0x1F93A, 2}, {0x1F93B, 0x1F93B, 1}, {0x1F93C, 0x1F945, 2},
    {0x1F946, 0x1F946, 1}, {0x1F947, 0x1F9FF, 2}, {0x1FA70, 0x1FAFF, 2},
};

} // namespace

std::span<const Range> corrections()
{
    return ranges;
}

bool isCorrected(char32_t character)
{
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const Range &range) { return character >= range.first && character <= range.last; });
}

} // namespace moorix::TerminalWidths
