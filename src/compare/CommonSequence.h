// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringView>

#include <utility>
#include <vector>

/// What two sequences have in common. Pure; any thread.
namespace moorix::commonSequence {

/// Numbers for texts, so that they are compared as integers: equal texts, by hash value and then character by
/// character, get the same number, others different ones. Numbers count from 0 over both lists.
std::pair<std::vector<quint32>, std::vector<quint32>> numbered(const std::vector<QStringView> &first,
                                                               const std::vector<QStringView> &second);

/// The places in both of one longest common subsequence, in order. Numbers must be small, as `numbered` gives them.
/// Takes time for each pair of places, 64 of them at once, and a bit of memory.
std::vector<std::pair<qsizetype, qsizetype>> longest(const std::vector<quint32> &first,
                                                     const std::vector<quint32> &second);

} // namespace moorix::commonSequence
